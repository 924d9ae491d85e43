#include "fakemapiplatform.h"
#include "mapiprovider.h"
#include "widetext.h"

#include <QRandomGenerator>
#include <QTest>

#include <array>
#include <vector>

using namespace Qt::StringLiterals;

using Answers = QHash<QString, FakeMapiPlatform::Answer>;
Q_DECLARE_METATYPE(Answers)

namespace
{

constexpr DWORD pathUnits = 260;
const QString userClients = u"HKCU\\Software\\Clients\\Mail"_s;
const QString machineClients = u"HKLM\\Software\\Clients\\Mail"_s;
const QString listKey = u"HKLM\\SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\MSMapiApps"_s;

const QString openUserClients = u"open [HKCU] Software\\Clients\\Mail"_s;
const QString openMachineClients = u"open [HKLM] Software\\Clients\\Mail"_s;
const QString openList = u"open [HKLM] SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\MSMapiApps"_s;
const QString listMissing = openList + u" = 2"_s;

// A default client of the hive with a key of its own; gives that key.
QString addClient(FakeMapiPlatform &platform, const QString &clients, const QString &name = u"Client"_s)
{
    platform.addValue(clients, QString(), REG_SZ, registryText(name));
    platform.addKey(clients + u'\\' + name);
    return clients + u'\\' + name;
}

// What the installer's way needs: both lists of languages, without a first text, and the category.
void addInstallerValues(FakeMapiPlatform &platform, const QString &key, const QStringList &application = {},
                        const QStringList &office = {})
{
    platform.addValue(key, u"MSIApplicationLCID"_s, REG_MULTI_SZ, registryTexts(application));
    platform.addValue(key, u"MSIOfficeLCID"_s, REG_MULTI_SZ, registryTexts(office));
    platform.addValue(key, u"MSIComponentID"_s, REG_SZ, registryText(u"{ID}"_s));
}

// The calls of an installer that is asked in these languages, and knows the component in none.
QStringList askedIn(const QStringList &languages)
{
    QStringList asked;
    for (const QString &language : languages) {
        asked.append(u"installer {ID} %1\\NT existing 260"_s.arg(language));
        asked.append(u"installer {ID} %1 existing 260"_s.arg(language));
    }
    return asked;
}

struct PathResult {
    bool found;
    QString path;
    bool useUtf8;
};

PathResult findPath(FakeMapiPlatform &platform, HKEY hive = HKEY_CURRENT_USER)
{
    std::array<WCHAR, pathUnits> path{};
    path.fill(WCHAR('#'));
    bool useUtf8 = true;
    const bool found = findProviderPath(platform, hive, path.data(), pathUnits, useUtf8);
    return {found, fromWide(path.data()), useUtf8};
}

// The library that loadMapiProvider loaded, by its call; empty for none.
QString loadedProvider(FakeMapiPlatform &platform, bool &useUtf8)
{
    useUtf8 = true;
    void *provider = loadMapiProvider(platform, useUtf8);
    if (provider == nullptr)
        return {};
    platform.freeLibrary(static_cast<HMODULE>(provider));
    const QString freed = platform.calls.takeLast();
    return freed.mid(6, freed.size() - 7);
}

QString loadedProvider(FakeMapiPlatform &platform)
{
    bool useUtf8 = false;
    return loadedProvider(platform, useUtf8);
}

}

class TestMapiProvider : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void terminalServer();

    void listedModuleWithoutList();
    void listedModule_data();
    void listedModule();
    void listedModuleEndsAtFirstFailure_data();
    void listedModuleEndsAtFirstFailure();
    void listedModuleLeavesNothingOfEarlierValues();
    void listedModuleCalls();

    void clientKey_data();
    void clientKey();
    void clientKeyTakesLoadedModuleFirst();
    void clientKeyOfNamelessModule();
    void clientKeyNameLimit_data();
    void clientKeyNameLimit();
    void clientKeyTooLongForMachine();

    void qualifiedComponent_data();
    void qualifiedComponent();
    void qualifiedComponentWithoutEntry();
    void qualifiedComponentLargestLanguage();

    void providerPathWithoutInstaller();
    void providerPathFixedLanguages_data();
    void providerPathFixedLanguages();
    void providerPathListedLanguages_data();
    void providerPathListedLanguages();
    void providerPathCalls();
    void providerPathWithoutMemory_data();
    void providerPathWithoutMemory();

    void supportUtf8_data();
    void supportUtf8();
    void installerConditions_data();
    void installerConditions();
    void installerMayInstall_data();
    void installerMayInstall();
    void installerSources_data();
    void installerSources();
    void installerListWithHalfUnit();
    void installerWithoutMemory_data();
    void installerWithoutMemory();
    void installerCalls();
    void libraryPath_data();
    void libraryPath();
    void libraryPathOverwritesInstallersRest();

    void noClientNoSetupFile();
    void noClientSetupFile();
    void noClientListedModule();
    void expandedLibraryPath();
    void systemLibraryItself_data();
    void systemLibraryItself();
    void fixedName_data();
    void fixedName();
    void tooLongExpansionTriesNextSource();
    void utf8MarkOfLastPass_data();
    void utf8MarkOfLastPass();
    void missingLanguagesReachFixedList();
    void notInstalledOnTerminalServer();
    void emptyAnswerEndsPass();
    void unloadableProvider();

    void hostileRegistry();
};

void TestMapiProvider::terminalServer()
{
    FakeMapiPlatform platform;
    QVERIFY(!isTerminalServer(platform));
    platform.terminalServer = true;
    QVERIFY(isTerminalServer(platform));
    QCOMPARE(platform.calls, QStringList({u"suite 16 64 6"_s, u"suite 16 64 6"_s}));
}

void TestMapiProvider::listedModuleWithoutList()
{
    FakeMapiPlatform platform;
    std::array<WCHAR, pathUnits> client{};
    QVERIFY(!isListedModuleLoaded(platform, client.data(), pathUnits));
    QCOMPARE(platform.calls, QStringList(listMissing));
}

void TestMapiProvider::listedModule_data()
{
    QTest::addColumn<QStringList>("modules");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("client");
    QTest::newRow("none loaded") << QStringList() << false << u""_s;
    QTest::newRow("first") << QStringList(u"one.dll"_s) << true << u"One"_s;
    QTest::newRow("last") << QStringList(u"three.dll"_s) << true << u"Three"_s;
    QTest::newRow("first in the list wins")
        << QStringList({u"three.dll"_s, u"two.dll"_s}) << true << u"Two"_s;
    QTest::newRow("another one") << QStringList(u"four.dll"_s) << false << u""_s;
}

void TestMapiProvider::listedModule()
{
    QFETCH(QStringList, modules);
    QFETCH(bool, expected);
    QFETCH(QString, client);
    FakeMapiPlatform platform;
    platform.modules = modules;
    platform.addValue(listKey, u"one.dll"_s, REG_SZ, registryText(u"One"_s));
    platform.addValue(listKey, u"two.dll"_s, REG_SZ, registryText(u"Two"_s));
    platform.addValue(listKey, u"three.dll"_s, REG_SZ, registryText(u"Three"_s));
    std::array<WCHAR, pathUnits> name{};
    name.fill(WCHAR('#'));
    QCOMPARE(isListedModuleLoaded(platform, name.data(), pathUnits), expected);
    if (expected)
        QCOMPARE(fromWide(name.data()), client);
    QCOMPARE(name.back(), WCHAR(0));
    // Without a buffer, or with no room in it, there is only the answer.
    QCOMPARE(isListedModuleLoaded(platform, nullptr, pathUnits), expected);
    QCOMPARE(isListedModuleLoaded(platform, nullptr, 0), expected);
    name.fill(WCHAR('#'));
    QCOMPARE(isListedModuleLoaded(platform, name.data(), 0), expected);
    QCOMPARE(name.front(), WCHAR('#'));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::listedModuleEndsAtFirstFailure_data()
{
    QTest::addColumn<QString>("firstName");
    QTest::addColumn<QByteArray>("firstData");
    QTest::addColumn<bool>("found");
    QTest::addColumn<bool>("foundWithoutData");
    const QString longest(255, u'n');
    QTest::newRow("data of 259 units")
        << u"a"_s << registryTextWithoutEnd(QString(259, u'x')) << true << true;
    QTest::newRow("data of 258 units and null") << u"a"_s << registryText(QString(258, u'x')) << true << true;
    QTest::newRow("data of 260 units") << u"a"_s << registryText(QString(259, u'x')) << false << true;
    QTest::newRow("data of 519 bytes") << u"a"_s << QByteArray(519, 'x') << false << true;
    QTest::newRow("name of 255 units") << longest << registryText(u"x"_s) << true << true;
    QTest::newRow("name of 256 units") << longest + u'n' << registryText(u"x"_s) << false << false;
}

void TestMapiProvider::listedModuleEndsAtFirstFailure()
{
    QFETCH(QString, firstName);
    QFETCH(QByteArray, firstData);
    QFETCH(bool, found);
    QFETCH(bool, foundWithoutData);
    FakeMapiPlatform platform;
    platform.addValue(listKey, firstName, REG_SZ, firstData);
    platform.addValue(listKey, u"loaded.dll"_s, REG_SZ, registryText(u"Client"_s));
    platform.modules = QStringList(u"loaded.dll"_s);
    std::array<WCHAR, pathUnits> name{};
    QCOMPARE(isListedModuleLoaded(platform, name.data(), pathUnits), found);
    QCOMPARE(isListedModuleLoaded(platform, nullptr, 0), foundWithoutData);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::listedModuleLeavesNothingOfEarlierValues()
{
    FakeMapiPlatform platform;
    platform.addValue(listKey, u"one.dll"_s, REG_SZ, registryText(u"A long name"_s));
    platform.addValue(listKey, u"two.dll"_s, REG_SZ, registryTextWithoutEnd(u"Two"_s));
    platform.modules = QStringList(u"two.dll"_s);
    std::array<WCHAR, pathUnits> name{};
    QVERIFY(isListedModuleLoaded(platform, name.data(), pathUnits));
    QCOMPARE(fromWide(name.data()), u"Two"_s);
}

void TestMapiProvider::listedModuleCalls()
{
    FakeMapiPlatform platform;
    platform.addValue(listKey, u"one.dll"_s, REG_SZ, registryText(u"One"_s));
    platform.addValue(listKey, u"two.dll"_s, REG_SZ, registryText(u"Two"_s));
    std::array<WCHAR, pathUnits> name{};
    QVERIFY(!isListedModuleLoaded(platform, name.data(), pathUnits));
    QVERIFY(!isListedModuleLoaded(platform, nullptr, 0));
    const QString close = u"close ["_s + listKey + u']';
    QCOMPARE(platform.calls,
             QStringList({openList, u"enumerate 0 name 256 data 518"_s, u"module one.dll"_s,
                          u"enumerate 1 name 256 data 518"_s, u"module two.dll"_s,
                          u"enumerate 2 name 256 data 518"_s, close, openList, u"enumerate 0 name 256"_s,
                          u"module one.dll"_s, u"enumerate 1 name 256"_s, u"module two.dll"_s,
                          u"enumerate 2 name 256"_s, close}));
}

void TestMapiProvider::clientKey_data()
{
    QTest::addColumn<bool>("isUser");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QByteArray>("defaultValue"); // null for none
    QTest::addColumn<qint32>("expected");
    QTest::addColumn<QStringList>("calls");
    const QString query = u"query [%1] (default) 518"_s;
    const QString close = u"close [%1]"_s;
    const QByteArray client = registryText(u"Client"_s);
    const QString ownKey = u"open [%1] Client"_s;
    const QString machineKey = u"open [HKLM] Software\\Clients\\Mail\\Client"_s;

    QTest::newRow("no key of clients, user")
        << true << QStringList() << QByteArray() << 2 << QStringList(openUserClients + u" = 2"_s);
    QTest::newRow("no key of clients, machine")
        << false << QStringList() << QByteArray() << 2 << QStringList(openMachineClients + u" = 2"_s);
    QTest::newRow("no default client")
        << true << QStringList() << QByteArray("") << 2
        << QStringList({openUserClients, listMissing, query.arg(userClients), close.arg(userClients)});
    QTest::newRow("user's client in the user's hive")
        << true << QStringList(userClients + u"\\Client"_s) << client << 0
        << QStringList({openUserClients, listMissing, query.arg(userClients), ownKey.arg(userClients),
                        close.arg(userClients)});
    QTest::newRow("user's client registered for the machine only")
        << true << QStringList(machineClients + u"\\Client"_s) << client << 0
        << QStringList({openUserClients, listMissing, query.arg(userClients),
                        ownKey.arg(userClients) + u" = 2"_s, machineKey, close.arg(userClients)});
    QTest::newRow("user's client registered nowhere")
        << true << QStringList() << client << 2
        << QStringList({openUserClients, listMissing, query.arg(userClients),
                        ownKey.arg(userClients) + u" = 2"_s, machineKey + u" = 2"_s, close.arg(userClients)});
    QTest::newRow("machine's client")
        << false << QStringList(machineClients + u"\\Client"_s) << client << 0
        << QStringList({openMachineClients, listMissing, query.arg(machineClients),
                        ownKey.arg(machineClients), close.arg(machineClients)});
    QTest::newRow("machine's client without a key")
        << false << QStringList() << client << 2
        << QStringList({openMachineClients, listMissing, query.arg(machineClients),
                        ownKey.arg(machineClients) + u" = 2"_s, close.arg(machineClients)});
    QTest::newRow("name without its null")
        << true << QStringList(userClients + u"\\Client"_s) << registryTextWithoutEnd(u"Client"_s) << 0
        << QStringList({openUserClients, listMissing, query.arg(userClients), ownKey.arg(userClients),
                        close.arg(userClients)});
    QTest::newRow("empty name is the key of clients itself")
        << true << QStringList() << registryText(u""_s) << 0
        << QStringList({openUserClients, listMissing, query.arg(userClients),
                        u"open [%1] "_s.arg(userClients), close.arg(userClients)});
}

void TestMapiProvider::clientKey()
{
    QFETCH(bool, isUser);
    QFETCH(QStringList, keys);
    QFETCH(QByteArray, defaultValue);
    QFETCH(qint32, expected);
    QFETCH(QStringList, calls);
    FakeMapiPlatform platform;
    for (const QString &key : keys)
        platform.addKey(key);
    const QString &clients = isUser ? userClients : machineClients;
    if (!defaultValue.isNull())
        platform.addKey(clients);
    if (!defaultValue.isEmpty())
        platform.addValue(clients, QString(), REG_SZ, defaultValue);
    HKEY key = HKEY_LOCAL_MACHINE;
    const LONG status = openMailClientKey(platform, isUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, key);
    QCOMPARE(qint32(status), expected);
    QCOMPARE(key != nullptr, expected == 0);
    QCOMPARE(platform.calls, calls);
    if (key != nullptr)
        platform.closeKey(key);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::clientKeyTakesLoadedModuleFirst()
{
    FakeMapiPlatform platform;
    addClient(platform, userClients, u"Default"_s);
    platform.addKey(machineClients + u"\\Running"_s);
    platform.addValue(listKey, u"running.dll"_s, REG_SZ, registryText(u"Running"_s));
    platform.modules = QStringList(u"running.dll"_s);
    HKEY key = nullptr;
    QCOMPARE(openMailClientKey(platform, HKEY_CURRENT_USER, key), ERROR_SUCCESS);
    platform.closeKey(key);
    QCOMPARE(platform.calls.last(), u"close [HKLM\\Software\\Clients\\Mail\\Running]"_s);
    QVERIFY(platform.callsOf(u"query"_s).isEmpty());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::clientKeyOfNamelessModule()
{
    FakeMapiPlatform platform;
    addClient(platform, userClients);
    platform.addValue(listKey, u"running.dll"_s, REG_SZ, QByteArray());
    platform.modules = QStringList(u"running.dll"_s);
    HKEY key = HKEY_LOCAL_MACHINE;
    QCOMPARE(openMailClientKey(platform, HKEY_CURRENT_USER, key), ERROR_PATH_NOT_FOUND);
    QVERIFY(key == nullptr);
    QCOMPARE(
        platform.calls,
        QStringList({openUserClients, openList, u"enumerate 0 name 256 data 518"_s, u"module running.dll"_s,
                     u"close [%1]"_s.arg(listKey), u"close [%1]"_s.arg(userClients)}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::clientKeyNameLimit_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("259 units without a null") << registryTextWithoutEnd(QString(259, u'c')) << 0;
    QTest::newRow("259 units with a null") << registryText(QString(259, u'c')) << 234;
}

void TestMapiProvider::clientKeyNameLimit()
{
    QFETCH(QByteArray, value);
    QFETCH(qint32, expected);
    FakeMapiPlatform platform;
    platform.addValue(userClients, QString(), REG_SZ, value);
    platform.addKey(userClients + u'\\' + QString(259, u'c'));
    HKEY key = nullptr;
    QCOMPARE(qint32(openMailClientKey(platform, HKEY_CURRENT_USER, key)), expected);
    if (key != nullptr)
        platform.closeKey(key);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::clientKeyTooLongForMachine()
{
    // "Software\Clients\Mail\" has 22 units, so that 237 are left for the name.
    const QString fits(237, u'c');
    for (const QString &name : {fits, QString(fits + u'c')}) {
        FakeMapiPlatform platform;
        platform.addValue(userClients, QString(), REG_SZ, registryText(name));
        platform.addKey(machineClients + u'\\' + name);
        platform.addKey(machineClients + u'\\' + fits);
        HKEY key = nullptr;
        const LONG status = openMailClientKey(platform, HKEY_CURRENT_USER, key);
        QCOMPARE(status, name == fits ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
        QCOMPARE(key != nullptr, name == fits);
        if (key != nullptr)
            platform.closeKey(key);
        QCOMPARE(platform.mistakes(), QStringList());
    }
}

void TestMapiProvider::qualifiedComponent_data()
{
    QTest::addColumn<bool>("mayInstall");
    QTest::addColumn<Answers>("answers");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("questions");
    const QString ntExisting = u"1033\\NT existing"_s;
    const QString ntDefault = u"1033\\NT default"_s;
    const QString existing = u"1033 existing"_s;
    const QString install = u"1033 default"_s;
    const QString found = u"C:\\mapi.dll"_s;

    for (const bool mayInstall : {false, true}) {
        const char *const suffix = mayInstall ? "may install" : "may not install";
        QTest::addRow("found, %s", suffix)
            << mayInstall << Answers{{ntExisting, {0, found}}} << true << found << QStringList(ntExisting);
        QTest::addRow("other failure, %s", suffix)
            << mayInstall << Answers{{ntExisting, {1602, {}}}} << true << u""_s << QStringList(ntExisting);
        QTest::addRow("category unknown, %s", suffix)
            << mayInstall << Answers{{ntExisting, {1607, {}}}} << true << u""_s << QStringList(ntExisting);
        QTest::addRow("buffer too small, %s", suffix)
            << mayInstall << Answers{{ntExisting, {234, {}}}} << true << u""_s << QStringList(ntExisting);
        QTest::addRow("unknown, %s", suffix)
            << mayInstall << Answers() << false << u""_s << QStringList({ntExisting, existing});
        QTest::addRow("unknown, then found, %s", suffix)
            << mayInstall << Answers{{existing, {0, found}}} << true << found
            << QStringList({ntExisting, existing});
        QTest::addRow("unknown, then other failure, %s", suffix)
            << mayInstall << Answers{{existing, {5, {}}}} << true << u""_s
            << QStringList({ntExisting, existing});
    }
    QTest::newRow("absent, installed") << true << Answers{{ntExisting, {2, {}}}, {ntDefault, {0, found}}}
                                       << true << found << QStringList({ntExisting, ntDefault});
    QTest::newRow("absent, not installed") << true << Answers{{ntExisting, {2, {}}}, {ntDefault, {2, {}}}}
                                           << true << u""_s << QStringList({ntExisting, ntDefault});
    QTest::newRow("absent, then unknown when installed")
        << true << Answers{{ntExisting, {2, {}}}} << false << u""_s << QStringList({ntExisting, ntDefault});
    QTest::newRow("absent, may not install, then found")
        << false << Answers{{ntExisting, {2, {}}}, {existing, {0, found}}} << true << found
        << QStringList({ntExisting, existing});
    QTest::newRow("absent twice, may not install")
        << false << Answers{{ntExisting, {2, {}}}, {existing, {2, {}}}} << true << u""_s
        << QStringList({ntExisting, existing});
    QTest::newRow("absent, may not install, then unknown")
        << false << Answers{{ntExisting, {2, {}}}} << false << u""_s << QStringList({ntExisting, existing});
    QTest::newRow("unknown, then absent and installed")
        << true << Answers{{existing, {2, {}}}, {install, {0, found}}} << true << found
        << QStringList({ntExisting, existing, install});
    QTest::newRow("unknown, then absent and not installed")
        << true << Answers{{existing, {2, {}}}, {install, {2, {}}}} << true << u""_s
        << QStringList({ntExisting, existing, install});
    QTest::newRow("unknown, then absent, then unknown when installed")
        << true << Answers{{existing, {2, {}}}} << false << u""_s
        << QStringList({ntExisting, existing, install});
    QTest::newRow("unknown, then absent, may not install")
        << false << Answers{{existing, {2, {}}}} << true << u""_s << QStringList({ntExisting, existing});
    QTest::newRow("absent with a path") << false << Answers{{ntExisting, {1611, found}}, {existing, {2, {}}}}
                                        << true << found << QStringList({ntExisting, existing});
}

void TestMapiProvider::qualifiedComponent()
{
    QFETCH(bool, mayInstall);
    QFETCH(Answers, answers);
    QFETCH(bool, expected);
    QFETCH(QString, path);
    QFETCH(QStringList, questions);
    FakeMapiPlatform platform;
    platform.addInstaller(answers);
    const HMODULE msi = platform.loadLibrary("MSI.DLL"_w);
    std::array<WCHAR, pathUnits> buffer{};
    buffer.fill(WCHAR('#'));
    DWORD length = pathUnits;
    QCOMPARE(provideQualifiedComponent(platform, msi, "{ID}"_w, 1033, buffer.data(), length, mayInstall),
             expected);
    platform.freeLibrary(msi);
    QCOMPARE(fromWide(buffer.data()), path);
    QCOMPARE(buffer.back(), WCHAR(0));

    // The whole room again in each call, and what the installer made of it at the end.
    QStringList asked = platform.callsOf(u"installer"_s);
    for (QString &question : asked)
        question.remove(u" path "_s + path);
    for (QString &question : questions)
        question = u"installer {ID} %1 260"_s.arg(question);
    QCOMPARE(asked, questions);
    QCOMPARE(qsizetype{length}, answers.value(questions.last().mid(15).chopped(4)).path.size());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::qualifiedComponentWithoutEntry()
{
    FakeMapiPlatform platform;
    platform.addLibrary(u"MSI.DLL"_s);
    const HMODULE msi = platform.loadLibrary("MSI.DLL"_w);
    std::array<WCHAR, pathUnits> buffer{};
    DWORD length = pathUnits;
    QVERIFY(!provideQualifiedComponent(platform, msi, "{ID}"_w, 1033, buffer.data(), length, true));
    platform.freeLibrary(msi);
    QCOMPARE(platform.calls,
             QStringList({u"load MSI.DLL"_s, u"symbol [MSI.DLL] MsiProvideQualifiedComponentW"_s,
                          u"free [MSI.DLL]"_s}));
}

void TestMapiProvider::qualifiedComponentLargestLanguage()
{
    FakeMapiPlatform platform;
    platform.addInstaller({});
    const HMODULE msi = platform.loadLibrary("MSI.DLL"_w);
    std::array<WCHAR, pathUnits> buffer{};
    DWORD length = pathUnits;
    QVERIFY(!provideQualifiedComponent(platform, msi, "{ID}"_w, 0xFFFFFFFF, buffer.data(), length, true));
    platform.freeLibrary(msi);
    QCOMPARE(platform.callsOf(u"installer"_s),
             QStringList({u"installer {ID} 4294967295\\NT existing 260"_s,
                          u"installer {ID} 4294967295 existing 260"_s}));
}

void TestMapiProvider::providerPathWithoutInstaller()
{
    FakeMapiPlatform platform;
    std::array<WCHAR, pathUnits> buffer{};
    buffer.fill(WCHAR('#'));
    QVERIFY(!provideProviderPath(platform, "{ID}"_w, {}, buffer.data(), pathUnits, true));
    QCOMPARE(buffer.front(), WCHAR(0));
    QCOMPARE(platform.calls, QStringList(u"load MSI.DLL = 0"_s));
}

void TestMapiProvider::providerPathFixedLanguages_data()
{
    QTest::addColumn<QString>("answering");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QStringList>("calls");
    const QString user = u"user language"_s;
    const QString system = u"system language"_s;
    const QString entry = u"symbol [MSI.DLL] MsiProvideQualifiedComponentW"_s;
    const auto asked = [](int language) {
        return QStringList({u"installer {ID} %1\\NT existing 260"_s.arg(language),
                            u"installer {ID} %1 existing 260"_s.arg(language)});
    };
    const QStringList none = QStringList({user, entry}) + asked(1031) + QStringList({system, entry})
        + asked(2055) + QStringList(entry) + asked(1033);
    QTest::newRow("user") << u"1031 existing"_s << true << none.first(4);
    QTest::newRow("system") << u"2055 existing"_s << true << none.first(8);
    QTest::newRow("English") << u"1033 existing"_s << true << none;
    QTest::newRow("none") << u""_s << false << none;
}

void TestMapiProvider::providerPathFixedLanguages()
{
    QFETCH(QString, answering);
    QFETCH(bool, expected);
    QFETCH(QStringList, calls);
    calls.prepend(u"load MSI.DLL"_s);
    calls.append(u"free [MSI.DLL]"_s);
    const std::array<WCHAR, 2> emptyList{};
    for (const bool isNull : {true, false}) {
        FakeMapiPlatform platform;
        platform.addInstaller({{answering, {0, u"x.dll"_s}}});
        std::array<WCHAR, pathUnits> buffer{};
        QCOMPARE(provideProviderPath(platform, "{ID}"_w,
                                     isNull ? std::basic_string_view<WCHAR>()
                                            : std::basic_string_view<WCHAR>(emptyList.data(), 1),
                                     buffer.data(), pathUnits, true),
                 expected);
        QCOMPARE(fromWide(buffer.data()), expected ? u"x.dll"_s : u""_s);
        QCOMPARE(platform.calls, calls);
        QCOMPARE(platform.mistakes(), QStringList());
    }
}

void TestMapiProvider::providerPathListedLanguages_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<QStringList>("languages"); // asked, in order
    const QByteArray both = registryTexts({u"App"_s, u"Two"_s, u"One"_s});
    QTest::newRow("both, in the list's order") << both << QStringList({u"22"_s, u"11"_s});
    QTest::newRow("policy over user") << registryTexts({u"App"_s, u"Both"_s}) << QStringList(u"33"_s);
    QTest::newRow("wrong type in the policy, user's")
        << registryTexts({u"App"_s, u"Text"_s}) << QStringList(u"55"_s);
    QTest::newRow("wrong type in both")
        << registryTexts({u"App"_s, u"Texts"_s, u"One"_s}) << QStringList(u"11"_s);
    QTest::newRow("too large in the policy, user's")
        << registryTexts({u"App"_s, u"Large"_s}) << QStringList(u"77"_s);
    QTest::newRow("missing in both") << registryTexts({u"App"_s, u"Missing"_s, u"Two"_s})
                                     << QStringList(u"22"_s);
    QTest::newRow("end of the list at an empty text")
        << registryTexts({u"App"_s, u"One"_s, u""_s, u"Two"_s}) << QStringList(u"11"_s);
    QTest::newRow("no names") << registryTexts({u"App"_s}) << QStringList();
    QTest::newRow("no end") << registryTextWithoutEnd(u"App\0One"_s) << QStringList(u"11"_s);
    QTest::newRow("first text only, no end") << registryTextWithoutEnd(u"App"_s) << QStringList();
    QTest::newRow("key missing") << registryTexts({u"Other"_s, u"One"_s}) << QStringList();
    QTest::newRow("no policy") << registryTexts({u"UserOnly"_s, u"One"_s}) << QStringList(u"99"_s);
}

void TestMapiProvider::providerPathListedLanguages()
{
    QFETCH(QByteArray, list);
    QFETCH(QStringList, languages);
    FakeMapiPlatform platform;
    platform.addInstaller({});
    const QString policy = u"HKCU\\Software\\Policy\\App"_s;
    const QString user = u"HKCU\\Software\\App"_s;
    platform.addValue(policy, u"One"_s, REG_DWORD, registryNumber(11));
    platform.addValue(user, u"Two"_s, REG_DWORD, registryNumber(22));
    platform.addValue(policy, u"Both"_s, REG_DWORD, registryNumber(33));
    platform.addValue(user, u"Both"_s, REG_DWORD, registryNumber(44));
    platform.addValue(policy, u"Text"_s, REG_SZ, registryText(u"x"_s));
    platform.addValue(user, u"Text"_s, REG_DWORD, registryNumber(55));
    platform.addValue(policy, u"Texts"_s, REG_SZ, registryText(u"x"_s));
    platform.addValue(user, u"Texts"_s, REG_SZ, registryText(u"x"_s));
    platform.addValue(policy, u"Large"_s, REG_DWORD, QByteArray(8, 'x'));
    platform.addValue(user, u"Large"_s, REG_DWORD, registryNumber(77));
    platform.addValue(u"HKCU\\Software\\UserOnly"_s, u"One"_s, REG_DWORD, registryNumber(99));

    list.append(QByteArray(2, 0));
    const auto units = static_cast<std::size_t>(list.size()) / sizeof(WCHAR);
    std::vector<WCHAR> exact(units);
    std::memcpy(exact.data(), list.constData(), units * sizeof(WCHAR));
    std::array<WCHAR, pathUnits> buffer{};
    QVERIFY(
        !provideProviderPath(platform, "{ID}"_w, {exact.data(), units - 1}, buffer.data(), pathUnits, true));
    QCOMPARE(platform.callsOf(u"installer"_s), askedIn(languages));
    QVERIFY(platform.callsOf(u"user"_s).isEmpty());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::providerPathCalls()
{
    FakeMapiPlatform platform;
    platform.logMemory = true;
    platform.addInstaller({{u"11\\NT existing"_s, {0, u"x.dll"_s}}});
    platform.addValue(u"HKCU\\Software\\Policy\\App"_s, u"Two"_s, REG_DWORD, registryNumber(11));
    platform.addKey(u"HKCU\\Software\\App"_s);
    const QString list = u"App\0One\0Two\0Three\0"_s;
    std::array<WCHAR, pathUnits> buffer{};
    QVERIFY(provideProviderPath(platform, "{ID}"_w, {toWide(list), static_cast<std::size_t>(list.size())},
                                buffer.data(), pathUnits, false));
    QCOMPARE(fromWide(buffer.data()), u"x.dll"_s);
    QCOMPARE(
        platform.calls,
        QStringList({u"load MSI.DLL"_s, u"allocate 40"_s, u"open [HKCU] Software\\Policy\\App"_s,
                     u"allocate 26"_s, u"open [HKCU] Software\\App"_s,
                     u"query [HKCU\\Software\\Policy\\App] One 4"_s, u"query [HKCU\\Software\\App] One 4"_s,
                     u"query [HKCU\\Software\\Policy\\App] Two 4"_s,
                     u"symbol [MSI.DLL] MsiProvideQualifiedComponentW"_s,
                     u"installer {ID} 11\\NT existing 260"_s, u"close [HKCU\\Software\\Policy\\App]"_s,
                     u"close [HKCU\\Software\\App]"_s, u"release"_s, u"release"_s, u"free [MSI.DLL]"_s}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::providerPathWithoutMemory_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<QString>("language");
    QTest::newRow("for the policy's key") << 1 << u"22"_s;
    QTest::newRow("for the user's key") << 2 << u"11"_s;
}

// A key whose name finds no memory is not used; the other one still is.
void TestMapiProvider::providerPathWithoutMemory()
{
    QFETCH(int, failing);
    QFETCH(QString, language);
    FakeMapiPlatform platform;
    platform.failingAllocation = failing;
    platform.addInstaller({});
    platform.addValue(u"HKCU\\Software\\Policy\\App"_s, u"One"_s, REG_DWORD, registryNumber(11));
    platform.addValue(u"HKCU\\Software\\App"_s, u"One"_s, REG_DWORD, registryNumber(22));
    const QString list = u"App\0One\0"_s;
    std::array<WCHAR, pathUnits> buffer{};
    QVERIFY(!provideProviderPath(platform, "{ID}"_w, {toWide(list), static_cast<std::size_t>(list.size())},
                                 buffer.data(), pathUnits, false));
    QCOMPARE(platform.callsOf(u"installer"_s).value(0),
             u"installer {ID} %1\\NT existing 260"_s.arg(language));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::supportUtf8_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<bool>("expected");
    QTest::newRow("1") << quint32(REG_DWORD) << registryNumber(1) << true;
    QTest::newRow("another number") << quint32(REG_DWORD) << registryNumber(0x80000000) << true;
    QTest::newRow("0") << quint32(REG_DWORD) << registryNumber(0) << false;
    QTest::newRow("text") << quint32(REG_SZ) << registryTextWithoutEnd(u"1"_s) << false;
    QTest::newRow("too large") << quint32(REG_DWORD) << QByteArray(8, '\1') << false;
    QTest::newRow("two bytes") << quint32(REG_DWORD) << QByteArray(2, '\1') << true;
    QTest::newRow("no bytes") << quint32(REG_DWORD) << QByteArray() << false;
}

void TestMapiProvider::supportUtf8()
{
    QFETCH(quint32, type);
    QFETCH(QByteArray, data);
    QFETCH(bool, expected);
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    platform.addValue(key, u"SupportUTF8"_s, type, data);
    QCOMPARE(findPath(platform).useUtf8, expected);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::installerConditions_data()
{
    QTest::addColumn<quint32>("applicationType"); // 0 for a missing value
    QTest::addColumn<quint32>("officeType");
    QTest::addColumn<quint32>("componentType");
    QTest::addColumn<QByteArray>("component");
    QTest::addColumn<QString>("fault");
    QTest::addColumn<bool>("asked");
    const QByteArray id = registryText(u"{ID}"_s);
    const quint32 list = REG_MULTI_SZ;
    const quint32 text = REG_SZ;
    const QString none;
    QTest::newRow("all there") << list << list << text << id << none << true;
    QTest::newRow("no MSIApplicationLCID") << 0U << list << text << id << none << false;
    QTest::newRow("no MSIOfficeLCID") << list << 0U << text << id << none << false;
    QTest::newRow("MSIApplicationLCID of another type") << text << list << text << id << none << true;
    QTest::newRow("MSIOfficeLCID of another type")
        << list << quint32(REG_DWORD) << text << id << none << true;
    QTest::newRow("no MSIComponentID") << list << list << 0U << id << none << false;
    QTest::newRow("MSIComponentID of another type")
        << list << list << quint32(REG_EXPAND_SZ) << id << none << false;
    QTest::newRow("MSIComponentID of 39 units")
        << list << list << text << registryTextWithoutEnd(QString(39, u'i')) << none << true;
    QTest::newRow("MSIComponentID of 40 units")
        << list << list << text << registryText(QString(39, u'i')) << none << false;
    QTest::newRow("MSIApplicationLCID changes while it is read")
        << list << list << text << id << u"MSIApplicationLCID"_s << false;
    QTest::newRow("MSIOfficeLCID changes while it is read")
        << list << list << text << id << u"MSIOfficeLCID"_s << false;
    QTest::newRow("MSIApplicationLCID cannot be asked for")
        << list << list << text << id << u"MSIApplicationLCID:size"_s << false;
}

void TestMapiProvider::installerConditions()
{
    QFETCH(quint32, applicationType);
    QFETCH(quint32, officeType);
    QFETCH(quint32, componentType);
    QFETCH(QByteArray, component);
    QFETCH(QString, fault);
    QFETCH(bool, asked);
    FakeMapiPlatform platform;
    platform.addInstaller({{u"1031\\NT existing"_s, {0, u"msi.dll"_s}}});
    platform.registryFault = [fault](const QString &read) {
        return !fault.isEmpty() && read == fault ? ERROR_MORE_DATA : ERROR_SUCCESS;
    };
    const QString key = addClient(platform, userClients);
    if (applicationType != 0)
        platform.addValue(key, u"MSIApplicationLCID"_s, applicationType, registryTexts({}));
    if (officeType != 0)
        platform.addValue(key, u"MSIOfficeLCID"_s, officeType, registryTexts({}));
    if (componentType != 0)
        platform.addValue(key, u"MSIComponentID"_s, componentType, component);
    platform.addValue(key, u"DLLPath"_s, REG_SZ, registryText(u"plain.dll"_s));

    const PathResult result = findPath(platform);
    QVERIFY(result.found);
    QCOMPARE(result.path, asked ? u"msi.dll"_s : u"plain.dll"_s);
    QCOMPARE(platform.callsOf(u"load"_s).isEmpty(), !asked);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::installerMayInstall_data()
{
    QTest::addColumn<quint32>("type"); // 0 for a missing value
    QTest::addColumn<quint32>("value");
    QTest::addColumn<bool>("isTerminalServer");
    QTest::addColumn<bool>("installs");
    QTest::addColumn<bool>("asksSuite");
    const quint32 number = REG_DWORD;
    QTest::newRow("missing") << 0U << 0U << false << true << false;
    QTest::newRow("missing, terminal server") << 0U << 0U << true << true << false;
    QTest::newRow("1, terminal server") << number << 1U << true << true << false;
    QTest::newRow("0") << number << 0U << false << true << true;
    QTest::newRow("0, terminal server") << number << 0U << true << false << true;
    QTest::newRow("0 of another type, terminal server") << quint32(REG_SZ) << 0U << true << true << false;
}

void TestMapiProvider::installerMayInstall()
{
    QFETCH(quint32, type);
    QFETCH(quint32, value);
    QFETCH(bool, isTerminalServer);
    QFETCH(bool, installs);
    QFETCH(bool, asksSuite);
    FakeMapiPlatform platform;
    platform.terminalServer = isTerminalServer;
    platform.addInstaller({{u"1031\\NT existing"_s, {2, {}}}, {u"1031\\NT default"_s, {0, u"msi.dll"_s}}});
    const QString key = addClient(platform, userClients);
    addInstallerValues(platform, key);
    if (type != 0)
        platform.addValue(key, u"MSIInstallOnWTS"_s, type, registryNumber(value));
    QCOMPARE(findPath(platform).path, installs ? u"msi.dll"_s : u""_s);
    QCOMPARE(platform.callsOf(u"suite"_s).size(), asksSuite ? 1 : 0);
    QCOMPARE(platform.calls.filter(u"default 260"_s).isEmpty(), !installs);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::installerSources_data()
{
    QTest::addColumn<quint32>("applicationType");
    QTest::addColumn<quint32>("officeType");
    QTest::addColumn<QString>("answering");
    QTest::addColumn<QStringList>("languages");
    const quint32 list = REG_MULTI_SZ;
    const quint32 text = REG_SZ;
    const QStringList all{u"11"_s, u"22"_s, u"1031"_s, u"2055"_s, u"1033"_s};
    QTest::newRow("application") << list << list << u"11 existing"_s << all.first(1);
    QTest::newRow("office") << list << list << u"22 existing"_s << all.first(2);
    QTest::newRow("fixed list") << list << list << u"1031 existing"_s << all.first(3);
    QTest::newRow("none") << list << list << u""_s << all;
    QTest::newRow("application of another type") << text << list << u""_s << all.last(4);
    QTest::newRow("office of another type")
        << list << text << u""_s << QStringList(all.first(1) + all.last(3));
    QTest::newRow("both of another type") << text << text << u""_s << all.last(3);
}

void TestMapiProvider::installerSources()
{
    QFETCH(quint32, applicationType);
    QFETCH(quint32, officeType);
    QFETCH(QString, answering);
    QFETCH(QStringList, languages);
    FakeMapiPlatform platform;
    platform.addInstaller({{answering, {0, u"msi.dll"_s}}});
    const QString key = addClient(platform, userClients);
    platform.addValue(key, u"MSIApplicationLCID"_s, applicationType, registryTexts({u"App"_s, u"Lang"_s}));
    platform.addValue(key, u"MSIOfficeLCID"_s, officeType, registryTexts({u"Office"_s, u"Lang"_s}));
    platform.addValue(key, u"MSIComponentID"_s, REG_SZ, registryText(u"{ID}"_s));
    platform.addValue(key, u"DLLPath"_s, REG_SZ, registryText(u"plain.dll"_s));
    platform.addValue(u"HKCU\\Software\\App"_s, u"Lang"_s, REG_DWORD, registryNumber(11));
    platform.addValue(u"HKCU\\Software\\Office"_s, u"Lang"_s, REG_DWORD, registryNumber(22));
    QCOMPARE(findPath(platform).path, answering.isEmpty() ? u"plain.dll"_s : u"msi.dll"_s);
    QCOMPARE(platform.callsOf(u"installer"_s), askedIn(languages));
    QCOMPARE(platform.mistakes(), QStringList());
}

// A list without an end and with an odd count of bytes: the half unit belongs to no name.
void TestMapiProvider::installerListWithHalfUnit()
{
    FakeMapiPlatform platform;
    platform.addInstaller({{u"11 existing"_s, {0, u"msi.dll"_s}}});
    const QString key = addClient(platform, userClients);
    const QByteArray list = registryTextWithoutEnd(u"App\0Lang"_s).append('!');
    platform.addValue(key, u"MSIApplicationLCID"_s, REG_MULTI_SZ, list);
    platform.addValue(key, u"MSIOfficeLCID"_s, REG_MULTI_SZ, list);
    platform.addValue(key, u"MSIComponentID"_s, REG_SZ, registryText(u"{ID}"_s));
    platform.addValue(u"HKCU\\Software\\App"_s, u"Lang"_s, REG_DWORD, registryNumber(11));
    QCOMPARE(findPath(platform).path, u"msi.dll"_s);
    QCOMPARE(platform.callsOf(u"installer"_s), askedIn({u"11"_s}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::installerWithoutMemory_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<QStringList>("languages");
    QTest::newRow("for the application's value") << 1 << QStringList({u"22"_s, u"1031"_s});
    QTest::newRow("for the office value") << 2 << QStringList({u"11"_s, u"1031"_s});
}

// A value without memory is not read; that is no failure of the registry, so the way goes on.
void TestMapiProvider::installerWithoutMemory()
{
    QFETCH(int, failing);
    QFETCH(QStringList, languages);
    FakeMapiPlatform platform;
    platform.failingAllocation = failing;
    platform.addInstaller({{u"1031 existing"_s, {0, u"msi.dll"_s}}});
    const QString key = addClient(platform, userClients);
    addInstallerValues(platform, key, {u"App"_s, u"Lang"_s}, {u"Office"_s, u"Lang"_s});
    platform.addValue(u"HKCU\\Software\\App"_s, u"Lang"_s, REG_DWORD, registryNumber(11));
    platform.addValue(u"HKCU\\Software\\Office"_s, u"Lang"_s, REG_DWORD, registryNumber(22));
    QCOMPARE(findPath(platform).path, u"msi.dll"_s);
    QCOMPARE(platform.callsOf(u"installer"_s), askedIn(languages));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::installerCalls()
{
    FakeMapiPlatform platform;
    platform.logMemory = true;
    const QString key = addClient(platform, userClients);
    addInstallerValues(platform, key);
    QVERIFY(!findPath(platform).found);
    const QString query = u"query [%1] %2"_s;
    QCOMPARE(platform.calls,
             QStringList({openUserClients,
                          listMissing,
                          query.arg(userClients, u"(default) 518"_s),
                          u"open [%1] Client"_s.arg(userClients),
                          u"close [%1]"_s.arg(userClients),
                          query.arg(key, u"SupportUTF8 4"_s),
                          query.arg(key, u"MSIInstallOnWTS 4"_s),
                          query.arg(key, u"MSIApplicationLCID size"_s),
                          u"allocate 4"_s,
                          query.arg(key, u"MSIApplicationLCID 2"_s),
                          query.arg(key, u"MSIOfficeLCID size"_s),
                          u"allocate 4"_s,
                          query.arg(key, u"MSIOfficeLCID 2"_s),
                          query.arg(key, u"MSIComponentID 78"_s),
                          u"load MSI.DLL = 0"_s,
                          u"load MSI.DLL = 0"_s,
                          u"load MSI.DLL = 0"_s,
                          query.arg(key, u"DLLPath 518"_s),
                          u"release"_s,
                          u"release"_s,
                          u"close [%1]"_s.arg(key)}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::libraryPath_data()
{
    QTest::addColumn<quint32>("type"); // 0 for a missing value
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("expansion");
    QTest::addColumn<int>("expansionResult"); // -1 for the right one
    QTest::addColumn<QString>("expected");
    const quint32 text = REG_SZ;
    const quint32 expandable = REG_EXPAND_SZ;
    const QString none;
    const QString longest(259, u'p');
    const QByteArray variable = registryText(u"%X%"_s);
    QTest::newRow("missing") << 0U << QByteArray() << none << -1 << u""_s;
    QTest::newRow("text") << text << registryText(u"%X%\\a.dll"_s) << none << -1 << u"%X%\\a.dll"_s;
    QTest::newRow("empty") << text << registryText(u""_s) << none << -1 << u""_s;
    QTest::newRow("no bytes") << text << QByteArray() << none << -1 << u""_s;
    QTest::newRow("259 units without a null")
        << text << registryTextWithoutEnd(longest) << none << -1 << longest;
    QTest::newRow("259 units with a null") << text << registryText(longest) << none << -1 << u""_s;
    QTest::newRow("text after the null") << text << registryText(u"a.dll\0b"_s) << none << -1 << u"a.dll"_s;
    QTest::newRow("odd count of bytes")
        << text << registryTextWithoutEnd(u"a.dll"_s).append('!') << none << -1 << u"a.dll!"_s;
    QTest::newRow("517 bytes") << text << QByteArray(517, 'p') << none << -1
                               << QString(258, QChar(0x7070)) + u'p';
    QTest::newRow("number, as it was read")
        << quint32(REG_DWORD) << registryNumber(0x00410042) << none << -1 << u"BA"_s;
    QTest::newRow("expanded") << expandable << variable << u"C:\\b.dll"_s << -1 << u"C:\\b.dll"_s;
    QTest::newRow("expanded without a null")
        << expandable << registryTextWithoutEnd(u"%X%"_s) << u"b.dll"_s << -1 << u"b.dll"_s;
    QTest::newRow("expanded to something shorter")
        << expandable << registryText(u"%X%"_s) << u"b"_s << -1 << u"b"_s;
    QTest::newRow("expanded to nothing") << expandable << variable << u""_s << -1 << u""_s;
    QTest::newRow("expanded to 258 units")
        << expandable << variable << longest.chopped(1) << -1 << longest.chopped(1);
    QTest::newRow("expanded to 259 units") << expandable << variable << longest << -1 << u""_s;
    QTest::newRow("expanded to 260 units") << expandable << variable << QString(260, u'p') << -1 << u""_s;
    QTest::newRow("expansion fails") << expandable << variable << u"b.dll"_s << 0 << u""_s;
}

void TestMapiProvider::libraryPath()
{
    QFETCH(quint32, type);
    QFETCH(QByteArray, data);
    QFETCH(QString, expansion);
    QFETCH(int, expansionResult);
    QFETCH(QString, expected);
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    if (type != 0)
        platform.addValue(key, u"DLLPath"_s, type, data);
    platform.expansions.insert(u"%X%"_s, expansion);
    if (expansionResult >= 0)
        platform.expansionResult = static_cast<DWORD>(expansionResult);
    const PathResult result = findPath(platform);
    QCOMPARE(result.path, expected);
    QCOMPARE(result.found, !expected.isEmpty());
    QCOMPARE(platform.callsOf(u"expand"_s),
             type == REG_EXPAND_SZ ? QStringList(u"expand %X% 260"_s) : QStringList());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::libraryPathOverwritesInstallersRest()
{
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    addInstallerValues(platform, key);
    platform.addInstaller({{u"1033 existing"_s, {1611, u"C:\\what the installer wrote.dll"_s}}});
    platform.addValue(key, u"DLLPath"_s, REG_SZ, registryTextWithoutEnd(u"a.dll"_s));
    QCOMPARE(findPath(platform).path, u"a.dll"_s);
}

void TestMapiProvider::noClientNoSetupFile()
{
    FakeMapiPlatform platform;
    platform.addLibrary(u"C:\\windows\\system32\\mapi32x.dll"_s);
    bool useUtf8 = true;
    QCOMPARE(loadedProvider(platform, useUtf8), QString());
    QVERIFY(!useUtf8);
    QCOMPARE(platform.calls,
             QStringList({openUserClients + u" = 2"_s, openMachineClients + u" = 2"_s, u"file mapisvc.inf"_s,
                          listMissing}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::noClientSetupFile()
{
    FakeMapiPlatform platform;
    platform.files = QStringList(u"mapisvc.inf"_s);
    platform.addLibrary(u"C:\\windows\\system32\\mapi32x.dll"_s);
    QCOMPARE(loadedProvider(platform), u"C:\\windows\\system32\\mapi32x.dll"_s);
    QCOMPARE(platform.calls,
             QStringList({openUserClients + u" = 2"_s, openMachineClients + u" = 2"_s, u"file mapisvc.inf"_s,
                          u"directory 260"_s, u"load C:\\windows\\system32\\mapi32x.dll"_s}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::noClientListedModule()
{
    FakeMapiPlatform platform;
    platform.addValue(listKey, u"running.dll"_s, REG_SZ, registryText(u"Running"_s));
    platform.modules = QStringList(u"running.dll"_s);
    platform.addLibrary(u"C:\\windows\\system32\\mapi32x.dll"_s);
    QCOMPARE(loadedProvider(platform), u"C:\\windows\\system32\\mapi32x.dll"_s);
    QCOMPARE(platform.calls.mid(2),
             QStringList({u"file mapisvc.inf"_s, openList, u"enumerate 0 name 256"_s, u"module running.dll"_s,
                          u"close [%1]"_s.arg(listKey), u"directory 260"_s,
                          u"load C:\\windows\\system32\\mapi32x.dll"_s}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::expandedLibraryPath()
{
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    platform.addValue(key, u"DLLPath"_s, REG_EXPAND_SZ, registryText(u"%X%\\m.dll"_s));
    platform.expansions.insert(u"%X%\\m.dll"_s, u"C:\\m.dll"_s);
    platform.addLibrary(u"C:\\m.dll"_s);
    platform.addInstaller({});
    QCOMPARE(loadedProvider(platform), u"C:\\m.dll"_s);
    const QString query = u"query [%1] %2"_s;
    QCOMPARE(platform.calls,
             QStringList({openUserClients, listMissing, query.arg(userClients, u"(default) 518"_s),
                          u"open [%1] Client"_s.arg(userClients), u"close [%1]"_s.arg(userClients),
                          query.arg(key, u"SupportUTF8 4"_s), query.arg(key, u"MSIInstallOnWTS 4"_s),
                          query.arg(key, u"MSIApplicationLCID size"_s), query.arg(key, u"DLLPath 518"_s),
                          u"expand %X%\\m.dll 260"_s, u"close [%1]"_s.arg(key), u"load C:\\m.dll"_s}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::systemLibraryItself_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isLoaded");
    QTest::newRow("bare name") << u"mapi32.dll"_s << false;
    QTest::newRow("another case") << u"MAPI32.Dll"_s << false;
    QTest::newRow("full path") << u"C:\\other\\mapi32.dll"_s << true;
    QTest::newRow("relative path") << u".\\mapi32.dll"_s << true;
    QTest::newRow("longer name") << u"mapi32.dll "_s << true;
    QTest::newRow("shorter name") << u"mapi32"_s << true;
}

void TestMapiProvider::systemLibraryItself()
{
    QFETCH(QString, path);
    QFETCH(bool, isLoaded);
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    platform.addValue(key, u"DLLPath"_s, REG_SZ, registryText(path));
    platform.addLibrary(path);
    QCOMPARE(loadedProvider(platform), isLoaded ? path : QString());
    QCOMPARE(platform.callsOf(u"load"_s).size(), isLoaded ? 1 : 0);
    QVERIFY(platform.callsOf(u"file"_s).isEmpty());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::fixedName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<int>("directoryResult"); // -1 for the right one
    QTest::addColumn<QString>("expected");
    const QString usual = u"C:\\windows"_s;
    QTest::newRow("as a client's path") << u"MAPI32X.DLL"_s << usual << -1 << u"C:\\windows\\mapi32x.dll"_s;
    QTest::newRow("full path is none") << u"D:\\mapi32x.dll"_s << usual << -1 << u"D:\\mapi32x.dll"_s;
    QTest::newRow("no system directory") << u"mapi32x.dll"_s << usual << 0 << QString();
    QTest::newRow("directory of 260") << u"mapi32x.dll"_s << usual << 260 << QString();
    QTest::newRow("directory of 300") << u"mapi32x.dll"_s << usual << 300 << QString();
    QTest::newRow("directory too long") << u"mapi32x.dll"_s << QString(260, u'd') << -1 << QString();
    QTest::newRow("room for the name")
        << u"mapi32x.dll"_s << QString(247, u'd') << -1 << QString(247, u'd') + u"\\mapi32x.dll"_s;
    QTest::newRow("no room for the name") << u"mapi32x.dll"_s << QString(248, u'd') << -1 << QString();
    QTest::newRow("directory of 259") << u"mapi32x.dll"_s << QString(259, u'd') << -1 << QString();
}

void TestMapiProvider::fixedName()
{
    QFETCH(QString, name);
    QFETCH(QString, directory);
    QFETCH(int, directoryResult);
    QFETCH(QString, expected);
    FakeMapiPlatform platform;
    const QString key = addClient(platform, machineClients);
    platform.addValue(key, u"DLLPath"_s, REG_SZ, registryText(name));
    platform.files = QStringList(u"mapisvc.inf"_s);
    platform.directory = directory;
    if (directoryResult >= 0)
        platform.directoryResult = static_cast<DWORD>(directoryResult);
    if (!expected.isNull())
        platform.addLibrary(expected);
    QCOMPARE(loadedProvider(platform), expected);
    QCOMPARE(platform.callsOf(u"load"_s),
             expected.isNull() ? QStringList() : QStringList(u"load "_s + expected));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::tooLongExpansionTriesNextSource()
{
    FakeMapiPlatform platform;
    const QString user = addClient(platform, userClients);
    platform.addValue(user, u"DLLPath"_s, REG_EXPAND_SZ, registryText(u"%X%"_s));
    platform.expansions.insert(u"%X%"_s, QString(260, u'p'));
    const QString machine = addClient(platform, machineClients, u"Other"_s);
    platform.addValue(machine, u"DLLPath"_s, REG_SZ, registryText(u"other.dll"_s));
    platform.addLibrary(u"other.dll"_s);
    QCOMPARE(loadedProvider(platform), u"other.dll"_s);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::utf8MarkOfLastPass_data()
{
    QTest::addColumn<bool>("userMark");
    QTest::addColumn<bool>("userPath");
    QTest::addColumn<bool>("machineMark");
    QTest::addColumn<bool>("machinePath");
    QTest::addColumn<bool>("expected");
    QTest::newRow("user's without a path, machine's with both") << false << false << true << true << true;
    QTest::newRow("user's mark without a path") << true << false << false << true << false;
    QTest::newRow("user's mark and path") << true << true << false << true << true;
    QTest::newRow("user's path ends the search") << false << true << true << true << false;
    QTest::newRow("marks, but no path at all") << false << false << true << false << true;
}

void TestMapiProvider::utf8MarkOfLastPass()
{
    QFETCH(bool, userMark);
    QFETCH(bool, userPath);
    QFETCH(bool, machineMark);
    QFETCH(bool, machinePath);
    QFETCH(bool, expected);
    FakeMapiPlatform platform;
    platform.addLibrary(u"m.dll"_s);
    const auto add = [&platform](const QString &clients, bool mark, bool path) {
        const QString key = addClient(platform, clients);
        if (mark)
            platform.addValue(key, u"SupportUTF8"_s, REG_DWORD, registryNumber(1));
        if (path)
            platform.addValue(key, u"DLLPath"_s, REG_SZ, registryText(u"m.dll"_s));
    };
    add(userClients, userMark, userPath);
    add(machineClients, machineMark, machinePath);
    bool useUtf8 = !expected;
    QCOMPARE(loadedProvider(platform, useUtf8), userPath || machinePath ? u"m.dll"_s : QString());
    QCOMPARE(useUtf8, expected);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::missingLanguagesReachFixedList()
{
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    addInstallerValues(platform, key, {u"App"_s, u"One"_s, u"Two"_s}, {u"Office"_s, u"One"_s});
    platform.addKey(u"HKCU\\Software\\App"_s);
    platform.addInstaller({{u"2055\\NT existing"_s, {0, u"msi.dll"_s}}});
    platform.addLibrary(u"msi.dll"_s);
    QCOMPARE(loadedProvider(platform), u"msi.dll"_s);
    QCOMPARE(platform.callsOf(u"installer"_s),
             QStringList({u"installer {ID} 1031\\NT existing 260"_s, u"installer {ID} 1031 existing 260"_s,
                          u"installer {ID} 2055\\NT existing 260"_s}));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::notInstalledOnTerminalServer()
{
    FakeMapiPlatform platform;
    platform.terminalServer = true;
    Answers answers;
    for (const QString &language : {u"11"_s, u"1031"_s, u"2055"_s, u"1033"_s})
        answers.insert(language + u"\\NT existing"_s, {2, {}});
    platform.addInstaller(answers);
    platform.addValue(u"HKCU\\Software\\App"_s, u"One"_s, REG_DWORD, registryNumber(11));
    for (const QString &clients : {userClients, machineClients}) {
        const QString key = addClient(platform, clients);
        addInstallerValues(platform, key, {u"App"_s, u"One"_s});
        platform.addValue(key, u"MSIInstallOnWTS"_s, REG_DWORD, registryNumber(0));
    }
    QCOMPARE(loadedProvider(platform), QString());
    QCOMPARE(platform.callsOf(u"installer"_s).size(), 28);
    QVERIFY(platform.calls.filter(u"default 260"_s).isEmpty());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::emptyAnswerEndsPass()
{
    FakeMapiPlatform platform;
    const QString user = addClient(platform, userClients);
    addInstallerValues(platform, user);
    platform.addInstaller({{u"1031\\NT existing"_s, {2, {}}}, {u"1031\\NT default"_s, {2, {}}}});
    platform.addValue(user, u"DLLPath"_s, REG_SZ, registryText(u"never.dll"_s));
    platform.addLibrary(u"never.dll"_s);
    QCOMPARE(loadedProvider(platform), QString());
    QVERIFY(platform.calls.filter(u"DLLPath"_s).isEmpty());
    QVERIFY(platform.calls.contains(openMachineClients + u" = 2"_s));
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiProvider::unloadableProvider()
{
    FakeMapiPlatform platform;
    const QString key = addClient(platform, userClients);
    platform.addValue(key, u"DLLPath"_s, REG_SZ, registryText(u"gone.dll"_s));
    QCOMPARE(loadedProvider(platform), QString());
    QCOMPARE(platform.calls.last(), u"load gone.dll = 0"_s);
    QCOMPARE(platform.mistakes(), QStringList());
}

// Any bytes of any type under every name: nothing is read or written beyond its place (the sanitizers
// watch), and everything opened is closed.
void TestMapiProvider::hostileRegistry()
{
    QRandomGenerator random(20240229);
    const QStringList names{u"SupportUTF8"_s,   u"MSIInstallOnWTS"_s, u"MSIApplicationLCID"_s,
                            u"MSIOfficeLCID"_s, u"MSIComponentID"_s,  u"DLLPath"_s};
    const QList<quint32> types{REG_SZ, REG_EXPAND_SZ, REG_DWORD, REG_MULTI_SZ, 3};
    const QList<quint32> sizes{0, 1, 2, 3, 4, 5, 77, 78, 79, 517, 518, 519, 1000};
    const auto bytes = [&random, &sizes] {
        QByteArray data(qsizetype{sizes.at(random.bounded(sizes.size()))}, Qt::Uninitialized);
        for (char &byte : data)
            byte = static_cast<char>(random.bounded(4) == 0 ? 0 : random.bounded(256));
        return data;
    };
    for (int round = 0; round < 2000; ++round) {
        FakeMapiPlatform platform;
        platform.addInstaller({{u"1033\\NT existing"_s, {random.bounded(3), u"msi.dll"_s}}});
        platform.addLibrary(u"msi.dll"_s);
        platform.terminalServer = random.bounded(2) == 0;
        platform.files = random.bounded(2) == 0 ? QStringList(u"mapisvc.inf"_s) : QStringList();
        for (const QString &clients : {userClients, machineClients}) {
            if (random.bounded(8) == 0)
                platform.addValue(clients, QString(), REG_SZ, bytes());
            const QString key = addClient(platform, clients);
            for (const QString &name : names) {
                const bool isList = name.endsWith(u"LCID"_s) && random.bounded(4) != 0;
                const quint32 type = isList ? REG_MULTI_SZ : types.at(random.bounded(types.size()));
                platform.addValue(key, name, type, bytes());
            }
        }
        for (int index = random.bounded(3); index > 0; --index)
            platform.addValue(listKey, u"module%1"_s.arg(index), REG_SZ, bytes());
        platform.modules = random.bounded(2) == 0 ? QStringList(u"module1"_s) : QStringList();
        platform.failingAllocation = random.bounded(8);
        loadedProvider(platform);
        QCOMPARE(platform.mistakes(), QStringList());
    }
}

QTEST_APPLESS_MAIN(TestMapiProvider)
#include "tst_mapiprovider.moc"
