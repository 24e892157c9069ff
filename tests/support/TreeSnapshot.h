#pragma once

// A comparable picture of a file tree: every item's kind, mode, size, times, link target,
// contents and extended attributes, by relative path.
#include <QByteArray>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QString>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

inline QByteArray describeItem(const QString& path)
{
    struct stat info {};
    const QByteArray name = QFile::encodeName(path);
    if (::lstat(name.constData(), &info) != 0)
        return "missing";
    QByteArray text = QByteArray::number(info.st_mode, 8) + " uid=" + QByteArray::number(info.st_uid) +
                      " mtime=" + QByteArray::number(qint64(info.st_mtim.tv_sec)) + "." +
                      QByteArray::number(qint64(info.st_mtim.tv_nsec));
    if (S_ISLNK(info.st_mode)) {
        char target[4096];
        const ssize_t n = ::readlink(name.constData(), target, sizeof target);
        text += " -> " + QByteArray(target, n > 0 ? int(n) : 0);
        return text;
    }
    if (S_ISREG(info.st_mode)) {
        QFile f(path);
        f.open(QIODevice::ReadOnly);
        text += " size=" + QByteArray::number(qint64(info.st_size)) + " data=" + f.readAll().toHex().left(64);
        text += " nlink=" + QByteArray::number(qulonglong(info.st_nlink));
    }
    char names[1024];
    const ssize_t n = ::llistxattr(name.constData(), names, sizeof names);
    for (ssize_t at = 0; at < n; at += ssize_t(strlen(names + at)) + 1) {
        char value[256];
        const ssize_t len = ::lgetxattr(name.constData(), names + at, value, sizeof value);
        text += QByteArray(" ") + (names + at) + "=" + QByteArray(value, len > 0 ? int(len) : 0);
    }
    return text;
}

inline QMap<QString, QByteArray> snapshotTree(const QString& root)
{
    QMap<QString, QByteArray> items;
    items.insert(QStringLiteral("."), describeItem(root));
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        items.insert(path.mid(root.size() + 1), describeItem(path));
    }
    return items;
}
