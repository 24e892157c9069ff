#include "RVUtilities.h"

#include "RVBundle.h"
#include "RVLog.h"
#include "RVPlatform.h"

#include <QDateTime>
#include <QLocale>

#include <atomic>
#include <cmath>

namespace {

constexpr char16_t kStageLetters[] = {u'd', u'a', u'b', u'f', u' '};
constexpr int kReleaseRank = 4;

std::atomic<std::uint32_t> g_decimalSystemVersion{0};

QString mainBundleString(const QString& key)
{
    const auto bundle = RVBundle::mainBundle();
    if (!bundle)
        return QStringLiteral("");
    const QVariant value = bundle->objectForInfoDictionaryKey(key);
    return value.isValid() ? value.toString() : QStringLiteral("");
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// Compares two runs of digits by value, without overflow for long runs.
int compareDigitRuns(QStringView a, QStringView b)
{
    while (a.size() > 1 && a.front() == u'0')
        a = a.mid(1);
    while (b.size() > 1 && b.front() == u'0')
        b = b.mid(1);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    const int order = a.compare(b);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

qsizetype firstLetterIndex(const QString& s)
{
    for (qsizetype i = 0; i < s.size(); ++i) {
        char32_t code = s[i].unicode();
        if (s[i].isHighSurrogate() && i + 1 < s.size() && s[i + 1].isLowSurrogate())
            code = QChar::surrogateToUcs4(s[i], s[i + 1]);
        if (QChar::isLetter(code))
            return i;
    }
    return -1;
}

struct StagedVersion
{
    QString number;
    int rank = kReleaseRank;
    QString stageNumber = QStringLiteral("0");
};

StagedVersion splitStage(const QString& version)
{
    const qsizetype i = firstLetterIndex(version);
    if (i < 0)
        return {version, kReleaseRank, QStringLiteral("0")};
    return {version.left(i), developmentStage(version[i].unicode()), version.mid(i + 1)};
}

bool appKitAtLeast(double threshold)
{
    return RVPlatform::current().systemFacts().appKitVersionNumber() >= threshold;
}

double flooredAppKit()
{
    return std::floor(RVPlatform::current().systemFacts().appKitVersionNumber());
}

} // namespace

int developmentStage(char16_t c)
{
    for (int i = 0; i < int(std::size(kStageLetters)); ++i) {
        if (kStageLetters[i] == c)
            return i;
    }
    return 0;
}

QString RVUtilities::applicationName()
{
    return mainBundleString(QStringLiteral("CFBundleExecutable"));
}

QString RVUtilities::versionString()
{
    return mainBundleString(QStringLiteral("CFBundleVersion"));
}

QString RVUtilities::plainVersionOf(const QString& version)
{
    qsizetype i = 0;
    while (i < version.size() && (isDigit(version[i]) || version[i] == u'.'))
        ++i;
    return i == version.size() ? version : version.left(i);
}

QString RVUtilities::plainVersionString()
{
    return plainVersionOf(versionString());
}

int RVUtilities::compareNumerically(const QString& a, const QString& b)
{
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            const qsizetype startA = i, startB = j;
            while (i < a.size() && isDigit(a[i]))
                ++i;
            while (j < b.size() && isDigit(b[j]))
                ++j;
            const int order = compareDigitRuns(QStringView(a).mid(startA, i - startA),
                                               QStringView(b).mid(startB, j - startB));
            if (order != 0)
                return order;
            continue;
        }
        if (a[i] != b[j])
            return a[i].unicode() < b[j].unicode() ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size())
        return 1;
    if (j < b.size())
        return -1;
    return 0;
}

int RVUtilities::compareVersionWithVersion(const QString& a, const QString& b)
{
    const StagedVersion x = splitStage(a);
    const StagedVersion y = splitStage(b);
    if (const int order = compareNumerically(x.number, y.number); order != 0)
        return order;
    if (x.rank != y.rank)
        return x.rank < y.rank ? -1 : 1;
    return compareNumerically(x.stageNumber, y.stageNumber);
}

std::uint32_t RVUtilities::hexSystemVersion()
{
    const auto answer = RVPlatform::current().systemFacts().gestalt(RVFourCC("sysv"));
    return answer ? std::uint32_t(*answer) : 0;
}

RVThreePartVersion RVUtilities::threePartVersion()
{
    const RVSystemFacts& facts = RVPlatform::current().systemFacts();
    RVThreePartVersion version;
    if (const auto major = facts.gestalt(RVFourCC("sys1"))) {
        version.major = std::uint16_t(*major);
        if (const auto minor = facts.gestalt(RVFourCC("sys2")))
            version.minor = std::uint16_t(*minor);
        else
            RVLog(QStringLiteral("cannot get minor version number"));
        if (const auto bugfix = facts.gestalt(RVFourCC("sys3")))
            version.bugfix = std::uint16_t(*bugfix);
        else
            RVLog(QStringLiteral("cannot get bugfix version number"));
        return version;
    }
    const auto packed = facts.gestalt(RVFourCC("sysv"));
    if (!packed)
        return version;
    const std::uint32_t v = std::uint32_t(*packed);
    version.bugfix = std::uint16_t(v & 0xF);
    version.minor = std::uint16_t((v >> 4) & 0xF);
    version.major = std::uint16_t(((v >> 8) & 0xF) + ((v >> 12) & 0xF) * 10);
    return version;
}

std::uint32_t RVUtilities::decimalSystemVersion()
{
    // Racing threads only compute the same value twice.
    if (const std::uint32_t cached = g_decimalSystemVersion.load(std::memory_order_relaxed))
        return cached;
    const RVThreePartVersion v = threePartVersion();
    const std::uint32_t value = (std::uint32_t(v.major) * 100 + v.minor) * 100 + v.bugfix;
    g_decimalSystemVersion.store(value, std::memory_order_relaxed);
    return value;
}

QString RVUtilities::systemVersionString()
{
    const RVThreePartVersion v = threePartVersion();
    if (v.bugfix != 0)
        return RVFormat(QStringLiteral("%d.%d.%d"), {v.major, v.minor, v.bugfix});
    return RVFormat(QStringLiteral("%d.%d"), {v.major, v.minor});
}

QString RVUtilities::localizedDateString(const QString& date)
{
    // The day starts at midnight UTC and is shown in the local time zone, as a date
    // formatter shows an instant.
    // A string that does not parse is no date, and the formatter shows that as it will.
    const QDate day = QDate::fromString(date, QStringLiteral("yyyy-MM-dd"));
    const QDate shown = day.isValid() ? QDateTime(day, QTime(0, 0), Qt::UTC).toLocalTime().date() : QDate();
    return RVPlatform::current().systemFacts().currentLocale().toString(shown, QLocale::ShortFormat);
}

bool RVUtilities::pantherOrOlder() { return flooredAppKit() <= 743; }
bool RVUtilities::leopardOrNewer() { return flooredAppKit() > 824; }
bool RVUtilities::snowleopardOrNewer() { return flooredAppKit() >= 1038; }
bool RVUtilities::lionOrNewer() { return appKitAtLeast(1138); }
bool RVUtilities::mountainLionOrNewer() { return appKitAtLeast(1187); }
bool RVUtilities::mavericksOrNewer() { return appKitAtLeast(1265); }
bool RVUtilities::yosemiteOrNewer() { return appKitAtLeast(1343); }
bool RVUtilities::elCapitanOrNewer() { return appKitAtLeast(1404); }
bool RVUtilities::sierraOrNewer() { return appKitAtLeast(1490); }

void RVUtilities::resetCachesForTesting()
{
    g_decimalSystemVersion.store(0);
    resetMenuBarMonitor();
}
