#include "erp/s3session.h"

#include "erp/s3version.h"
#include "protocol/s3assert.h"
#include "s3dir.h"
#include "s3features.h"
#include "s3fileinfo.h"
#include "s3string.h"
#include "s3testflags.h"
#include "test/s3trace.h"

#include <QMutexLocker>
#include <QScopeGuard>

#include <string_view>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 longHostNameFlag = 248;
constexpr qint32 tokenTraceFlag = 314;
constexpr qint32 signOnTraceFlag = 318;

// A token that runs out within these seconds is not handed out any more.
constexpr qint64 tokenReserve = 5;

constexpr std::u16string_view longHostNameSuffix
    = u".workstation-with-a-very-long-name-that-was-made-up-for-tests"
      u".department-of-extraordinarily-long-names-and-places"
      u".subsidiary-at-the-other-end-of-the-town"
      u".remote";
static_assert(longHostNameSuffix.size() == 160);

// Why the build info of a server without a version is not understood, in words for the report.
QString buildInfoArguments(const QString &version, const QString &buildInfo)
{
    return u" version=\"%1\" serverBuildInfo=\"%2\""_s.arg(version, buildInfo);
}

QString remainingTimeText(qint64 remaining)
{
    if (remaining > tokenReserve)
        return u"(): noch gueltig: %1 s"_s.arg(remaining);
    if (remaining < 1)
        return u"(): abgelaufen seit: %1 s"_s.arg(-remaining);
    return u"(): laeuft bald ab: %1 s"_s.arg(remaining);
}

}

void s3Session::reset()
{
    Values fresh;
    fresh.m_flag15 = m_values.m_flag15; // outlives a login on purpose, alone among its neighbours
    fresh.m_numberFormat = m_values.m_numberFormat;
    const QMutexLocker locker(&m_mutex);
    m_values = fresh;
}

void s3Session::setText12(const QString &text, qint32 number)
{
    m_values.m_text12 = text;
    m_values.m_number3 = number;
}

void s3Session::setNumberFormat(const s3NumberFormat &format)
{
    m_values.m_numberFormat = format;
    m_values.m_hasNumberFormat = format.isPresent();
}

QString s3Session::hostName() const
{
    if (s3TestFlagsInstance()->contains(longHostNameFlag))
        return QString(m_values.m_hostName).append(QStringView(longHostNameSuffix));
    return m_values.m_hostName.isEmpty() ? u"???"_s : m_values.m_hostName;
}

void s3Session::setServerVersionAndBuildInfo(const QString &version, const QString &buildInfo)
{
    m_values.m_isVersion2101r8n1OrLater = s3Version::isAtLeast2101r8n1(version);
    m_values.m_isVersion2200OrLater = s3Version::isAtLeast2200(version);
    m_values.m_serverVersion = version;
    m_values.m_serverBuildInfo = buildInfo;
    // The check is a soft one: the rest is done also when its failure leaves as an exception.
    const auto rest = qScopeGuard([this] { derivePreferences(); });
    if (!version.isEmpty() || buildInfo.isEmpty())
        return;
    const QString word = buildInfo.section(u' ', 2, 2, QString::SectionSkipEmpty);
    // The developers know this site by the number 1111, which does not move with the source.
    s3Assert(s3Version::fromZerkVersion(word).toZerkVersion() == word,
             "s3Version::fromZerkVersion(version).toZerkVersion() == version",
             "libraries/core/src/erp/s3session", "s3Session::setServerVersionAndBuildInfo",
             buildInfoArguments(word, buildInfo), 1111);
}

void s3Session::derivePreferences()
{
    const bool always = m_values.m_isVersion2200OrLater;
    m_values.m_preferLocal1 = always;
    m_values.m_preferLocal2 = always;
    m_values.m_preferLocal3 = always;
    m_values.m_preferLocalFiles
        = always || s3ExperimentalFeaturesInstance()->contains(u"preferLocalFilesIfIsLocalInstall"_s);
}

void s3Session::setServerDirectory(const QString &directory)
{
    m_values.m_serverDirectory = s3String(directory).toForwardSlashes();
}

void s3Session::setGuiDirectory(const QString &directory)
{
    m_values.m_guiDirectory = s3String(directory).toForwardSlashes();
}

QString s3Session::serverFilePath(const QString &relativePath) const
{
    return s3PathJoin(m_values.m_serverDirectory, relativePath);
}

QString s3Session::guiFilePath(const QString &relativePath) const
{
    return s3PathJoin(m_values.m_guiDirectory, relativePath);
}

QString s3Session::guiRelativePath(const QString &path) const
{
    QString normalised = s3String(path).toForwardSlashes();
    const QString directory = m_values.m_guiDirectory + u'/';
    if (normalised.startsWith(directory))
        normalised.remove(0, directory.size());
    return normalised;
}

QString s3Session::resolveGuiPath(const QString &path, bool allowLocal) const
{
    QString normalised = s3String(path).toForwardSlashes();
    if (normalised.startsWith(u":/"_s))
        return normalised;
    if (!allowLocal || (QDir::isRelativePath(normalised) && !s3FileInfo::exists(normalised)))
        return guiFilePath(normalised);
    return normalised;
}

void s3Session::setAccessTokenSSO(const QString &token, qint32 seconds)
{
    // Exchanged, so that the old text goes behind the lock.
    QString exchanged = token;
    const QMutexLocker locker(&m_mutex);
    m_values.m_accessTokenSSO.swap(exchanged);
    m_values.m_accessTokenSSOValidUntil = m_clock().addSecs(seconds).toUTC();
}

void s3Session::setAccessTokenSSOValidUntil(const QDateTime &validUntil)
{
    const QMutexLocker locker(&m_mutex);
    // A time in UTC is one machine word inside QDateTime, which accessTokenSSOCanBeUsed may read at any time.
    m_values.m_accessTokenSSOValidUntil = validUntil.toUTC();
}

QString s3Session::accessTokenSSO() const
{
    const QMutexLocker locker(&m_mutex);
    return m_values.m_accessTokenSSO;
}

QDateTime s3Session::accessTokenSSOValidUntil() const
{
    const QMutexLocker locker(&m_mutex);
    return m_values.m_accessTokenSSOValidUntil;
}

bool s3Session::accessTokenSSOCanBeUsed() const
{
    const qint64 remaining = m_clock().secsTo(m_values.m_accessTokenSSOValidUntil);
    const s3TestFlagsGUI *flags = s3TestFlagsInstance();
    if (flags->contains(tokenTraceFlag) || flags->contains(signOnTraceFlag)) {
        s3TraceAlways(
            [&] { return QString(u"s3Session::accessTokenSSOCanBeUsed"_s + remainingTimeText(remaining)); });
    }
    return remaining > tokenReserve;
}

void s3Session::setClock(Clock clock)
{
    m_clock = clock != nullptr ? clock : systemTime;
}

QDateTime s3Session::systemTime()
{
    // Whole seconds, the unit of a token's life: a token for six seconds must not count as one for five
    // after a millisecond.
    static constexpr qint64 second = 1000;
    QDateTime now = QDateTime::currentDateTimeUtc();
    now.setMSecsSinceEpoch(now.toMSecsSinceEpoch() / second * second);
    return now;
}
