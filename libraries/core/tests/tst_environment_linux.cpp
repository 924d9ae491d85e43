#include "ostrelletest/scopedenvironment.h"
#include "s3environmentvariable.h"
#include "s3terminalsession.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

// What the environment and the terminal session are on Linux only.
class TestEnvironmentLinux final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyTextIsSet();
    void sessionIdIsTheKernels();
    void clientOfAnSshSession_data();
    void clientOfAnSshSession();
};

void TestEnvironmentLinux::emptyTextIsSet()
{
    const ScopedEnvironment environment("OSTRELLE_TEST_VARIABLE", "");
    s3EnvironmentVariable record(u"OSTRELLE_TEST_VARIABLE"_s);
    QVERIFY(record.isSet());
    QVERIFY(record.isEmpty());
    record.clear();
    QVERIFY(record.isSet());
    record.restore();
    QVERIFY(!record.isSet());
}

void TestEnvironmentLinux::sessionIdIsTheKernels()
{
    QFile file(u"/proc/self/sessionid"_s);
    const QString text
        = file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll().trimmed()) : QString();
    QCOMPARE(s3SessionIdText(), text == u"4294967295"_s ? QString() : text);
}

void TestEnvironmentLinux::clientOfAnSshSession_data()
{
    QTest::addColumn<QByteArray>("connection");
    QTest::addColumn<QString>("expected");
    QTest::newRow("IPv4") << QByteArray("192.0.2.7 50022 198.51.100.1 22") << u"192.0.2.7"_s;
    QTest::newRow("IPv6") << QByteArray("2001:db8::7 50022 2001:db8::1 22") << QString();
    QTest::newRow("no address") << QByteArray("nobody 1 2 3") << QString();
    QTest::newRow("address alone") << QByteArray("192.0.2.7") << QString();
    QTest::newRow("empty") << QByteArray("") << QString();
}

void TestEnvironmentLinux::clientOfAnSshSession()
{
    QFETCH(QByteArray, connection);
    const ScopedEnvironment environment("SSH_CONNECTION", connection);
    QTEST(s3SessionClientAddress(), "expected");
    QCOMPARE(s3SessionClientName(), QString());
}

QTEST_APPLESS_MAIN(TestEnvironmentLinux)
#include "tst_environment_linux.moc"
