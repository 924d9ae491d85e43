#include "s3operatingsystem.h"

#include "platform/systemversion.h"
#include "s3operatingsystemlinux.h"
#include "s3operatingsystemwindows.h"

#include <QHash>
#include <QSysInfo>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

// What a Windows answers, by script.
struct Script {
    QString kernel = u"10.0.19045"_s;
    quint8 productType = 1;
    quint16 suites = 0;
    bool wow64 = false;
    QHash<QString, QString> values; // by name below CurrentVersion
    QString identifier;
};

class ScriptedSystem final : public platform::SystemVersion
{
public:
    explicit ScriptedSystem(const Script &script) : m_script(script) { }

    QString kernelVersion() const override { return m_script.kernel; }
    bool isProductType(quint8 type) const override { return type == m_script.productType; }
    bool hasSuite(quint16 mask) const override { return (m_script.suites & mask) == mask; }
    bool isWow64() const override { return m_script.wow64; }
    QString registryValue(const QString &key, const QString &valueName) const override
    {
        if (key == u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion"_s)
            return m_script.values.value(valueName);
        if (key == u"HARDWARE\\DESCRIPTION\\System"_s && valueName == u"Identifier"_s)
            return m_script.identifier;
        return QString();
    }

private:
    const Script &m_script; // answers change with it
};

s3OperatingSystemWindows describe(const Script &script)
{
    return s3OperatingSystemWindows(std::make_unique<ScriptedSystem>(script));
}

}

// The description of the operating system: Windows by a scripted system, Linux by its texts, and the real
// one.
class TestOperatingSystem final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void base();
    void releases_data();
    void releases();
    void descriptions_data();
    void descriptions();
    void suites_data();
    void suites();
    void editions_data();
    void editions();
    void fullDescription_data();
    void fullDescription();
    void linuxTexts_data();
    void linuxTexts();
    void thisSystem();
};

void TestOperatingSystem::base()
{
    const s3OperatingSystemPrivate base;
    QCOMPARE(base.description(), QString());
    QCOMPARE(base.shortName(), QString());
    QCOMPARE(base.hardwareIdentifier(), QString());
    QCOMPARE(base.edition(), QString());
    QVERIFY(!base.isGeneration1OrLater());
    QVERIFY(!base.isGeneration2OrLater());
    QVERIFY(!base.isGeneration3OrLater());
    QCOMPARE(base.fullDescription(), u"\n"_s);
}

void TestOperatingSystem::releases_data()
{
    QTest::addColumn<QString>("kernel");
    QTest::addColumn<bool>("isServer");
    QTest::addColumn<QString>("name"); // empty: not known
    QTest::addColumn<qint32>("id");
    const auto row
        = [](const char *kernel, const QString &name, qint32 id, const QString &serverName, qint32 serverId) {
              const QString text = QString::fromLatin1(kernel);
              QTest::addRow("%s", kernel) << text << false << name << id;
              QTest::addRow("%s, server", kernel) << text << true << serverName << serverId;
          };
    row("6.1.0", u"7"_s, 1, u"Server 2008 R2"_s, 2);
    row("6.1.7601", u"7"_s, 1, u"Server 2008 R2"_s, 2);
    row("6.1.2147483647", u"7"_s, 1, u"Server 2008 R2"_s, 2);
    row("6.2.9200", u"8"_s, 3, u"Server 2012"_s, 4);
    row("6.3.9600", u"8.1"_s, 3, u"Server 2012 R2"_s, 4);
    row("10.0.10240", u"10"_s, 5, u"Server 2016"_s, 6);
    row("10.0.17599", u"10"_s, 5, u"Server 2016"_s, 6);
    row("10.0.17600", u"10"_s, 7, u"Server 2019"_s, 8);
    row("10.0.20348", u"10"_s, 7, u"Server 2019"_s, 8);
    row("10.0.21999", u"10"_s, 7, u"Server 2019"_s, 8);
    row("10.0.22000", u"11"_s, 9, u"Server 2019"_s, 8);
    row("10.0.26100", u"11"_s, 9, u"Server 2019"_s, 8);
    row("5.1.2600", QString(), 0, QString(), 0);
    row("6.0.6002", QString(), 0, QString(), 0);
    row("6.4.9800", QString(), 0, QString(), 0);
    row("10.1.1", QString(), 0, QString(), 0);
    row("11.0.30000", QString(), 0, QString(), 0);
    row("", QString(), 0, QString(), 0);
}

void TestOperatingSystem::releases()
{
    QFETCH(QString, kernel);
    QFETCH(bool, isServer);
    QFETCH(QString, name);
    QFETCH(qint32, id);
    Script script;
    script.kernel = kernel;
    script.productType = isServer ? 3 : 1;
    const s3OperatingSystemWindows system = describe(script);
    QCOMPARE(system.versionId(), id);
    QCOMPARE(system.shortName(), name.isEmpty() ? QString() : QString(u"Windows"_s + name));
    const QString start = u"Windows %1 (%2) "_s.arg(name.isEmpty() ? u"???"_s : name,
                                                    isServer ? u"Server"_s : u"Workstation"_s);
    QVERIFY2(system.description().startsWith(start), qPrintable(system.description()));
    QCOMPARE(system.isGeneration1OrLater(), id >= 5);
    QCOMPARE(system.isGeneration2OrLater(), id >= 7);
    QCOMPARE(system.isGeneration3OrLater(), id >= 9);
}

void TestOperatingSystem::descriptions_data()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<QString>("expected");
    const QString display = u"DisplayVersion"_s;
    const QString release = u"ReleaseId"_s;
    const QString revision = u"UBR"_s;
    Script script;
    QTest::newRow("no values") << script << u"Windows 10 (Workstation) 10.0 Build 19045"_s;
    script.values = {{display, u"22H2"_s}, {release, u"2009"_s}, {revision, u"2364"_s}};
    QTest::newRow("all values") << script << u"Windows 10 (Workstation) Version 22H2 Build 19045.2364"_s;
    script.values = {{release, u"1809"_s}, {revision, u"2364"_s}};
    QTest::newRow("no display version")
        << script << u"Windows 10 (Workstation) Version 1809 Build 19045.2364"_s;
    script.values = {{display, u"22H2"_s}};
    QTest::newRow("no revision") << script << u"Windows 10 (Workstation) Version 22H2 Build 19045"_s;
    script.values = {{revision, u"2364"_s}};
    QTest::newRow("only a revision") << script << u"Windows 10 (Workstation) 10.0 Build 19045.2364"_s;
    script.values = {{display, u"%1 \u00e4"_s}, {revision, u"%2"_s}};
    QTest::newRow("place marks in values")
        << script << u"Windows 10 (Workstation) Version %1 \u00e4 Build 19045.%2"_s;
    script.values.clear();
    script.wow64 = true;
    QTest::newRow("32 bits on 64") << script << u"Windows 10 (Workstation) 10.0 Build 19045, 64 Bit"_s;
    script.values = {{display, u"22H2"_s}, {revision, u"2364"_s}};
    QTest::newRow("all parts") << script
                               << u"Windows 10 (Workstation) Version 22H2 Build 19045.2364, 64 Bit"_s;
    script = Script();
    script.productType = 2;
    QTest::newRow("domain controller")
        << script << u"Windows Server 2019 (Domain Controller) 10.0 Build 19045"_s;
    script.productType = 3;
    script.kernel = u"10.0.20348"_s;
    QTest::newRow("server") << script << u"Windows Server 2019 (Server) 10.0 Build 20348"_s;
    script.productType = 0;
    QTest::newRow("product type unknown") << script << u"Windows Server 2019 (Server) 10.0 Build 20348"_s;
    script = Script();
    script.kernel = u"5.1.2600"_s;
    script.values = {{revision, u"7"_s}};
    script.wow64 = true;
    QTest::newRow("unknown kernel") << script << u"Windows ??? (Workstation) 5.1 Build 2600.7, 64 Bit"_s;
    script.values.insert(display, u"SP3"_s);
    QTest::newRow("unknown kernel, version")
        << script << u"Windows ??? (Workstation) Version SP3 Build 2600.7, 64 Bit"_s;
}

void TestOperatingSystem::descriptions()
{
    QFETCH(Script, script);
    const s3OperatingSystemWindows system = describe(script);
    QTEST(system.description(), "expected");
    // It stays as it was composed.
    script.kernel = u"6.1.7601"_s;
    QTEST(system.description(), "expected");
}

void TestOperatingSystem::suites_data()
{
    QTest::addColumn<quint16>("mask");
    QTest::addColumn<QString>("expected");
    const char *const names[] = {"SmallBusiness",
                                 "Enterprise",
                                 "BackOffice",
                                 "Communications",
                                 "Terminal",
                                 "SmallBusinessRestricted",
                                 "EmbeddedNT",
                                 "DataCenter",
                                 "SingleUserTS",
                                 "Home",
                                 "Blade",
                                 "EmbeddedRestricted",
                                 "SecurityAppliance",
                                 "StorageServer",
                                 "ComputeServer",
                                 "HomeServer"};
    quint32 mask = 1;
    for (const char *name : names) {
        QTest::newRow(name) << static_cast<quint16>(mask) << QString::fromLatin1(name);
        mask *= 2;
    }
    QCOMPARE(mask, 0x10000U);
}

void TestOperatingSystem::suites()
{
    Script script;
    QFETCH(quint16, mask);
    script.suites = mask;
    QTEST(describe(script).edition(), "expected");
}

void TestOperatingSystem::editions_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<quint16>("mask");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing") << QString() << quint16(0) << QString();
    QTest::newRow("only an id") << u"Professional"_s << quint16(0) << u"Professional"_s;
    QTest::newRow("only suites") << QString() << quint16(256 + 16) << u"Terminal, SingleUserTS"_s;
    QTest::newRow("both") << u"ServerStandard"_s << quint16(256 + 16 + 2)
                          << u"ServerStandard, Enterprise, Terminal, SingleUserTS"_s;
}

void TestOperatingSystem::editions()
{
    QFETCH(QString, id);
    QFETCH(quint16, mask);
    Script script;
    const s3OperatingSystemWindows system = describe(script);
    QCOMPARE(system.edition(), QString());
    // Asked for anew at each call.
    script.suites = mask;
    script.values = {{u"EditionID"_s, id}};
    QTEST(system.edition(), "expected");
}

void TestOperatingSystem::fullDescription_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("edition");
    QTest::addColumn<QString>("expected");
    const QString start = u"Windows 10 (Workstation) 10.0 Build 19045"_s;
    QTest::newRow("neither") << QString() << QString() << QString(start + u'\n');
    QTest::newRow("identifier") << u"AT/AT COMPATIBLE"_s << QString()
                                << QString(start + u", AT/AT COMPATIBLE\n"_s);
    QTest::newRow("edition") << QString() << u"Core"_s << QString(start + u"\n        Edition: Core\n"_s);
    QTest::newRow("both") << u"AT/AT COMPATIBLE"_s << u"Core"_s
                          << QString(start + u", AT/AT COMPATIBLE\n        Edition: Core\n"_s);
}

void TestOperatingSystem::fullDescription()
{
    QFETCH(QString, identifier);
    QFETCH(QString, edition);
    Script script;
    script.identifier = identifier;
    script.values = {{u"EditionID"_s, edition}};
    const s3OperatingSystemWindows system = describe(script);
    QCOMPARE(system.hardwareIdentifier(), identifier);
    QTEST(system.fullDescription(), "expected");
}

void TestOperatingSystem::linuxTexts_data()
{
    QTest::addColumn<QByteArray>("osRelease");
    QTest::addColumn<QString>("description"); // without the kernel
    QTest::addColumn<QString>("shortName");
    QTest::addColumn<QString>("edition");
    const auto row = [](const char *name, const QByteArray &osRelease, const QString &description,
                        const QString &shortName, const QString &edition) {
        QTest::newRow(name) << osRelease << description << shortName << edition;
    };
    row("no file", QByteArray(), u"Linux"_s, u"linux"_s, QString());
    row("debian",
        "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian "
        "GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n",
        u"Debian GNU/Linux 12 (bookworm)"_s, u"debian12"_s, QString());
    row("variant",
        "PRETTY_NAME='Fedora Linux 40'\r\nID=fedora\r\nVERSION_ID=40\r\nVARIANT=\"Server Edition\"\r\n",
        u"Fedora Linux 40"_s, u"fedora40"_s, u"Server Edition"_s);
    row("rolling release", "NAME=\"Arch Linux\"\nID=arch", u"Arch Linux"_s, u"arch"_s, QString());
    row("name and version", "NAME=Some\nVERSION=\"1 (one)\"", u"Some 1 (one)"_s, u"linux"_s, QString());
    row("only a version", "VERSION=7\nVERSION_ID=7", u"7"_s, u"linux"_s, QString());
    row("escapes", "PRETTY_NAME=\"a \\\"b\\\" \\$c \\\\ \\`\"\nID=x", u"a \"b\" $c \\ `"_s, u"x"_s,
        QString());
    row("single quotes have no escapes", "PRETTY_NAME='a\\b'", u"a\\b"_s, u"linux"_s, QString());
    row("comments and rubbish", "# PRETTY_NAME=no\n\n=x\nID\n \"\nPRETTY_NAME=\"\nVARIANT=\\", u"\""_s,
        u"linux"_s, u"\\"_s);
    row("last one counts", "ID=a\nID=b", u"Linux"_s, u"b"_s, QString());
    row("non-ASCII", "PRETTY_NAME=\"Gr\xc3\xbcn \xf0\x9f\x90\xa7\"", u"Gr\u00fcn \U0001F427"_s, u"linux"_s,
        QString());
    row("place marks", "PRETTY_NAME=%1\nID=%2", u"%1"_s, u"%2"_s, QString());
}

void TestOperatingSystem::linuxTexts()
{
    QFETCH(QByteArray, osRelease);
    QFETCH(QString, description);
    const s3OperatingSystemLinux system(osRelease, u"6.1.0-18-amd64"_s, u"Model 7"_s);
    QCOMPARE(system.description(), QString(description + u" Kernel 6.1.0-18-amd64"_s));
    QTEST(system.shortName(), "shortName");
    QTEST(system.edition(), "edition");
    QCOMPARE(system.hardwareIdentifier(), u"Model 7"_s);
    QVERIFY(!system.isGeneration1OrLater());
    QVERIFY(!system.isGeneration2OrLater());
    QVERIFY(!system.isGeneration3OrLater());
    QCOMPARE(s3OperatingSystemLinux(osRelease, QString(), QString()).description(), description);
}

// What the real system says is only looked at as far as it is the same on all; the platform's own suite
// knows more.
void TestOperatingSystem::thisSystem()
{
    const s3OperatingSystemPrivate &system = platform::operatingSystem();
    QCOMPARE(&platform::operatingSystem(), &system);
    QVERIFY(!s3OperatingSystem::description().isEmpty());
    QCOMPARE(s3OperatingSystem::description(), system.description());
    QCOMPARE(s3OperatingSystem::shortName(), system.shortName());
    QCOMPARE(s3OperatingSystem::hardwareIdentifier(), system.hardwareIdentifier());
    QCOMPARE(s3OperatingSystem::edition(), system.edition());
    QCOMPARE(s3OperatingSystem::fullDescription(), system.fullDescription());
    QVERIFY(s3OperatingSystem::fullDescription().startsWith(s3OperatingSystem::description()));
    QCOMPARE(s3OperatingSystem::isGeneration1OrLater(), system.isGeneration1OrLater());
    QCOMPARE(s3OperatingSystem::isGeneration2OrLater(), system.isGeneration2OrLater());
    QCOMPARE(s3OperatingSystem::isGeneration3OrLater(), system.isGeneration3OrLater());
    // The build of a Windows and the whole release of a Linux kernel stand in the description.
    const QString build = QSysInfo::kernelType() == u"winnt"_s ? QSysInfo::kernelVersion().section(u'.', 2, 2)
                                                               : QSysInfo::kernelVersion();
    QVERIFY2(s3OperatingSystem::description().contains(build), qPrintable(s3OperatingSystem::description()));
    qInfo("%s", qPrintable(s3OperatingSystem::shortName() + u": "_s + s3OperatingSystem::fullDescription()));
}

QTEST_GUILESS_MAIN(TestOperatingSystem)
#include "tst_s3operatingsystem.moc"
