#include "coreutil.h"
#include "platform/versioninfo.h"

#include <windows.h>

#include <QCoreApplication>
#include <QDir>
#include <QScopeGuard>
#include <QTest>

using namespace Qt::StringLiterals;

// What the built executable carries beside its code: what the shell shows of it.
class TestResources final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void text_data();
    void text();
    void translations();
    void numbers();
    void firstLanguage();
    void guiSubsystem();
    void icon();

private:
    QString m_executable;
    std::unique_ptr<platform::VersionInfo> m_info;
};

void TestResources::initTestCase()
{
    m_executable
        = QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + QString::fromUtf8(OSTRELLE_TOOL));
    m_info = platform::readVersionInfo(m_executable);
    QVERIFY(m_info);
}

void TestResources::text_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    const auto add = [](const char *name, const QString &language, const QString &description) {
        const auto row = [name, &language](const QString &key, const QString &value) {
            QTest::addRow("%s, %s", name, qPrintable(key)) << language << key << value;
        };
        row(u"FileDescription"_s, description);
        row(u"FileVersion"_s, QStringLiteral(OSTRELLE_VERSION));
        row(u"InternalName"_s, u"ostrelle"_s);
        row(u"OriginalFilename"_s, u"ostrelle.exe"_s);
        row(u"ProductName"_s, u"Ostrelle"_s);
        row(u"ProductVersion"_s, QStringLiteral(OSTRELLE_VERSION));
    };
    add("English", u"040904B0"_s, u"Create email with MAPI"_s);
    add("German", u"040704B0"_s, u"E-Mail anlegen mit Hilfe von MAPI"_s);
}

void TestResources::text()
{
    QFETCH(QString, language);
    QFETCH(QString, key);
    const void *value = nullptr;
    quint32 size = 0;
    QVERIFY(m_info->query(u"\\StringFileInfo\\%1\\%2"_s.arg(language, key), value, size));
    QTEST(QString::fromWCharArray(static_cast<const wchar_t *>(value)), "value");
}

void TestResources::translations()
{
    const void *value = nullptr;
    quint32 size = 0;
    QVERIFY(m_info->query(u"\\VarFileInfo\\Translation"_s, value, size));
    QCOMPARE(size, 8U);
    const auto *words = static_cast<const quint16 *>(value);
    QCOMPARE((QList<quint16>{words[0], words[1], words[2], words[3]}),
             (QList<quint16>{0x0409, 1200, 0x0407, 1200}));
}

void TestResources::numbers()
{
    const void *value = nullptr;
    quint32 size = 0;
    QVERIFY(m_info->query(u"\\"_s, value, size));
    QCOMPARE(size, quint32(sizeof(VS_FIXEDFILEINFO)));
    const auto *info = static_cast<const VS_FIXEDFILEINFO *>(value);
    QCOMPARE(u"%1.%2.%3"_s.arg(info->dwFileVersionMS >> 16)
                 .arg(info->dwFileVersionMS & 0xFFFF)
                 .arg(info->dwFileVersionLS >> 16),
             QStringLiteral(OSTRELLE_VERSION));
    QCOMPARE(info->dwProductVersionMS, info->dwFileVersionMS);
    QCOMPARE(info->dwProductVersionLS, info->dwFileVersionLS);
    QCOMPARE(info->dwFileType, DWORD(VFT_APP));
}

// What the core library's own reader makes of it.
void TestResources::firstLanguage()
{
    QCOMPARE(s3FileVersion(m_executable), QStringLiteral(OSTRELLE_VERSION));
    QCOMPARE(vs_query_info(m_executable, u"FileDescription"_s), u"Create email with MAPI"_s);
}

// A console window must not flash up.
void TestResources::guiSubsystem()
{
    QFile file(m_executable);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray head = file.read(4096);
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(head.constData());
    QVERIFY(dos->e_lfanew + qsizetype(sizeof(IMAGE_NT_HEADERS64)) <= head.size());
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS64 *>(head.constData() + dos->e_lfanew);
    QCOMPARE(headers->OptionalHeader.Subsystem, WORD(IMAGE_SUBSYSTEM_WINDOWS_GUI));
    QCOMPARE(headers->FileHeader.Machine, WORD(IMAGE_FILE_MACHINE_AMD64));
}

// Under the name where Qt looks for the icon of windows; the shell takes the first of all.
void TestResources::icon()
{
    const auto *path = reinterpret_cast<const wchar_t *>(m_executable.utf16());
    const HMODULE module = LoadLibraryExW(path, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    QVERIFY(module != nullptr);
    const auto unload = qScopeGuard([module] { FreeLibrary(module); });
    const HRSRC resource = FindResourceW(module, L"IDI_ICON1", RT_GROUP_ICON);
    QVERIFY(resource != nullptr);
    // A directory as in an icon file: 3 words, the last the count, then 14 bytes for each picture, the first
    // its width, where 0 is 256.
    const auto *bytes = static_cast<const quint8 *>(LockResource(LoadResource(module, resource)));
    QVERIFY(bytes != nullptr);
    const int count = bytes[4];
    QVERIFY(SizeofResource(module, resource) >= DWORD(6 + 14 * count));
    QList<int> widths;
    for (int index = 0; index < count; ++index)
        widths += bytes[6 + 14 * index] == 0 ? 256 : bytes[6 + 14 * index];
    QCOMPARE(widths, (QList<int>{16, 20, 24, 32, 48, 64, 256}));
    const HANDLE icon = LoadImageW(module, L"IDI_ICON1", IMAGE_ICON, 32, 32, 0);
    QVERIFY(icon != nullptr);
    DestroyIcon(static_cast<HICON>(icon));
}

QTEST_GUILESS_MAIN(TestResources)
#include "tst_resources.moc"
