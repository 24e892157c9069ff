#pragma once

#include "RVFd.h"

#include <QString>

#include <sys/types.h>

// The freedesktop.org Trash, for the user on whose behalf we act: the home trash when the
// item is on the home's file system, else $topdir/.Trash/$uid (when $topdir/.Trash is a real
// folder with the sticky bit, owned by root) or $topdir/.Trash-$uid. The .trashinfo file is
// written (exclusively) before the item is renamed into the trash; an item is never copied
// and deleted, so it is either in its place or in the trash. Every folder and record made
// for another user (root acting under pkexec) is handed to that user; a trash folder owned
// by anybody else is refused.
class RVTrash
{
public:
    // Acts for uid, whose data folder (the parent of the home trash) is dataHome.
    RVTrash(uid_t uid, const QString& dataHome);
    // The user who asked: PKEXEC_UID when we run as root under pkexec (root's HOME is no
    // guide then; a PKEXEC_UID that names no user of the system gives a trash that refuses
    // everything), else the current user with $XDG_DATA_HOME.
    static RVTrash forInvokingUser();

    struct Result
    {
        bool ok = false;
        QString trashedPath; // where the item now is
        QString infoPath;
        QString error;
    };
    // Trashes the item at path, recorded as the item of originalPath when it stood there
    // until it was replaced (by default, path itself). A name too long for the record's
    // file is shortened in the trash (the record keeps the whole path).
    Result trash(const QString& path, const QString& originalPath = QString()) const;
    // The Path of an item's record: absolute in the home trash (topdir empty), relative to
    // the top of the volume in a volume's trash, "/" included; URL-encoded.
    static QByteArray recordedPath(const QString& item, const QString& topdir);

private:
    struct Folder
    {
        RVFd files;
        RVFd info;
        QString location; // for the answer and the log
        QString topdir;   // empty for the home trash
    };
    Folder trashFolderFor(dev_t device, const QString& itemPath, QString* error) const;
    Folder openTrashIn(int parent, const QByteArray& name, const QString& location, QString* error,
                       bool onVolumeTop = false) const;
    RVFd openOwnFolder(int parent, const QByteArray& name, QString* error, const QString& location,
                       bool rootMakes = false) const;
    RVFd openDataHome(QString* error) const;

    uid_t m_uid;
    gid_t m_gid;
    QString m_dataHome;
};
