#include "coreutil.h"

#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/tracerecorder.h"

#include <QRegularExpression>
#include <QSettings>
#include <QTest>
#include <QUuid>

#include <windows.h>

using namespace Qt::StringLiterals;

namespace
{

// A registry key of its own below HKEY_CURRENT_USER, removed with the scope.
class ScopedRegistryKey
{
public:
    ScopedRegistryKey() : m_path(u"Software\\Ostrelle Test "_s + QUuid::createUuid().toString()) { }
    ~ScopedRegistryKey() { RegDeleteTreeW(HKEY_CURRENT_USER, wide(m_path)); }
    Q_DISABLE_COPY_MOVE(ScopedRegistryKey)

    [[nodiscard]] QString path() const { return m_path; }

    [[nodiscard]] bool set(const QString &name, DWORD type, const void *data, size_t size) const
    {
        return RegSetKeyValueW(HKEY_CURRENT_USER, wide(m_path), name.isNull() ? nullptr : wide(name), type,
                               data, static_cast<DWORD>(size))
            == ERROR_SUCCESS;
    }
    [[nodiscard]] bool setText(const QString &name, const QString &text) const
    {
        return set(name, REG_SZ, text.utf16(), static_cast<size_t>(text.size() + 1) * 2);
    }

private:
    static const wchar_t *wide(const QString &text)
    {
        return reinterpret_cast<const wchar_t *>(text.utf16());
    }

    QString m_path;
};

QString systemLibrary(const QString &name)
{
    wchar_t directory[MAX_PATH] = {};
    GetSystemDirectoryW(directory, MAX_PATH);
    return QString::fromWCharArray(directory) + u'\\' + name;
}

const QString currentUser = u"HKEY_CURRENT_USER"_s;

}

// What coreutil reads from a real Windows.
class TestCoreUtilWindows final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registryTexts();
    void registryNumbers();
    void registryDefaultValue();
    void registryValueOfTheSystem();
    void registryTrace();
    void versionOfASystemLibrary();
    void versionKeyThatIsNotThere();
    void beepIsAnswered();
    void errorNumbersAreUnsigned();
};

void TestCoreUtilWindows::registryTexts()
{
    const ScopedRegistryKey key;
    QVERIFY(key.setText(u"Name"_s, u"größer €"_s));
    QVERIFY(key.setText(u"Leer"_s, QString(u""_s)));
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), u"Name"_s), u"größer €"_s);
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), u"name"_s),
             u"größer €"_s); // the registry has no case
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), u"Leer"_s), QString());
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), u"Fehlt"_s), QString());
    QCOMPARE(s3GetRegistryValue(u"HKEY_NO_SUCH_ROOT"_s, key.path(), u"Name"_s), QString());
}

void TestCoreUtilWindows::registryNumbers()
{
    const ScopedRegistryKey key;
    const DWORD number = 4711;
    QVERIFY(key.set(u"Zahl"_s, REG_DWORD, &number, sizeof number));
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), u"Zahl"_s), u"4711"_s);
}

void TestCoreUtilWindows::registryDefaultValue()
{
    const ScopedRegistryKey key;
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), QString()), QString());
    QVERIFY(key.setText(QString(), u"the default"_s));
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), QString()), u"the default"_s);
}

void TestCoreUtilWindows::registryValueOfTheSystem()
{
    const QString version
        = s3GetRegistryValue(u"HKEY_LOCAL_MACHINE"_s, u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion"_s,
                             u"CurrentBuildNumber"_s);
    static const QRegularExpression number(u"^[0-9]+$"_s);
    QVERIFY2(number.match(version).hasMatch(), qPrintable(version));
}

void TestCoreUtilWindows::registryTrace()
{
    const ScopedRegistryKey key;
    QVERIFY(key.setText(u"Name"_s, u"x"_s));
    const ScopedTestFlag flag(321);
    const TraceRecorder trace;
    QCOMPARE(s3GetRegistryValue(currentUser, key.path(), u"Name"_s), u"x"_s);
    QCOMPARE(
        trace.lines(),
        QStringList(
            u"s3GetRegistryValue('HKEY_CURRENT_USER', '%1', 'Name') = x (isValid=true, type='QString')"_s.arg(
                key.path())));
}

void TestCoreUtilWindows::versionOfASystemLibrary()
{
    const QString library = systemLibrary(u"kernel32.dll"_s);
    static const QRegularExpression version(u"^[0-9]+\\.[0-9]+\\."_s);
    QVERIFY2(version.match(s3FileVersion(library)).hasMatch(), qPrintable(s3FileVersion(library)));
    QCOMPARE(s3FileVersion(library), vs_query_info(library, u"FileVersion"_s));
    QVERIFY(!vs_query_info(library, u"CompanyName"_s).isEmpty());
    QVERIFY(!vs_query_info(library, u"FileDescription"_s).isEmpty());
}

void TestCoreUtilWindows::versionKeyThatIsNotThere()
{
    QCOMPARE(vs_query_info(systemLibrary(u"kernel32.dll"_s), u"No such key"_s), QString());
}

void TestCoreUtilWindows::beepIsAnswered()
{
    QVERIFY(s3BeepError(true));
    QVERIFY(!s3BeepError(false));
}

void TestCoreUtilWindows::errorNumbersAreUnsigned()
{
    SetLastError(0xE0001234);
    QCOMPARE(s3LastErrorText(), u"(3758101044)"_s);
}

QTEST_GUILESS_MAIN(TestCoreUtilWindows)
#include "tst_coreutil_windows.moc"
