#include "s3operatingsystemwindows.h"

#include "erp/s3version.h"

#include <QStringList>

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 anyBuild = std::numeric_limits<qint32>::max();

// VER_NT_WORKSTATION and VER_NT_DOMAIN_CONTROLLER of winnt.h.
constexpr quint8 workstation = 1;
constexpr quint8 domainController = 2;

struct Release {
    qint32 kernelMajor;
    qint32 kernelMinor;
    qint32 highestBuild;
    qint32 workstationId;
    const char16_t *workstationName;
    qint32 serverId;
    const char16_t *serverName;
};

// The first match counts. The ids are a scale of generations: what behaves alike shares one.
constexpr Release releases[] = {
    {6, 1, anyBuild, 1, u"7", 2, u"Server 2008 R2"},   {6, 2, anyBuild, 3, u"8", 4, u"Server 2012"},
    {6, 3, anyBuild, 3, u"8.1", 4, u"Server 2012 R2"}, {10, 0, 17599, 5, u"10", 6, u"Server 2016"},
    {10, 0, 21999, 7, u"10", 8, u"Server 2019"},       {10, 0, anyBuild, 9, u"11", 8, u"Server 2019"},
};

struct Suite {
    quint16 mask;
    const char16_t *name;
};

// VER_SUITE_... of winnt.h.
constexpr Suite suites[] = {
    {1, u"SmallBusiness"},
    {2, u"Enterprise"},
    {4, u"BackOffice"},
    {8, u"Communications"},
    {16, u"Terminal"},
    {32, u"SmallBusinessRestricted"},
    {64, u"EmbeddedNT"},
    {128, u"DataCenter"},
    {256, u"SingleUserTS"},
    {512, u"Home"},
    {1024, u"Blade"},
    {2048, u"EmbeddedRestricted"},
    {4096, u"SecurityAppliance"},
    {8192, u"StorageServer"},
    {16384, u"ComputeServer"},
    {32768, u"HomeServer"},
};

const Release *findRelease(const s3Version &kernel)
{
    const auto *found = std::find_if(std::begin(releases), std::end(releases), [&](const Release &release) {
        return release.kernelMajor == kernel.major() && release.kernelMinor == kernel.minor()
            && release.highestBuild >= kernel.service();
    });
    return found != std::end(releases) ? found : nullptr;
}

}

s3OperatingSystemWindows::s3OperatingSystemWindows(std::unique_ptr<const platform::SystemVersion> system)
    : m_system(std::move(system))
{
    compose();
}

void s3OperatingSystemWindows::compose()
{
    const s3Version kernel(m_system->kernelVersion());
    const bool isServer = !m_system->isProductType(workstation);
    if (const Release *release = findRelease(kernel)) {
        m_versionId = isServer ? release->serverId : release->workstationId;
        const QString name = QString::fromUtf16(isServer ? release->serverName : release->workstationName);
        m_description = u"Windows "_s + name;
        m_shortName = u"Windows"_s + name;
    } else {
        m_description = u"Windows ???"_s;
    }

    QString productType = u"Workstation"_s;
    if (isServer)
        productType = m_system->isProductType(domainController) ? u"Domain Controller"_s : u"Server"_s;
    m_description += u" (%1)"_s.arg(productType);

    if (const QString display = currentVersionValue(u"DisplayVersion"_s); !display.isEmpty())
        m_description += u" Version "_s + display;
    else if (const QString release = currentVersionValue(u"ReleaseId"_s); !release.isEmpty())
        m_description += u" Version "_s + release;
    else
        m_description += u" %1.%2"_s.arg(QString::number(kernel.major()), QString::number(kernel.minor()));
    m_description += u" Build "_s + QString::number(kernel.service());
    if (const QString revision = currentVersionValue(u"UBR"_s); !revision.isEmpty())
        m_description += u'.' + revision;
    // True only for a program of 32 bits; one of 64 bits does not show the words.
    if (m_system->isWow64())
        m_description += u", 64 Bit"_s;
}

QString s3OperatingSystemWindows::hardwareIdentifier() const
{
    return m_system->registryValue(u"HARDWARE\\DESCRIPTION\\System"_s, u"Identifier"_s);
}

QString s3OperatingSystemWindows::edition() const
{
    QStringList words;
    if (const QString id = currentVersionValue(u"EditionID"_s); !id.isEmpty())
        words += id;
    for (const Suite &suite : suites) {
        if (m_system->hasSuite(suite.mask))
            words += QString::fromUtf16(suite.name);
    }
    return words.join(u", "_s);
}

QString s3OperatingSystemWindows::currentVersionValue(const QString &valueName) const
{
    return m_system->registryValue(u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion"_s, valueName);
}

bool s3OperatingSystemWindows::isVersionId(qint32 lowest, qint32 highest) const
{
    return m_versionId >= lowest && (highest == 0 || m_versionId <= highest);
}

bool s3OperatingSystemWindows::isGeneration1OrLater() const
{
    return isVersionId(5, 0);
}

bool s3OperatingSystemWindows::isGeneration2OrLater() const
{
    return isVersionId(7, 0);
}

bool s3OperatingSystemWindows::isGeneration3OrLater() const
{
    return isVersionId(9, 0);
}
