#include "RVBundle.h"

#include "RVPaths.h"

#include "RVFileRead.h"
#include "RVLog.h"
#include "RVPlatform.h"
#include "RVPropertyList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <mutex>

namespace {

// Info.plist files are small; anything bigger than this is not one.
constexpr qint64 kMaxInfoSize = 8 * 1024 * 1024;

QString infoPlistPath(const QString& bundlePath, RVBundle::Layout layout)
{
    return layout == RVBundle::Layout::MacOS ? bundlePath + QStringLiteral("/Contents/Info.plist")
                                             : bundlePath +
                                                   QStringLiteral("/Resources/Info-gnustep.plist");
}

} // namespace

RVBundle::RVBundle(const QString& path, Layout layout) : m_path(RVPaths::standardizedPath(path)), m_layout(layout) {}

std::optional<RVBundle> RVBundle::bundleWithPath(const QString& path)
{
    if (path.isEmpty())
        return std::nullopt;
    const QFileInfo info(path);
    if (!info.isDir())
        return std::nullopt;
    const QString clean = QDir::cleanPath(info.absoluteFilePath());
    const bool gnustep = !QFileInfo(clean + QStringLiteral("/Contents")).isDir() &&
                         QFileInfo(clean + QStringLiteral("/Resources/Info-gnustep.plist")).exists();
    RVBundle bundle(clean, gnustep ? Layout::GNUstep : Layout::MacOS);
    bundle.loadInfoDictionary();
    return bundle;
}

std::optional<RVBundle> RVBundle::mainBundle()
{
    // The program's own bundle does not change while it runs: read it once per executable.
    static std::mutex mutex;
    static QString cachedFor;
    static std::optional<RVBundle> cached;
    const QString executable = RVPlatform::current().systemFacts().executablePath();
    if (executable.isEmpty())
        return std::nullopt;
    std::lock_guard lock(mutex);
    if (cachedFor != executable) {
        cached = bundleWithPath(mainBundlePath());
        cachedFor = executable;
    }
    return cached;
}

QString RVBundle::mainBundlePath()
{
    const QString executable = RVPlatform::current().systemFacts().executablePath();
    if (executable.isEmpty())
        return {};
    const QString folder = QFileInfo(executable).absolutePath();
    const QString app = enclosingAppFolder(folder);
    return app.isNull() ? folder : app;
}

QString RVBundle::enclosingAppFolder(const QString& path)
{
    QString candidate = QDir::cleanPath(path);
    while (!candidate.isEmpty() && candidate != QStringLiteral("/")) {
        if (candidate.endsWith(QStringLiteral(".app")))
            return candidate;
        candidate = QFileInfo(candidate).path();
    }
    return {};
}

void RVBundle::loadInfoDictionary()
{
    const QString listPath = infoPlistPath(m_path, m_layout);
    if (!QFileInfo::exists(listPath))
        return; // a plain folder has no list; not worth a line
    const RVFileRead::Result data = RVFileRead::regularFile(listPath, kMaxInfoSize);
    if (!data.data) {
        RVLog(QStringLiteral("cannot read property list %@: %@"), listPath, data.error);
        return;
    }
    const RVPropertyList::Result result = RVPropertyList::fromData(*data.data);
    if (!result.value || result.value->typeId() != QMetaType::QVariantMap) {
        RVLog(QStringLiteral("malformed property list %@: %@"), listPath,
              result.value ? QStringLiteral("not a dictionary") : result.error);
        return;
    }
    m_info = result.value->toMap();
    m_hasInfo = true;
}

QString RVBundle::resourcePath() const
{
    return m_layout == Layout::MacOS ? m_path + QStringLiteral("/Contents/Resources")
                                     : m_path + QStringLiteral("/Resources");
}

QString RVBundle::executablePath() const
{
    QString name = m_info.value(QStringLiteral("CFBundleExecutable")).toString();
    if (m_layout == Layout::GNUstep && name.isEmpty())
        name = m_info.value(QStringLiteral("NSExecutable")).toString();
    if (m_layout == Layout::GNUstep && name.isEmpty())
        name = QFileInfo(m_path).completeBaseName(); // GNUstep's own default
    if (name.isEmpty() || name.contains(u'/'))
        return {};
    const QString path = m_layout == Layout::MacOS
                             ? m_path + QStringLiteral("/Contents/MacOS/") + name
                             : m_path + u'/' + name;
    return QFileInfo(path).isFile() ? path : QString();
}

QString RVBundle::bundleIdentifier() const
{
    return m_info.value(QStringLiteral("CFBundleIdentifier")).toString();
}

QString RVBundle::pathForResourceOfType(const QString& name, const QString& type) const
{
    if (name.isEmpty() || name.contains(QStringLiteral("..")))
        return {};
    QString fileName = name;
    if (!type.isEmpty())
        fileName += (type.startsWith(u'.') ? QString() : QStringLiteral(".")) + type;
    const QString path = resourcePath() + u'/' + fileName;
    return QFileInfo::exists(path) ? path : QString();
}

QString RVBundle::iconFilePath() const
{
    const QString name = m_info.value(QStringLiteral("CFBundleIconFile")).toString();
    if (name.isEmpty())
        return {};
    for (const QString& type : {QStringLiteral("icns"), QStringLiteral("png"), QStringLiteral("svg"), QString()}) {
        const QString path = pathForResourceOfType(name, type);
        if (!path.isNull())
            return path;
    }
    return {};
}
