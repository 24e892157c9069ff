#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <optional>

// A bundle folder in either layout:
//   X.app/Contents/Info.plist, Contents/MacOS/<exe>, Contents/Resources/   (macOS)
//   X.app/Resources/Info-gnustep.plist, X.app/<exe>, X.app/Resources/        (GNUstep)
// The information property list may be XML, binary or OpenStep text. A missing or
// malformed list leaves the dictionary empty and logs one line.
class RVBundle
{
public:
    enum class Layout { MacOS, GNUstep };

    // The .app that holds the running executable, else the executable's folder.
    static std::optional<RVBundle> mainBundle();
    // Where the main bundle is, worked out from the executable alone (nothing is read).
    static QString mainBundlePath();
    // Empty when path is not an existing folder.
    static std::optional<RVBundle> bundleWithPath(const QString& path);

    QString bundlePath() const { return m_path; }
    Layout layout() const { return m_layout; }
    QString resourcePath() const;
    // The executable named by CFBundleExecutable (NSExecutable for GNUstep); null when the
    // dictionary names none or the file does not exist.
    QString executablePath() const;

    bool hasInfoDictionary() const { return m_hasInfo; }
    const QVariantMap& infoDictionary() const { return m_info; }
    QVariant objectForInfoDictionaryKey(const QString& key) const { return m_info.value(key); }
    QString bundleIdentifier() const;

    // The resource "name.type" (or "name" when type is empty) in the resource folder;
    // null when no such file exists.
    QString pathForResourceOfType(const QString& name, const QString& type) const;

    // The image file named by CFBundleIconFile among the resources (as .icns, .png, .svg or
    // the name as it stands); null when there is none.
    QString iconFilePath() const;

    // The folder ending in ".app" that contains path (path itself included), or null.
    static QString enclosingAppFolder(const QString& path);

private:
    RVBundle(const QString& path, Layout layout);
    void loadInfoDictionary();

    QString m_path;
    Layout m_layout;
    QVariantMap m_info;
    bool m_hasInfo = false;
};
