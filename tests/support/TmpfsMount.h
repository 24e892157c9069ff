#pragma once

#include <QFile>
#include <QString>

#include <sys/mount.h>

// A small tmpfs mounted on a folder of the test (root only), detached again at the end.
class TmpfsMount
{
public:
    TmpfsMount(const QString& folder, const char* options) : m_folder(folder)
    {
        m_mounted = ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, options) == 0;
    }
    ~TmpfsMount()
    {
        if (m_mounted)
            ::umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
    }
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;
    bool mounted() const { return m_mounted; }

private:
    QString m_folder;
    bool m_mounted = false;
};
