#include "mapinarrow.h"
#include "mapiplatform.h"
#include "mapiprovider.h"
#include "widetext.h"

#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

// What the port's contract says of this system, and that the way to a provider ends well on it.
class TestMapiPlatformLinux : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registry();
    void system();
    void libraries();
    void conversion_data();
    void conversion();
    void conversionLimits();
    void shortPath();
    void heap();
    void noProvider();
    void narrowMessage();
};

void TestMapiPlatformLinux::registry()
{
    MapiPlatform &platform = systemMapiPlatform();
    for (const HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        HKEY key = hive;
        QCOMPARE(platform.openKey(hive, "Software"_w, KEY_READ, key), ERROR_FILE_NOT_FOUND);
        QVERIFY(key == nullptr);
        DWORD type = 0;
        DWORD size = 0;
        QCOMPARE(platform.queryValue(hive, nullptr, &type, nullptr, size), ERROR_FILE_NOT_FOUND);
        std::array<WCHAR, 10> name{};
        DWORD length = name.size();
        QCOMPARE(platform.enumerateValue(hive, 0, name.data(), length, nullptr, size), ERROR_FILE_NOT_FOUND);
    }
}

void TestMapiPlatformLinux::system()
{
    MapiPlatform &platform = systemMapiPlatform();
    std::array<WCHAR, 260> buffer{};
    QVERIFY(!platform.isModuleLoaded("libc.so.6"_w));
    QVERIFY(!platform.fileExists("mapisvc.inf"));
    QCOMPARE(platform.systemDirectory(buffer.data(), buffer.size()), 0U);
    QCOMPARE(platform.expandEnvironment("%PATH%"_w, buffer.data(), buffer.size()), 0U);
    QCOMPARE(platform.userLanguage(), 0U);
    QCOMPARE(platform.systemLanguage(), 0U);
    QVERIFY(!isTerminalServer(platform));
}

void TestMapiPlatformLinux::libraries()
{
    MapiPlatform &platform = systemMapiPlatform();
    QVERIFY(platform.loadLibrary("MSI.DLL"_w) == nullptr);
    const HMODULE library = platform.loadLibrary("libc.so.6"_w);
    QVERIFY(library != nullptr);
    QVERIFY(platform.symbol(library, "strlen") != nullptr);
    QVERIFY(platform.symbol(library, "MAPISendMailW") == nullptr);
    platform.freeLibrary(library);
}

void TestMapiPlatformLinux::conversion_data()
{
    QTest::addColumn<quint32>("codePage");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("expected"); // null for a failure
    QTest::addColumn<bool>("isDefault");
    const QString mixed = u"aä€\U0001F600"_s;
    const QString unpaired = u"a"_s + QChar(0xD800);
    const QString unpairedLow = QString(QChar(0xDC00)) + u"a"_s;
    QTest::newRow("UTF-8") << quint32(CP_UTF8) << mixed << mixed.toUtf8() << false;
    QTest::newRow("UTF-8, empty") << quint32(CP_UTF8) << u""_s << QByteArray("") << false;
    QTest::newRow("UTF-8, unpaired at the end") << quint32(CP_UTF8) << unpaired << QByteArray() << false;
    QTest::newRow("UTF-8, unpaired low") << quint32(CP_UTF8) << unpairedLow << QByteArray() << false;
    QTest::newRow("ANSI") << quint32(CP_ACP) << mixed << mixed.toLocal8Bit() << false;
    QTest::newRow("ANSI, empty") << quint32(CP_ACP) << u""_s << QByteArray("") << false;
    QTest::newRow("ANSI, unpaired at the end")
        << quint32(CP_ACP) << unpaired << QByteArray("a\xEF\xBF\xBD") << true;
    QTest::newRow("ANSI, unpaired low") << quint32(CP_ACP) << unpairedLow
                                        << QByteArray("\xEF\xBF\xBD"
                                                      "a")
                                        << true;
}

void TestMapiPlatformLinux::conversion()
{
    QFETCH(quint32, codePage);
    QFETCH(QString, text);
    QFETCH(QByteArray, expected);
    QFETCH(bool, isDefault);
    MapiPlatform &platform = systemMapiPlatform();
    const bool isUtf8 = codePage == CP_UTF8;
    const auto *const wide = reinterpret_cast<const WCHAR *>(text.utf16());
    char *narrow = nullptr;
    bool lossy = false;
    const HRESULT status = convertText(platform, wide, &narrow, isUtf8, &lossy);
    QCOMPARE(status, expected.isNull() ? static_cast<HRESULT>(0x80070459U) : S_OK);
    QCOMPARE(QByteArray(narrow), expected);
    QCOMPARE(lossy, isDefault);
    platform.release(narrow);

    const int needed = platform.wideCharToMultiByte(codePage, 0, wide, nullptr, 0, nullptr);
    QVERIFY(needed > 0);
    QByteArray exact(needed, '#');
    QCOMPARE(platform.wideCharToMultiByte(codePage, 0, wide, exact.data(), needed, nullptr), needed);
    QCOMPARE(exact.back(), '\0');
    if (!expected.isNull())
        QCOMPARE(exact.chopped(1), expected);
}

void TestMapiPlatformLinux::conversionLimits()
{
    MapiPlatform &platform = systemMapiPlatform();
    std::array<char, 3> buffer{'#', '#', '#'};
    QCOMPARE(platform.wideCharToMultiByte(CP_UTF8, 0, "abc"_w, buffer.data(), 3, nullptr), 0);
    QCOMPARE(platform.lastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    QCOMPARE(buffer[0], '#');
    BOOL usedDefault = 0;
    QCOMPARE(platform.wideCharToMultiByte(CP_UTF8, 0, "abc"_w, nullptr, 0, &usedDefault), 0);
    QCOMPARE(platform.lastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    QCOMPARE(platform.wideCharToMultiByte(1252, 0, "abc"_w, nullptr, 0, nullptr), 0);
    QCOMPARE(platform.lastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

void TestMapiPlatformLinux::shortPath()
{
    MapiPlatform &platform = systemMapiPlatform();
    std::array<WCHAR, 260> buffer{};
    QCOMPARE(platform.shortPathName("/tmp"_w, buffer.data(), buffer.size()), 0U);
    QCOMPARE(platform.lastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
}

void TestMapiPlatformLinux::heap()
{
    MapiPlatform &platform = systemMapiPlatform();
    auto *const bytes = static_cast<char *>(platform.allocate(1000));
    QCOMPARE(QByteArray(bytes, 1000), QByteArray(1000, '\0'));
    platform.release(bytes);
    platform.release(nullptr);
}

void TestMapiPlatformLinux::noProvider()
{
    bool useUtf8 = true;
    QVERIFY(loadMapiProvider(systemMapiPlatform(), useUtf8) == nullptr);
    QVERIFY(!useUtf8);
}

void TestMapiPlatformLinux::narrowMessage()
{
    MapiPlatform &platform = systemMapiPlatform();
    const QString path = u"\\tmp\\ж.txt"_s;
    MapiFileDescW file{};
    file.lpszPathName = const_cast<LPWSTR>(reinterpret_cast<const WCHAR *>(path.utf16()));
    MapiMessageW wide{};
    wide.nFileCount = 1;
    wide.lpFiles = &file;
    MapiMessage *narrow = nullptr;
    QCOMPARE(convertMessageToNarrow(platform, &wide, &narrow, false), S_OK);
    QCOMPARE(QByteArray(narrow->lpFiles[0].lpszPathName), path.toLocal8Bit());
    freeNarrowMessage(platform, narrow);
}

QTEST_APPLESS_MAIN(TestMapiPlatformLinux)
#include "tst_mapiplatform_linux.moc"
