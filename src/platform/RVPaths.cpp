#include "RVPaths.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <pwd.h>
#include <vector>

namespace RVPaths {

namespace {

// Doubled slashes folded and a trailing slash dropped ("/" stays "/").
QString withoutRedundantSlashes(const QString& path)
{
    QString result;
    result.reserve(path.size());
    for (const QChar c : path) {
        if (c == u'/' && result.endsWith(u'/'))
            continue;
        result += c;
    }
    if (result.size() > 1 && result.endsWith(u'/'))
        result.chop(1);
    return result;
}

} // namespace

QString stringByExpandingTildeInPath(const QString& path, const QString& home)
{
    if (!path.startsWith(u'~'))
        return path;
    const qsizetype slash = path.indexOf(u'/');
    const QString user = path.mid(1, slash < 0 ? -1 : slash - 1);
    const QString rest = slash < 0 ? QString() : path.mid(slash);
    if (user.isEmpty())
        return home + rest;
    std::vector<char> buffer(16384);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (::getpwnam_r(user.toLocal8Bit().constData(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return path;
    return QFile::decodeName(found->pw_dir) + rest;
}

QString standardizedPath(const QString& path)
{
    if (path.isEmpty())
        return path;
    QString absolute = stringByExpandingTildeInPath(path, QDir::homePath());
    if (!absolute.startsWith(u'/'))
        absolute = QDir::currentPath() + u'/' + absolute;
    QStringList parts;
    for (const QString& part : absolute.split(u'/', Qt::SkipEmptyParts)) {
        if (part == u".")
            continue;
        if (part == u"..") {
            if (!parts.isEmpty())
                parts.removeLast();
            continue;
        }
        parts << part;
    }
    return u'/' + parts.join(u'/');
}

QString lastPathComponent(const QString& path)
{
    const QString clean = withoutRedundantSlashes(path);
    if (clean == u"/")
        return clean;
    return clean.mid(clean.lastIndexOf(u'/') + 1);
}

QString stringByDeletingLastPathComponent(const QString& path)
{
    const QString clean = withoutRedundantSlashes(path);
    const qsizetype slash = clean.lastIndexOf(u'/');
    if (slash < 0)
        return QStringLiteral("");
    return slash == 0 ? QStringLiteral("/") : clean.left(slash);
}

QString stringByAppendingPathComponent(const QString& path, const QString& component)
{
    if (path.isEmpty())
        return withoutRedundantSlashes(component);
    return withoutRedundantSlashes(path + u'/' + component);
}

QString pathExtension(const QString& path)
{
    const QString name = lastPathComponent(path);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.mid(dot + 1) : QStringLiteral("");
}

QString stringByDeletingPathExtension(const QString& path)
{
    const QString clean = withoutRedundantSlashes(path);
    const QString extension = pathExtension(clean);
    if (extension.isEmpty() || clean == u"/")
        return clean;
    return clean.left(clean.size() - extension.size() - 1);
}

bool isInside(const QString& path, const QString& folder)
{
    if (folder == u"/")
        return path.size() > 1 && path.startsWith(u'/');
    return path.startsWith(folder + u'/');
}

} // namespace RVPaths
