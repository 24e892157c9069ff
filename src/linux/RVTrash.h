#pragma once

#include <QString>

#include <sys/types.h>

// The freedesktop.org Trash, for the user on whose behalf we act: the home trash when the
// item is on the home's file system, else $topdir/.Trash/$uid (when $topdir/.Trash is a real
// folder with the sticky bit) or $topdir/.Trash-$uid. The .trashinfo file is written
// (exclusively) before the item is renamed into the trash; an item is never copied and
// deleted, so it is either in its place or in the trash.
class RVTrash
{
public:
    // Acts for uid, whose data folder (the parent of the home trash) is dataHome.
    RVTrash(uid_t uid, const QString& dataHome);
    // The user who asked: PKEXEC_UID when we run as root under pkexec (root's HOME is no
    // guide then), else the current user with $XDG_DATA_HOME.
    static RVTrash forInvokingUser();

    struct Result
    {
        bool ok = false;
        QString trashedPath; // where the item now is
        QString infoPath;
        QString error;
    };
    Result trash(const QString& path) const;

private:
    QString trashFolderFor(dev_t device, const QString& itemPath, QString* topdir, QString* error) const;
    bool ensureFolder(const QString& path, QString* error) const;

    uid_t m_uid;
    QString m_dataHome;
};
