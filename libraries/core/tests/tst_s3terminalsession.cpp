#include "s3terminalsession.h"

#include "ostrelletest/scopedenvironment.h"

#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;

class TestTerminalSession final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void idAndItsTextAgree();
    void sessionName();
    void clientAddressText_data();
    void clientAddressText();
    void localSessionHasNoClient();
};

namespace
{

QByteArray answer(quint32 family, const QByteArray &address)
{
    QByteArray result(24, '\0');
    std::memcpy(result.data(), &family, sizeof family);
    return result.replace(4, address.size(), address);
}

}

void TestTerminalSession::idAndItsTextAgree()
{
    const QString text = s3SessionIdText();
    QCOMPARE(s3SessionId(), text.toUInt());
    if (!text.isEmpty())
        QCOMPARE(text, QString::number(s3SessionId()));
}

void TestTerminalSession::sessionName()
{
    {
        const ScopedEnvironment environment("SESSIONNAME", "RDP-Tcp#3");
        QCOMPARE(s3SessionName(), u"RDP-Tcp#3"_s);
    }
    const ScopedEnvironment environment("SESSIONNAME", QByteArray());
    QCOMPARE(s3SessionName(), QString());
}

void TestTerminalSession::clientAddressText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("expected");
    const QByteArray address("\0\0\xc0\x00\x02\xff\x63", 7);
    QTest::newRow("IPv4") << answer(2, address) << u"192.0.2.255"_s;
    QTest::newRow("no address") << answer(2, QByteArray()) << u"0.0.0.0"_s;
    QTest::newRow("longer answer") << answer(2, address) + "more" << u"192.0.2.255"_s;
    QTest::newRow("IPv6") << answer(23, address) << QString();
    QTest::newRow("family unspecified") << answer(0, address) << QString();
    QTest::newRow("one byte short") << answer(2, address).first(23) << QString();
    QTest::newRow("empty") << QByteArray() << QString();
}

void TestTerminalSession::clientAddressText()
{
    QFETCH(QByteArray, bytes);
    QTEST(s3ClientAddressText(bytes), "expected");
}

void TestTerminalSession::localSessionHasNoClient()
{
    const ScopedEnvironment environment("SSH_CONNECTION", QByteArray());
    QCOMPARE(s3SessionClientAddress(), QString());
    QCOMPARE(s3SessionClientName(), QString());
}

QTEST_APPLESS_MAIN(TestTerminalSession)
#include "tst_s3terminalsession.moc"
