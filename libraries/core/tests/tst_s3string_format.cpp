#include "s3string.h"

#include <QColor>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QStringListModel>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestStringFormat final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void argWithOneValue_data();
    void argWithOneValue();
    void argFillsAllAtOnce();
    void argTakesAnyKindOfText();
    void argOfQStringStays();
    void fromBool();
    void fromInt_data();
    void fromInt();
    void fromHex_data();
    void fromHex();
    void fromPair();
    void geometry();
    void modelIndex();
    void color_data();
    void color();
    void stringList_data();
    void stringList();
    void fromDouble_data();
    void fromDouble();
    void hexLists();
};

void TestStringFormat::argWithOneValue_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("placeholder") << u"<%1>"_s << u"x"_s << u"<x>"_s;
    QTest::newRow("twice") << u"%1 %1"_s << u"x"_s << u"x x"_s;
    QTest::newRow("lowest number") << u"%3 %2"_s << u"x"_s << u"%3 x"_s;
    QTest::newRow("percent sign in the value") << u"%1"_s << u"%1 %2"_s << u"%1 %2"_s;
    QTest::newRow("empty value") << u"<%1>"_s << QString() << u"<>"_s;
    QTest::newRow("percent sign in the format") << u"100% %1"_s << u"x"_s << u"100% x"_s;
}

void TestStringFormat::argWithOneValue()
{
    QFETCH(QString, format);
    QFETCH(QString, value);
    QTEST(s3String::arg(format, value), "expected");
    QTEST(format.arg(value, 0, u' '), "expected");
}

void TestStringFormat::argFillsAllAtOnce()
{
    const QString one = u"%2"_s;
    const QString two = u"%1"_s;
    QCOMPARE(s3String::arg(u"%1-%2"_s, one, two), u"%2-%1"_s);
    QCOMPARE(s3String::arg(u"%2-%1"_s, one, two), u"%1-%2"_s);
    QCOMPARE(s3String::arg(u"%1%2%3"_s, u"a"_s, u"b"_s, u"c"_s), u"abc"_s);
    QCOMPARE(s3String::arg(u"%1%2%3%4"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s), u"abcd"_s);
    QCOMPARE(s3String::arg(u"%1%2%3%4%5"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s), u"abcde"_s);
    QCOMPARE(s3String::arg(u"%1%2%3%4%5%6"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s), u"abcdef"_s);
    QCOMPARE(s3String::arg(u"%1%2%3%4%5%6%7"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s),
             u"abcdefg"_s);
    QCOMPARE(
        s3String::arg(u"%1%2%3%4%5%6%7%8"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s, u"h"_s),
        u"abcdefgh"_s);
    QCOMPARE(s3String::arg(u"%9%8%7%6%5%4%3%2%1"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s,
                           u"h"_s, u"i"_s),
             u"ihgfedcba"_s);
}

void TestStringFormat::argTakesAnyKindOfText()
{
    QString format = u"%1 %2"_s;
    const s3String value = u"x"_s;
    QCOMPARE(s3String::arg(format, value, QChar(u'y')), u"x y"_s);
    QCOMPARE(s3String::arg(s3String(format), s3String(u"x"_s), "y"_L1), u"x y"_s);
    QCOMPARE(format, u"%1 %2"_s);
}

void TestStringFormat::argOfQStringStays()
{
    const s3String format = u"<%1>"_s;
    QCOMPARE(format.arg(u"x"_s), u"<x>"_s);
    QCOMPARE(format.arg(u"x"_s, 3), u"<  x>"_s);
    QCOMPARE(format.arg(5), u"<5>"_s);
    QCOMPARE(format.arg(1.5), u"<1.5>"_s);
}

void TestStringFormat::fromBool()
{
    QCOMPARE(s3String::fromBool(true), u"true"_s);
    QCOMPARE(s3String::fromBool(false), u"false"_s);
}

void TestStringFormat::fromInt_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("base");
    QTest::addColumn<QString>("expected");
    QTest::newRow("decimal") << 1234 << 10 << u"1234"_s;
    QTest::newRow("negative") << -5 << 10 << u"-5"_s;
    QTest::newRow("hexadecimal") << 255 << 16 << u"ff"_s;
    QTest::newRow("binary") << 5 << 2 << u"101"_s;
    QTest::newRow("greatest base") << 35 << 36 << u"z"_s;
    QTest::newRow("least") << std::numeric_limits<int>::min() << 10 << u"-2147483648"_s;
}

void TestStringFormat::fromInt()
{
    QFETCH(int, value);
    QFETCH(int, base);
    QTEST(s3String::fromInt(value, base), "expected");
    QCOMPARE(s3String::fromInt(value), QString::number(value));
}

void TestStringFormat::fromHex_data()
{
    QTest::addColumn<quint64>("value");
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("prefix");
    QTest::addColumn<QString>("expected");
    QTest::newRow("whole width") << quint64(255) << 0 << true << u"0x00000000000000ff"_s;
    QTest::newRow("without prefix") << quint64(255) << 2 << false << u"ff"_s;
    QTest::newRow("never cut") << quint64(4096) << 2 << true << u"0x1000"_s;
    QTest::newRow("zero") << quint64(0) << 4 << true << u"0x0000"_s;
    QTest::newRow("zero, width 1") << quint64(0) << 1 << false << u"0"_s;
    QTest::newRow("greatest") << std::numeric_limits<quint64>::max() << 0 << false << u"ffffffffffffffff"_s;
    QTest::newRow("lower case") << quint64(0xABCDEF) << 8 << true << u"0x00abcdef"_s;
    QTest::newRow("wider than a value") << quint64(1) << 20 << false << u"00000000000000000001"_s;
}

void TestStringFormat::fromHex()
{
    QFETCH(quint64, value);
    QFETCH(int, width);
    QFETCH(bool, prefix);
    QTEST(s3String::fromHex(value, width, prefix), "expected");
}

void TestStringFormat::fromPair()
{
    QCOMPARE(s3String::fromPair(1, -2, u"%1/%2"_s), u"1/-2"_s);
    QCOMPARE(s3String::fromPair(1, -2, u"%2, %1"_s), u"-2, 1"_s);
}

void TestStringFormat::geometry()
{
    QCOMPARE(s3String::fromPoint(QPoint(-3, 4)), u"(-3, 4)"_s);
    QCOMPARE(s3String::fromSize(QSize(3, 4)), u"(3 x 4)"_s);
    QCOMPARE(s3String::fromSize(QSize()), u"(-1 x -1)"_s);
    QCOMPARE(s3String::fromRect(QRect(1, 2, 3, 4)), u"((1, 2), (3, 5), (3 x 4))"_s);
    QCOMPARE(s3String::fromRect(QRect()), u"((0, 0), (-1, -1), (0 x 0))"_s);
}

void TestStringFormat::modelIndex()
{
    const QStringListModel model({u"a"_s, u"b"_s});
    QCOMPARE(s3String::fromModelIndex(model.index(1, 0)), u"(1, 0)"_s);
    QCOMPARE(s3String::fromModelIndex(QModelIndex()), u"(-1, -1)"_s);
}

void TestStringFormat::color_data()
{
    QTest::addColumn<QColor>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("opaque") << QColor(Qt::red) << u"#ff0000"_s;
    QTest::newRow("half transparent") << QColor(255, 0, 0, 128) << u"#ff0000, 0x80"_s;
    QTest::newRow("small alpha") << QColor(1, 2, 3, 4) << u"#010203, 0x04"_s;
    QTest::newRow("invalid") << QColor() << u"invalid"_s;
    QTest::newRow("transparent black") << QColor(0, 0, 0, 0) << QString();
    QTest::newRow("Qt::transparent") << QColor(Qt::transparent) << QString();
    QTest::newRow("transparent, not black") << QColor(1, 0, 0, 0) << u"#010000, 0x00"_s;
    QTest::newRow("opaque black") << QColor(Qt::black) << u"#000000"_s;
}

void TestStringFormat::color()
{
    QFETCH(QColor, value);
    QTEST(s3String::fromColor(value), "expected");
}

void TestStringFormat::stringList_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << QStringList() << u"{ }"_s;
    QTest::newRow("one item") << QStringList{u"a"_s} << u"{ \"a\" }"_s;
    QTest::newRow("two items") << QStringList{u"a"_s, u"b c"_s} << u"{ \"a\", \"b c\" }"_s;
    QTest::newRow("empty item") << QStringList{QString()} << u"{ \"\" }"_s;
    QTest::newRow("double quote inside") << QStringList{u"a\"b"_s} << u"{ \"a\"b\" }"_s;
}

void TestStringFormat::stringList()
{
    QFETCH(QStringList, list);
    QTEST(s3String::fromStringList(list), "expected");
}

void TestStringFormat::fromDouble_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("decimal");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("expected");
    const QString comma = u","_s;
    const QString point = u"."_s;
    const QString none;
    QTest::newRow("German") << 1234.5 << 2 << comma << point << u"1.234,5"_s;
    QTest::newRow("English") << 1234567.25 << 2 << point << comma << u"1,234,567.25"_s;
    QTest::newRow("thousand") << 1000.0 << 0 << comma << point << u"1.000"_s;
    QTest::newRow("negative hundred thousand") << -100000.0 << 0 << comma << point << u"-100.000"_s;
    QTest::newRow("negative million") << -1000000.0 << 0 << comma << point << u"-1.000.000"_s;
    QTest::newRow("rounded up to a thousand") << 999.5 << 0 << comma << point << u"1000"_s;
    QTest::newRow("negative, rounded to a thousand") << -999.5 << 0 << comma << point << u"-1000"_s;
    QTest::newRow("trailing zero") << 0.10 << 2 << comma << none << u"0,1"_s;
    QTest::newRow("decimals are the most shown") << 5.0 << 3 << comma << none << u"5"_s;
    QTest::newRow("zeros stay without decimals") << 100.0 << 0 << comma << none << u"100"_s;
    QTest::newRow("zeros stay before the point") << 100.0 << 2 << comma << none << u"100"_s;
    QTest::newRow("zero") << 0.0 << 2 << comma << point << u"0"_s;
    QTest::newRow("half goes up") << 0.125 << 2 << point << none << u"0.13"_s;
    QTest::newRow("negative half goes down") << -0.125 << 2 << point << none << u"-0.13"_s;
    QTest::newRow("binary half goes up") << 1.005 << 2 << point << none << u"1.01"_s;
    QTest::newRow("small negative") << -0.001 << 2 << comma << none << u"-0"_s;
    QTest::newRow("shift is shown") << 0.0 << 10 << point << none << u"0.0000000001"_s;
    QTest::newRow("decimals are not grouped") << 1000.123456 << 6 << point << comma << u"1,000.123456"_s;
    QTest::newRow("longer separators") << 1234.5 << 1 << u"::"_s << u"<>"_s << u"1<>234::5"_s;
    QTest::newRow("no group separator") << 1234567.5 << 1 << comma << none << u"1234567,5"_s;
    QTest::newRow("no decimal separator") << 1234.5 << 1 << none << point << u"1.2345"_s;
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << 2 << comma << none << u"inf"_s;
    QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << 2 << comma << none << u"nan"_s;
}

void TestStringFormat::fromDouble()
{
    QFETCH(double, value);
    QFETCH(int, decimals);
    QFETCH(QString, decimal);
    QFETCH(QString, group);
    QTEST(s3String::fromDouble(value, decimals, decimal, group), "expected");
}

void TestStringFormat::hexLists()
{
    QCOMPARE(s3String(u"aä€"_s).toHexList(), u"0x0061, 0x00e4, 0x20ac"_s);
    QCOMPARE(s3String(u"😀"_s).toHexList(), u"0xd83d, 0xde00"_s);
    QCOMPARE(s3String().toHexList(), QString());
    QCOMPARE(s3String::fromBytesHex(QByteArray("\x00\x7f\x80\xff", 4)), u"0x00, 0x7f, 0x80, 0xff"_s);
    QCOMPARE(s3String::fromBytesHex(QByteArray()), QString());
}

QTEST_APPLESS_MAIN(TestStringFormat)
#include "tst_s3string_format.moc"
