#include "RVProcess.h"

#include "RVBundle.h"
#include "RVFormat.h"
#include "RVLog.h"
#include "RVNumbers.h"
#include "RVPlatform.h"
#include "RVPropertyList.h"

#include <QStringList>

const QString RVPlatformCocoa = QStringLiteral("Cocoa");
const QString RVPlatformCarbon = QStringLiteral("Carbon");
const QString RVPlatformJava = QStringLiteral("Java");
const QString RVPlatformClassic = QStringLiteral("Classic");

namespace {

RVProcessTable& table()
{
    return RVPlatform::current().processTable();
}

QString stageLetter(std::uint8_t stage)
{
    switch (stage) {
    case 0x20: return QStringLiteral("d");
    case 0x40: return QStringLiteral("a");
    case 0x60: return QStringLiteral("b");
    default: return QStringLiteral("");
    }
}

} // namespace

QString RVProcess::name()
{
    return getProcessInfo() ? m_name : QString();
}

RVOSType RVProcess::signature()
{
    return getProcessInfo() ? m_signature : 0;
}

QString RVProcess::signatureString()
{
    return getProcessInfo() ? RVStringFromOSType(m_signature) : QStringLiteral("");
}

QString RVProcess::signatureHexString()
{
    // Each byte is widened as a signed char, so bytes of 0x80 and above print as eight
    // digits, FFFFFF followed by the byte.
    const std::int32_t code = std::int32_t(signature());
    const int bytes[4] = {std::int8_t(code >> 24), std::int8_t(code >> 16), std::int8_t(code >> 8),
                          std::int8_t(code)};
    return RVFormat(QStringLiteral("%02X%02X%02X%02X"), {bytes[0], bytes[1], bytes[2], bytes[3]});
}

QString RVProcess::path()
{
    std::lock_guard lock(m_mutex);
    if (m_path.isNull()) {
        const QString location = table().bundleLocation(m_psn);
        if (!location.isEmpty())
            m_path = location; // a failure is asked again next time
    }
    return m_path;
}

std::optional<QVariantMap> RVProcess::infoDictionary()
{
    std::lock_guard lock(m_mutex);
    if (!m_infoDictionary)
        m_infoDictionary = table().informationDictionary(m_psn);
    return m_infoDictionary;
}

std::optional<RVBundle> RVProcess::bundle()
{
    const QString location = path();
    return location.isNull() ? std::nullopt : RVBundle::bundleWithPath(location);
}

QString RVProcess::identifier()
{
    const auto info = infoDictionary();
    const QString identifier = info ? info->value(QStringLiteral("CFBundleIdentifier")).toString() : QString();
    return identifier.isNull() ? QStringLiteral("") : identifier;
}

QString RVProcess::version()
{
    std::lock_guard lock(m_mutex);
    if (!m_version.isNull())
        return m_version;
    m_version = QStringLiteral("1.0"); // every early exit keeps this for good
    if (!getProcessInfo() || path().isNull())
        return m_version;
    // A program outside a bundle folder has no bundle, only perhaps a version resource.
    const auto bundle = path().endsWith(QStringLiteral(".app")) ? this->bundle() : std::nullopt;
    if (!bundle) {
        const QString carbon = carbonVersion();
        if (!carbon.isNull())
            m_version = carbon;
        return m_version;
    }
    if (!bundle->hasInfoDictionary())
        return m_version;
    const QVariant shortVersion = bundle->objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString"));
    if (shortVersion.typeId() == QMetaType::QString && shortVersion.toString().contains(u'.')) {
        m_version = shortVersion.toString();
        return m_version;
    }
    const QVariant bundleVersion = bundle->objectForInfoDictionaryKey(QStringLiteral("CFBundleVersion"));
    if (bundleVersion.typeId() == QMetaType::QString)
        m_version = bundleVersion.toString();
    return m_version;
}

QString RVProcess::displayName()
{
    std::lock_guard lock(m_mutex);
    if (m_displayName.isNull()) {
        m_displayName = table().displayName(m_psn);
        if (m_displayName.isNull())
            m_displayName = name();
    }
    return m_displayName;
}

QString RVProcess::icon()
{
    std::lock_guard lock(m_mutex);
    if (m_icon.isNull()) {
        const QString location = path();
        if (!location.isNull())
            m_icon = RVPlatform::current().workspace().iconForFile(location); // kept once found
    }
    return m_icon;
}

QString versionFromVersRecord(const QByteArray& record)
{
    if (record.size() < 4)
        return {};
    const auto byte = [&](int i) { return std::uint8_t(record[i]); };
    const int major = (byte(3) & 0x0F) + (byte(3) >> 4) * 10;
    const int minor = byte(2) >> 4;
    const int bugfix = byte(2) & 0x0F;
    QString text = bugfix != 0 ? RVFormat(QStringLiteral("%d.%d.%d"), {major, minor, bugfix})
                               : RVFormat(QStringLiteral("%d.%d"), {major, minor});
    if (byte(0) != 0)
        text = RVFormat(QStringLiteral("%@%@%d"), {text, stageLetter(byte(1)), int(byte(0))});
    return text;
}

QString RVProcess::carbonVersion()
{
    const QString location = table().bundleLocation(m_psn);
    if (location.isEmpty())
        return {};
    const auto record = table().resourceData(location, RVFourCC("vers"), 1);
    return record ? versionFromVersRecord(*record) : QString();
}

int RVProcess::majorVersionNumber()
{
    const QString text = version();
    int value = 0;
    for (QChar c : text) {
        if (c < u'0' || c > u'9')
            break;
        value = value * 10 + (c.unicode() - '0');
    }
    return value;
}

bool RVProcess::isAtLeastVersion(const QString& other)
{
    const QStringList mine = version().split(u'.');
    const QStringList theirs = other.split(u'.');
    for (qsizetype i = 0;; ++i) {
        if (i >= mine.size() && i >= theirs.size())
            return true;
        // Each part counts by its leading number: "1b3" is 1.
        const int a = i < mine.size() ? RVLeadingInt(mine[i]) : 0;
        const int b = i < theirs.size() ? RVLeadingInt(theirs[i]) : 0;
        if (a != b)
            return a > b;
    }
}

bool RVProcess::isFrontProcess()
{
    const Ptr front = frontProcess();
    return front && isEqual(front.get());
}

bool RVProcess::isBackgroundOnly()
{
    const auto info = infoDictionary();
    if (!info)
        return false;
    for (const char* key : {"LSBackgroundOnly", "LSUIElement"}) {
        if (RVPropertyList::boolValue(info->value(QString::fromLatin1(key))))
            return true;
    }
    return false;
}

bool RVProcess::isCocoa()
{
    std::lock_guard lock(m_mutex);
    if (m_cocoaStatus == 0) {
        m_cocoaStatus = 2;
        const QString location = table().bundleLocation(m_psn);
        const auto item = location.isEmpty() ? std::nullopt : table().itemInfo(location);
        if (item && item->isNativeApp && item->isPackage) {
            const auto bundle = RVBundle::bundleWithPath(location);
            if (bundle && bundle->objectForInfoDictionaryKey(QStringLiteral("NSPrincipalClass")).typeId() ==
                              QMetaType::QString)
                m_cocoaStatus = 1;
        }
    }
    return m_cocoaStatus == 1;
}

bool RVProcess::isClassic()
{
    std::lock_guard lock(m_mutex);
    if (m_classicStatus == 0) {
        m_classicStatus = 2;
        return false;
    }
    return m_classicStatus == 1;
}

QString RVProcess::platform()
{
    if (isCocoa())
        return RVPlatformCocoa;
    if (isClassic())
        return RVPlatformClassic;
    if (identifier().contains(QStringLiteral(".java")))
        return RVPlatformJava;
    return RVPlatformCarbon;
}

double proc_start_time(pid_t pid)
{
    return table().startTime(pid).value_or(0.0);
}

QDateTime RVProcess::launchDate()
{
    std::lock_guard lock(m_mutex);
    if (!m_launchDate) {
        const pid_t pid = unixPID();
        if (pid == 0) {
            RVLog(QStringLiteral("*** Cannot get launch date for %@"), name());
            m_launchDate = QDateTime::currentDateTimeUtc();
        } else {
            m_launchDate = QDateTime::fromMSecsSinceEpoch(qint64(proc_start_time(pid) * 1000.0), Qt::UTC);
        }
    }
    return *m_launchDate;
}

float RVProcess::secondsRunning()
{
    return float(double(launchDate().msecsTo(QDateTime::currentDateTimeUtc())) / 1000.0);
}

float proc_cpu_time(pid_t pid)
{
    // The user time ps would print, read where ps reads it (/proc/PID/stat): no shell, and
    // no shared file in /tmp for two callers to race on or another user to plant.
    return float(table().userProcessorTime(pid).value_or(0.0));
}

float RVProcess::cpuTime()
{
    const auto pid = table().pidOfProcess(m_psn);
    return pid ? proc_cpu_time(*pid) : 0.0f;
}

QVariant RVProcess::infoForKey(const QString& key)
{
    std::lock_guard lock(m_mutex);
    return m_customInfo ? m_customInfo->value(key) : QVariant();
}

void RVProcess::setInfoForKey(const QVariant& value, const QString& key)
{
    std::lock_guard lock(m_mutex);
    if (!m_customInfo)
        m_customInfo.emplace();
    if (value.isValid())
        m_customInfo->insert(key, value);
    else
        m_customInfo->remove(key);
}
