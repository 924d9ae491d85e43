#include "coreutil.h"
#include "platform/systemversion.h"
#include "s3operatingsystem.h"

#include <QRegularExpression>
#include <QStringList>
#include <QSysInfo>
#include <QTest>

#include <windows.h>

using namespace Qt::StringLiterals;

// The description of the real Windows, against other sources of the same facts.
class TestSystemVersion final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void description();
    void productType();
    void registryValues();
    void suites();
};

void TestSystemVersion::description()
{
    static const QRegularExpression form(
        uR"(^Windows [^()]+ \((Workstation|Server|Domain Controller)\) (Version \S+|\d+\.\d+) Build \d+(\.\d+)?(, 64 Bit)?$)"_s);
    const QString text = s3OperatingSystem::description();
    QVERIFY2(form.match(text).hasMatch(), qPrintable(text));
    QVERIFY2(text.contains(u" Build "_s + QSysInfo::kernelVersion().section(u'.', 2, 2)), qPrintable(text));
    BOOL isWow64 = FALSE;
    QVERIFY(IsWow64Process(GetCurrentProcess(), &isWow64) != FALSE);
    QCOMPARE(text.endsWith(u", 64 Bit"_s), isWow64 != FALSE);
    QVERIFY(s3OperatingSystem::shortName().startsWith(u"Windows"_s));
    QCOMPARE(s3OperatingSystem::isGeneration1OrLater(), QSysInfo::kernelVersion().startsWith(u"10."_s));
}

void TestSystemVersion::productType()
{
    // QSysInfo names a server so.
    const bool isServer = QSysInfo::prettyProductName().contains(u"Server"_s);
    QCOMPARE(!s3OperatingSystem::description().contains(u"(Workstation)"_s), isServer);
}

void TestSystemVersion::registryValues()
{
    const QString root = u"HKEY_LOCAL_MACHINE"_s;
    const QString current = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion"_s;
    QCOMPARE(s3OperatingSystem::hardwareIdentifier(),
             s3GetRegistryValue(root, u"HARDWARE\\DESCRIPTION\\System"_s, u"Identifier"_s));
    const QString display = s3GetRegistryValue(root, current, u"DisplayVersion"_s);
    if (!display.isEmpty())
        QVERIFY(s3OperatingSystem::description().contains(u" Version "_s + display + u" Build "_s));
    const QString edition = s3GetRegistryValue(root, current, u"EditionID"_s);
    if (!edition.isEmpty())
        QCOMPARE(s3OperatingSystem::edition().section(u", "_s, 0, 0), edition);
}

void TestSystemVersion::suites()
{
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    QVERIFY(GetVersionExW(reinterpret_cast<OSVERSIONINFOW *>(&version)) != FALSE);
    const QStringList words = s3OperatingSystem::edition().split(u", "_s);
    QCOMPARE(words.contains(u"SingleUserTS"_s), (version.wSuiteMask & VER_SUITE_SINGLEUSERTS) != 0);
    QCOMPARE(words.contains(u"Terminal"_s), (version.wSuiteMask & VER_SUITE_TERMINAL) != 0);
    QCOMPARE(words.contains(u"Home"_s), (version.wSuiteMask & VER_SUITE_PERSONAL) != 0);
    QCOMPARE(words.contains(u"DataCenter"_s), (version.wSuiteMask & VER_SUITE_DATACENTER) != 0);
}

QTEST_GUILESS_MAIN(TestSystemVersion)
#include "tst_systemversion.moc"
