#include "mapinarrow.h"
#include "mapiplatform.h"
#include "mapiprovider.h"
#include "widetext.h"

#include "ostrelletest/scopedenvironment.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

const WCHAR *wide(const QString &text)
{
    return reinterpret_cast<const WCHAR *>(text.utf16());
}

QString fromWide(const WCHAR *text)
{
    return QString::fromWCharArray(text);
}

QByteArray textBytes(const QString &text)
{
    return {reinterpret_cast<const char *>(text.utf16()), (text.size() + 1) * qsizetype{sizeof(WCHAR)}};
}

// Lets both hives of this process begin in keys of the test's own, so that the user's settings stay what
// they are.
class ScopedHives
{
public:
    ScopedHives() : m_name(u"Software\\OstrelleTest"_s + QUuid::createUuid().toString())
    {
        m_user = create(HKEY_CURRENT_USER, m_name + u"\\user"_s);
        m_machine = create(HKEY_CURRENT_USER, m_name + u"\\machine"_s);
        m_isValid = m_user != nullptr && m_machine != nullptr
            && RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_machine) == ERROR_SUCCESS
            && RegOverridePredefKey(HKEY_CURRENT_USER, m_user) == ERROR_SUCCESS;
    }
    ~ScopedHives()
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_user);
        RegCloseKey(m_machine);
        RegDeleteTreeW(HKEY_CURRENT_USER, wide(m_name));
    }
    Q_DISABLE_COPY_MOVE(ScopedHives)

    [[nodiscard]] bool isValid() const { return m_isValid; }

    // Sets a value, in a key that is created if needed. False if that failed.
    [[nodiscard]] static bool set(HKEY hive, const QString &key, const QString &name, DWORD type,
                                  const QByteArray &data)
    {
        const HKEY opened = create(hive, key);
        if (opened == nullptr)
            return false;
        const LONG status = RegSetValueExW(opened, name.isNull() ? nullptr : wide(name), 0, type,
                                           reinterpret_cast<const BYTE *>(data.constData()),
                                           static_cast<DWORD>(data.size()));
        RegCloseKey(opened);
        return status == ERROR_SUCCESS;
    }

private:
    static HKEY create(HKEY parent, const QString &name)
    {
        HKEY key = nullptr;
        const LONG status
            = RegCreateKeyExW(parent, wide(name), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        return status == ERROR_SUCCESS ? key : nullptr;
    }

    QString m_name;
    HKEY m_user = nullptr;
    HKEY m_machine = nullptr;
    bool m_isValid = false;
};

}

// The port's real calls, and the search and the conversion over them.
class TestMapiPlatformWin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registry();
    void registryEnumeration();
    void modules();
    void files();
    void system();
    void versionSuite();
    void unknownComponent();
    void conversion();
    void conversionFailures();
    void shortPath();
    void shortPathOfMissingFile();
    void heap();
    void libraryPath_data();
    void libraryPath();
    void loadedProvider_data();
    void loadedProvider();
    void noProvider();
};

void TestMapiPlatformWin::registry()
{
    const ScopedHives hives;
    QVERIFY(hives.isValid());
    MapiPlatform &platform = systemMapiPlatform();
    HKEY key = HKEY_CURRENT_USER;
    QCOMPARE(platform.openKey(HKEY_CURRENT_USER, "Software\\Key"_w, KEY_READ, key), ERROR_FILE_NOT_FOUND);
    QVERIFY(key == nullptr);
    QVERIFY(ScopedHives::set(HKEY_CURRENT_USER, u"Software\\Key"_s, QString(), REG_SZ,
                             textBytes(u"Ostrelle ж"_s)));
    QVERIFY(ScopedHives::set(HKEY_CURRENT_USER, u"Software\\Key"_s, u"Odd"_s, REG_MULTI_SZ, "abc"));
    QVERIFY(ScopedHives::set(HKEY_CURRENT_USER, u"Software\\Key"_s, u"None"_s, REG_MULTI_SZ, QByteArray()));
    QCOMPARE(platform.openKey(HKEY_CURRENT_USER, "Software\\Key"_w, KEY_READ, key), ERROR_SUCCESS);

    std::array<WCHAR, 20> text{};
    DWORD type = 0;
    DWORD size = sizeof(text);
    QCOMPARE(platform.queryValue(key, nullptr, &type, text.data(), size), ERROR_SUCCESS);
    QCOMPARE(fromWide(text.data()), u"Ostrelle ж"_s);
    QCOMPARE(type, DWORD{REG_SZ});
    QCOMPARE(size, DWORD{22});
    size = 20;
    QCOMPARE(platform.queryValue(key, nullptr, nullptr, text.data(), size), ERROR_MORE_DATA);
    QCOMPARE(size, DWORD{22});
    QCOMPARE(platform.queryValue(key, "Missing"_w, &type, nullptr, size), ERROR_FILE_NOT_FOUND);

    // Neither an even count nor a terminating null is promised.
    QCOMPARE(platform.queryValue(key, "Odd"_w, &type, nullptr, size), ERROR_SUCCESS);
    QCOMPARE(type, DWORD{REG_MULTI_SZ});
    QCOMPARE(size, DWORD{3});
    QCOMPARE(platform.queryValue(key, "None"_w, &type, nullptr, size), ERROR_SUCCESS);
    QCOMPARE(size, DWORD{0});
    platform.closeKey(key);
}

void TestMapiPlatformWin::registryEnumeration()
{
    const ScopedHives hives;
    QVERIFY(hives.isValid());
    const QString list = u"SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\MSMapiApps"_s;
    std::array<WCHAR, 260> client{};
    MapiPlatform &platform = systemMapiPlatform();
    QVERIFY(!isListedModuleLoaded(platform, client.data(), client.size()));
    QVERIFY(
        ScopedHives::set(HKEY_LOCAL_MACHINE, list, u"no-such-module.dll"_s, REG_SZ, textBytes(u"None"_s)));
    QVERIFY(!isListedModuleLoaded(platform, client.data(), client.size()));
    QVERIFY(!isListedModuleLoaded(platform, nullptr, 0));
    QVERIFY(ScopedHives::set(HKEY_LOCAL_MACHINE, list, u"KERNEL32.dll"_s, REG_SZ, textBytes(u"Zerk"_s)));
    QVERIFY(isListedModuleLoaded(platform, client.data(), client.size()));
    QCOMPARE(fromWide(client.data()), u"Zerk"_s);
    QVERIFY(isListedModuleLoaded(platform, nullptr, 0));
}

void TestMapiPlatformWin::modules()
{
    MapiPlatform &platform = systemMapiPlatform();
    QVERIFY(platform.isModuleLoaded("kernel32.dll"_w));
    QVERIFY(!platform.isModuleLoaded("msi.dll"_w));
    const HMODULE library = platform.loadLibrary("MSI.DLL"_w);
    QVERIFY(library != nullptr);
    QVERIFY(platform.isModuleLoaded("msi.dll"_w));
    QVERIFY(platform.symbol(library, "MsiProvideQualifiedComponentW") != nullptr);
    QVERIFY(platform.symbol(library, "NoSuchEntry") == nullptr);
    platform.freeLibrary(library);
    QVERIFY(platform.loadLibrary("no-such-library.dll"_w) == nullptr);
}

void TestMapiPlatformWin::files()
{
    MapiPlatform &platform = systemMapiPlatform();
    QVERIFY(platform.fileExists("kernel32.dll"));
    QVERIFY(!platform.fileExists("no-such-file.inf"));
}

void TestMapiPlatformWin::system()
{
    MapiPlatform &platform = systemMapiPlatform();
    std::array<WCHAR, 260> buffer{};
    const DWORD length = platform.systemDirectory(buffer.data(), buffer.size());
    QVERIFY(length > 0 && length < buffer.size());
    QCOMPARE(qsizetype{length}, fromWide(buffer.data()).size());
    QVERIFY(QDir(fromWide(buffer.data())).exists());
    QCOMPARE(platform.systemDirectory(buffer.data(), 2), length + 1);

    const ScopedEnvironment variable("OSTRELLE_TEST_EXPANSION", "12345");
    QCOMPARE(platform.expandEnvironment("<%OSTRELLE_TEST_EXPANSION%>"_w, buffer.data(), buffer.size()),
             DWORD{8});
    QCOMPARE(fromWide(buffer.data()), u"<12345>"_s);
    QVERIFY(platform.expandEnvironment("<%OSTRELLE_TEST_EXPANSION%>"_w, buffer.data(), 4) > 4);
    QCOMPARE(platform.userLanguage(), GetUserDefaultLCID());
    QCOMPARE(platform.systemLanguage(), GetSystemDefaultLCID());
}

// The judge is what the system itself says of its suites.
void TestMapiPlatformWin::versionSuite()
{
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    const auto getVersion = reinterpret_cast<LONG(WINAPI *)(OSVERSIONINFOEXW *)>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    QVERIFY(getVersion != nullptr);
    QCOMPARE(getVersion(&version), 0L);
    MapiPlatform &platform = systemMapiPlatform();
    for (unsigned int bit = 0; bit < 16; ++bit) {
        const auto suite = static_cast<WORD>(1U << bit);
        QCOMPARE(platform.verifyVersionSuite(suite, VER_SUITENAME, VER_AND),
                 (version.wSuiteMask & suite) != 0);
    }
    QCOMPARE(isTerminalServer(platform), (version.wSuiteMask & VER_SUITE_TERMINAL) != 0);
}

// The installer's own answer for a component that nobody registered.
void TestMapiPlatformWin::unknownComponent()
{
    MapiPlatform &platform = systemMapiPlatform();
    std::array<WCHAR, 260> path{};
    const QString id = QUuid::createUuid().toString().toUpper();
    QVERIFY(!provideProviderPath(platform, wide(id), {}, path.data(), path.size(), true));
    QCOMPARE(fromWide(path.data()), u""_s);
}

void TestMapiPlatformWin::conversion()
{
    MapiPlatform &platform = systemMapiPlatform();
    const QString text = u"Grüße ж \U0001F600"_s;
    char *narrow = nullptr;
    bool lossy = true;
    QCOMPARE(convertText(platform, wide(text), &narrow, true, &lossy), S_OK);
    QCOMPARE(QByteArray(narrow), text.toUtf8());
    QVERIFY(!lossy);
    platform.release(narrow);

    QCOMPARE(convertText(platform, "plain"_w, &narrow, false, &lossy), S_OK);
    QCOMPARE(QByteArray(narrow), QByteArray("plain"));
    QVERIFY(!lossy);
    platform.release(narrow);

    if (GetACP() == CP_UTF8)
        QSKIP("The ANSI code page is UTF-8, so no character is outside of it.");
    QCOMPARE(convertText(platform, wide(text), &narrow, false, &lossy), S_OK);
    QVERIFY(QByteArray(narrow).contains('?'));
    QVERIFY(lossy);
    platform.release(narrow);
}

void TestMapiPlatformWin::conversionFailures()
{
    MapiPlatform &platform = systemMapiPlatform();
    const QString unpaired = u"a"_s + QChar(0xD800) + u'b';
    char *narrow = nullptr;
    QCOMPARE(convertText(platform, wide(unpaired), &narrow, true, nullptr), static_cast<HRESULT>(0x80070459));
    QVERIFY(narrow == nullptr);
    std::array<char, 2> buffer{};
    QCOMPARE(platform.wideCharToMultiByte(CP_ACP, 0, "abc"_w, buffer.data(), buffer.size(), nullptr), 0);
    QCOMPARE(platform.lastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

void TestMapiPlatformWin::shortPath()
{
    if (GetACP() == CP_UTF8)
        QSKIP("The ANSI code page is UTF-8, so no path needs its short form.");
    const QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString path = QDir::toNativeSeparators(folder.filePath(u"ж \U0001F600.txt"_s));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write("attached"), 8);
    file.close();

    MapiPlatform &platform = systemMapiPlatform();
    std::array<WCHAR, 260> buffer{};
    QVERIFY(platform.shortPathName(wide(path), buffer.data(), buffer.size()) > 0);
    const bool hasShortNames = fromWide(buffer.data()) != path;
    char *narrow = nullptr;
    const HRESULT status = convertAttachmentPath(platform, wide(path), &narrow);
    if (!hasShortNames) {
        QCOMPARE(status, E_INVALIDARG);
        QVERIFY(narrow == nullptr);
        return;
    }
    QCOMPARE(status, S_OK);
    // The system finds the file under the narrow path.
    const HANDLE found
        = CreateFileA(narrow, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    platform.release(narrow);
    QVERIFY(found != INVALID_HANDLE_VALUE);
    std::array<char, 10> content{};
    DWORD size = 0;
    const BOOL isRead = ReadFile(found, content.data(), content.size(), &size, nullptr);
    CloseHandle(found);
    QVERIFY(isRead != 0);
    QCOMPARE(QByteArray(content.data(), size), QByteArray("attached"));
}

void TestMapiPlatformWin::shortPathOfMissingFile()
{
    const QTemporaryDir folder;
    QVERIFY(folder.isValid());
    MapiPlatform &platform = systemMapiPlatform();
    std::array<WCHAR, 260> buffer{};
    const QString path = QDir::toNativeSeparators(folder.filePath(u"missing"_s));
    QCOMPARE(platform.shortPathName(wide(path), buffer.data(), buffer.size()), DWORD{0});
    QCOMPARE(platform.lastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

void TestMapiPlatformWin::heap()
{
    MapiPlatform &platform = systemMapiPlatform();
    auto *const bytes = static_cast<char *>(platform.allocate(1000));
    QCOMPARE(QByteArray(bytes, 1000), QByteArray(1000, '\0'));
    platform.release(bytes);
    platform.release(nullptr);
}

void TestMapiPlatformWin::libraryPath_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("REG_SZ") << quint32(REG_SZ) << u"C:\\ж\\%X%.dll"_s << u"C:\\ж\\%X%.dll"_s;
    QTest::newRow("REG_EXPAND_SZ") << quint32(REG_EXPAND_SZ) << u"C:\\%OSTRELLE_TEST_EXPANSION%\\a.dll"_s
                                   << u"C:\\ostrelle\\a.dll"_s;
    QTest::newRow("259 units with the null") << quint32(REG_SZ) << QString(258, u'p') << QString(258, u'p');
    QTest::newRow("260 units with the null") << quint32(REG_SZ) << QString(259, u'p') << u""_s;
}

void TestMapiPlatformWin::libraryPath()
{
    QFETCH(quint32, type);
    QFETCH(QString, value);
    QFETCH(QString, expected);
    const ScopedHives hives;
    QVERIFY(hives.isValid());
    const ScopedEnvironment variable("OSTRELLE_TEST_EXPANSION", "ostrelle");
    // A user's client that is registered for the machine.
    QVERIFY(ScopedHives::set(HKEY_CURRENT_USER, u"Software\\Clients\\Mail"_s, QString(), REG_SZ,
                             textBytes(u"Zerk"_s)));
    QVERIFY(ScopedHives::set(HKEY_LOCAL_MACHINE, u"Software\\Clients\\Mail\\Zerk"_s, u"DLLPath"_s, type,
                             textBytes(value)));
    std::array<WCHAR, 260> path{};
    bool useUtf8 = true;
    QCOMPARE(findProviderPath(systemMapiPlatform(), HKEY_CURRENT_USER, path.data(), path.size(), useUtf8),
             !expected.isEmpty());
    QCOMPARE(fromWide(path.data()), expected);
    QVERIFY(!useUtf8);
}

void TestMapiPlatformWin::loadedProvider_data()
{
    QTest::addColumn<bool>("isUser");
    QTest::addColumn<bool>("supportUtf8");
    QTest::newRow("user's client") << true << false;
    QTest::newRow("user's client, UTF-8") << true << true;
    QTest::newRow("machine's client") << false << false;
    QTest::newRow("machine's client, UTF-8") << false << true;
}

void TestMapiPlatformWin::loadedProvider()
{
    QFETCH(bool, isUser);
    QFETCH(bool, supportUtf8);
    const ScopedHives hives;
    QVERIFY(hives.isValid());
    const HKEY hive = isUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    const QString clients = u"Software\\Clients\\Mail"_s;
    const QString library = QDir::toNativeSeparators(
        QFileInfo(QString::fromUtf8(OSTRELLE_PROVIDERS) + u"/wide/recordingprovider.dll"_s)
            .absoluteFilePath());
    QVERIFY(ScopedHives::set(hive, clients, QString(), REG_SZ, textBytes(u"Zerk"_s)));
    QVERIFY(ScopedHives::set(hive, clients + u"\\Zerk"_s, u"DLLPath"_s, REG_SZ, textBytes(library)));
    const quint32 mark = supportUtf8 ? 1 : 0;
    QVERIFY(ScopedHives::set(hive, clients + u"\\Zerk"_s, u"SupportUTF8"_s, REG_DWORD,
                             QByteArray(reinterpret_cast<const char *>(&mark), sizeof(mark))));
    MapiPlatform &platform = systemMapiPlatform();
    bool useUtf8 = !supportUtf8;
    const auto provider = static_cast<HMODULE>(loadMapiProvider(platform, useUtf8));
    QVERIFY(provider != nullptr);
    QCOMPARE(useUtf8, supportUtf8);
    QVERIFY(platform.symbol(provider, "MAPISendMailW") != nullptr);
    platform.freeLibrary(provider);
    QVERIFY(!platform.isModuleLoaded("recordingprovider.dll"_w));
}

void TestMapiPlatformWin::noProvider()
{
    const ScopedHives hives;
    QVERIFY(hives.isValid());
    MapiPlatform &platform = systemMapiPlatform();
    if (platform.fileExists("mapisvc.inf"))
        QSKIP("This system has the messaging subsystem, so the fixed name counts.");
    bool useUtf8 = true;
    QVERIFY(loadMapiProvider(platform, useUtf8) == nullptr);
    QVERIFY(!useUtf8);
}

QTEST_GUILESS_MAIN(TestMapiPlatformWin)
#include "tst_mapiplatform_win.moc"
