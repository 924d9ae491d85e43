#include "s3environmentvariable.h"
#include "s3terminalsession.h"

#include <QTest>

#include <windows.h>

using namespace Qt::StringLiterals;

// What the environment and the terminal session are on Windows only.
class TestEnvironmentWindows final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyTextIsSet();
    void namesIgnoreCase();
    void sessionIdIsTheProcesses();
};

void TestEnvironmentWindows::emptyTextIsSet()
{
    QVERIFY(SetEnvironmentVariableW(L"OSTRELLE_TEST_VARIABLE", L""));
    s3EnvironmentVariable record(u"OSTRELLE_TEST_VARIABLE"_s);
    QVERIFY(record.isSet());
    QVERIFY(record.isEmpty());
    record.restore();
    QVERIFY(SetEnvironmentVariableW(L"OSTRELLE_TEST_VARIABLE", nullptr));
    QVERIFY(!record.isSet());
}

void TestEnvironmentWindows::namesIgnoreCase()
{
    s3EnvironmentVariable record(u"OSTRELLE_TEST_VARIABLE"_s);
    record.set(u"x"_s);
    QCOMPARE(s3EnvironmentVariable(u"ostrelle_test_variable"_s).value(), u"x"_s);
    record.set(QString());
}

void TestEnvironmentWindows::sessionIdIsTheProcesses()
{
    DWORD id = 0;
    QVERIFY(ProcessIdToSessionId(GetCurrentProcessId(), &id));
    QCOMPARE(s3SessionId(), quint32(id));
    QCOMPARE(s3SessionIdText(), QString::number(id));
}

QTEST_APPLESS_MAIN(TestEnvironmentWindows)
#include "tst_environment.moc"
