#include "s3string.h"

#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

class TestStringPercent final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void encode_data();
    void encode();
    void encodeIsQtsCodingButForPercentSigns();
    void encodedTextPassesUnchanged();
    void decode_data();
    void decode();
    void decodeAcceptsWhatReadsAsANumber();
    void decodeReturnsCleanTextItself();
    void roundTrip();
};

void TestStringPercent::encode_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("some");
    QTest::addColumn<QString>("all");
    QTest::newRow("percent signs") << u"a b/c%20"_s << u"a%20b/c%20"_s << u"a%20b%2Fc%2520"_s;
    QTest::newRow("umlaut") << u"ä"_s << u"%C3%A4"_s << u"%C3%A4"_s;
    QTest::newRow("unreserved") << u"azAZ09-._~"_s << u"azAZ09-._~"_s << u"azAZ09-._~"_s;
    QTest::newRow("exceptions") << u"!/()*':"_s << u"!/()*':"_s << u"%21%2F%28%29%2A%27%3A"_s;
    QTest::newRow("reserved") << u"+?#[]@&;=,$\""_s << u"%2B%3F%23%5B%5D%40%26%3B%3D%2C%24%22"_s
                              << u"%2B%3F%23%5B%5D%40%26%3B%3D%2C%24%22"_s;
    QTest::newRow("percent sign alone") << u"100%"_s << u"100%"_s << u"100%25"_s;
    QTest::newRow("encoded percent sign") << u"%25"_s << u"%25"_s << u"%2525"_s;
    QTest::newRow("percent signs in a row") << u"%%25%"_s << u"%%25%"_s << u"%25%2525%25"_s;
    QTest::newRow("control characters") << u"\0\t\n\x7f"_s << u"%00%09%0A%7F"_s << u"%00%09%0A%7F"_s;
    QTest::newRow("three bytes") << u"€"_s << u"%E2%82%AC"_s << u"%E2%82%AC"_s;
    QTest::newRow("four bytes") << u"😀"_s << u"%F0%9F%98%80"_s << u"%F0%9F%98%80"_s;
    QTest::newRow("half of a pair") << QString(QChar(0xd83d)) << u"%3F"_s << u"%3F"_s;
    QTest::newRow("empty") << QString() << QString() << QString();
}

void TestStringPercent::encode()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).toPercentEncoded()), "some");
    QTEST(QString(s3String(text).toPercentEncodedAll()), "all");
}

void TestStringPercent::encodeIsQtsCodingButForPercentSigns()
{
    for (int code = 0; code <= 0xffff; ++code) {
        const QString text = u"x%"_s + QChar(char16_t(code)) + u'y';
        const QByteArray bytes = text.toUtf8();
        QByteArray expected = bytes.toPercentEncoding("!/()*':", QByteArray(), '%');
        expected.replace("%25", "%");
        QCOMPARE(s3String(text).toPercentEncoded(), QString::fromLatin1(expected));
        QCOMPARE(s3String(text).toPercentEncodedAll(), QString::fromLatin1(bytes.toPercentEncoding()));
    }
}

void TestStringPercent::encodedTextPassesUnchanged()
{
    const s3String once = s3String(u"Größe 50% & mehr?"_s).toPercentEncoded();
    QCOMPARE(once.toPercentEncoded(), once);
}

void TestStringPercent::decode_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plus, blank, last percent sign") << u"a+b%20c%"_s << u"a b c%"_s;
    QTest::newRow("no number") << u"%zz"_s << u"%zz"_s;
    QTest::newRow("letter at the end") << u"ab%41"_s << u"abA"_s;
    QTest::newRow("one digit at the end") << u"ab%4"_s << u"ab%4"_s;
    QTest::newRow("lower and upper case") << u"%c3%A4"_s << u"ä"_s;
    QTest::newRow("half a number") << u"%4z%z4"_s << u"%4z%z4"_s;
    QTest::newRow("percent sign before a number") << u"%%41"_s << u"%A"_s;
    QTest::newRow("percent sign encoded") << u"%2541"_s << u"%41"_s;
    QTest::newRow("null cuts") << u"ab%00cd"_s << u"ab"_s;
    QTest::newRow("null of the text cuts as well") << u"a+b\0c"_s << u"a b"_s;
    QTest::newRow("null without anything decoded") << u"ab\0c"_s << u"ab\0c"_s;
    QTest::newRow("four bytes") << u"%F0%9F%98%80"_s << u"😀"_s;
    QTest::newRow("beside text beyond ASCII") << u"ä%20€"_s << u"ä €"_s;
    QTest::newRow("no UTF-8") << u"a%FFb"_s << u"a\ufffdb"_s;
    QTest::newRow("cut UTF-8") << u"a%C3"_s << u"a\ufffd"_s;
    QTest::newRow("percent signs alone") << u"%%%"_s << u"%%%"_s;
    QTest::newRow("empty") << QString() << QString();
}

void TestStringPercent::decode()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).fromPercentEncoded()), "expected");
}

void TestStringPercent::decodeAcceptsWhatReadsAsANumber()
{
    // Each pair of bytes that QByteArray::toInt takes for a number, signs and blanks included.
    for (int first = 1; first < 128; ++first) {
        for (int second = 1; second < 128; ++second) {
            const QByteArray pair = QByteArray(1, char(first)) + char(second);
            bool ok = false;
            const int value = pair.toInt(&ok, 16);
            // The byte behind no number may be a sign or the next thing to decode.
            if (!ok && pair.contains('%'))
                continue;
            const QByteArray expected
                = ok ? QByteArray(1, char(value)) : '%' + QByteArray(pair).replace('+', ' ');
            const s3String text = QString::fromLatin1('%' + pair + '.');
            QCOMPARE(text.fromPercentEncoded(), QString::fromUtf8((expected + '.').constData()));
        }
    }
    // So a blank behind a percent sign may begin a number of one digit.
    QCOMPARE(s3String(u"100% and"_s).fromPercentEncoded(), u"100\nnd"_s);
}

void TestStringPercent::decodeReturnsCleanTextItself()
{
    for (const QString &text : {u"plain ä€"_s, u"100% of %zz"_s, QString(QChar(0xd83d)) + u"%"_s}) {
        const s3String clean = QString(text.constData(), text.size());
        const s3String result = clean.fromPercentEncoded();
        QCOMPARE(result, text);
        QCOMPARE(static_cast<const void *>(result.constData()), static_cast<const void *>(clean.constData()));
    }
}

void TestStringPercent::roundTrip()
{
    const s3String text = u"a b+c/ä€😀?%&=100%25"_s;
    QCOMPARE(text.toPercentEncodedAll().fromPercentEncoded(), text);
    QCOMPARE(QUrl::fromPercentEncoding(text.toPercentEncodedAll().toLatin1()), text);
}

QTEST_APPLESS_MAIN(TestStringPercent)
#include "tst_s3string_percent.moc"
