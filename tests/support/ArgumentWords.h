#pragma once

#include "RVInstallerArguments.h"

#include <initializer_list>

// Installer arguments as a command line of these words after the program's path would give.
inline RVInstallerArguments argumentsFromWords(std::initializer_list<const char*> words)
{
    QStringList list{QStringLiteral("/prog")};
    for (const char* word : words)
        list << QString::fromUtf8(word);
    return RVInstallerArguments::fromArgumentList(list);
}
