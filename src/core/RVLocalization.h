#pragma once

#include "RVCoreOnly.h"

#include <QStringList>
#include <QString>

// The localised string table: English texts as keys, one context "Localizable".
namespace RVLocalization {
// Loads "VelmoraInstaller_<language>.qm" from directory for the first of languages ("ll"
// or "ll_CC", as the user's settings name them) that has a table; else the English table,
// which words for Linux the keys that name macOS. False when not even that is there (the
// keys then show as they are).
bool load(const QStringList& languages, const QString& directory);
// The language of the table loaded ("de", "ar", ...); empty when none is.
QString loadedLanguage();
void unload();
// Lets the interface file's texts use the same table (needs the application object).
void installIntoApplication();
void uninstallFromApplication();
} // namespace RVLocalization

// The text for an English key; the key itself when the table has no entry.
QString RVLocalizedString(const QString& key);
