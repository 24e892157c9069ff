#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

// A temporary tree for one test, removed afterwards.
class TempDir
{
public:
    TempDir() { m_dir.setAutoRemove(true); }
    QString path() const { return QFileInfo(m_dir.path()).canonicalFilePath(); }
    QString file(const QString& relative) const { return path() + u'/' + relative; }

    // Writes bytes to a relative path, creating folders; answers the absolute path.
    QString write(const QString& relative, const QByteArray& bytes,
                  QFile::Permissions permissions = {}) const
    {
        const QString target = file(relative);
        QDir().mkpath(QFileInfo(target).path());
        QFile f(target);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return {};
        f.write(bytes);
        f.close();
        if (permissions)
            f.setPermissions(permissions);
        return target;
    }

    QString mkdir(const QString& relative) const
    {
        QDir().mkpath(file(relative));
        return file(relative);
    }

private:
    QTemporaryDir m_dir;
};
