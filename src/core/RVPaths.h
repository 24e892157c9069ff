#pragma once

#include <QString>

// Path text as the installer's rules speak of it: the folder that holds an item, its last
// component, a folder joined with a name. Plain string work; nothing is looked up on disk.
namespace RVPaths {

inline QString folderOf(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash < 0 ? QStringLiteral("") : slash == 0 ? QStringLiteral("/") : path.left(slash);
}

inline QString lastComponent(const QString& path)
{
    return path.section(u'/', -1);
}

inline QString joined(const QString& folder, const QString& name)
{
    if (folder.isEmpty())
        return name;
    return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

} // namespace RVPaths
