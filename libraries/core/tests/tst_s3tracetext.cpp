#include "test/s3tracetext.h"

#include <QColor>
#include <QModelIndex>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QStandardItemModel>
#include <QTest>

using namespace Qt::StringLiterals;

class TestTraceText final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsWithTheFunction();
    void pointers_data();
    void pointers();
    void values_data();
    void values();
    void modelIndex();
    void piecesFollowEachOther();
    void percentSignsInNamesAndValuesStay();
};

void TestTraceText::startsWithTheFunction()
{
    QCOMPARE(s3TraceText(u"s3Dir::setCurrent"_s).text(), u"s3Dir::setCurrent()"_s);
}

void TestTraceText::pointers_data()
{
    QTest::addColumn<quint64>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("null") << quint64(0) << u"f() p=nullptr"_s;
    QTest::newRow("upper half in use") << quint64(0x0000021e4a80c3d0) << u"f() p=0x0000021e4a80c3d0"_s;
    QTest::newRow("all digits") << quint64(0xfedcba9876543210) << u"f() p=0xfedcba9876543210"_s;
    QTest::newRow("below 2^32: 8 digits") << quint64(0xffffffff) << u"f() p=0xffffffff"_s;
    QTest::newRow("2^32: 16 digits") << quint64(0x100000000) << u"f() p=0x0000000100000000"_s;
    QTest::newRow("small: 8 digits") << quint64(0x1) << u"f() p=0x00000001"_s;
}

void TestTraceText::pointers()
{
    QFETCH(quint64, value);
    QFETCH(QString, text);
    QCOMPARE(s3TraceText(u"f"_s).pointer(u"p"_s, reinterpret_cast<const void *>(quintptr(value))).text(),
             text);
}

void TestTraceText::values_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("character") << QVariant(QChar(u'x')) << u" v='x'"_s;
    QTest::newRow("text") << QVariant(u"größer €"_s) << u" v=\"größer €\""_s;
    QTest::newRow("empty text") << QVariant(QString()) << u" v=\"\""_s;
    QTest::newRow("line feed and tab are written out") << QVariant(u"a\n\tb\n"_s) << u" v=\"a\\n\\tb\\n\""_s;
    QTest::newRow("other control characters stay") << QVariant(u"a\rb"_s) << u" v=\"a\rb\""_s;
    QTest::newRow("quotes and backslashes stay") << QVariant(u"\"\\n"_s) << u" v=\"\"\\n\""_s;
    QTest::newRow("empty list") << QVariant(QStringList()) << u" v={ }"_s;
    QTest::newRow("list of one") << QVariant(QStringList(u"a"_s)) << u" v={ \"a\" }"_s;
    QTest::newRow("list") << QVariant(QStringList({u"a"_s, QString(), u"c d"_s}))
                          << u" v={ \"a\", \"\", \"c d\" }"_s;
    QTest::newRow("point") << QVariant(QPoint(-1, 2)) << u" v=(-1, 2)"_s;
    QTest::newRow("size") << QVariant(QSize(3, 4)) << u" v=(3 x 4)"_s;
    QTest::newRow("rectangle") << QVariant(QRect(1, 2, 3, 4)) << u" v=((1, 2), (3, 5), (3 x 4))"_s;
    QTest::newRow("no model index") << QVariant(QModelIndex()) << u" v=(-1, -1)"_s;
    QTest::newRow("invalid colour") << QVariant(QColor()) << u" v=invalid"_s;
    QTest::newRow("transparent black is nothing") << QVariant(QColor(0, 0, 0, 0)) << u" v="_s;
    QTest::newRow("opaque colour") << QVariant(QColor(255, 0, 0)) << u" v=#ff0000"_s;
    QTest::newRow("colour with alpha") << QVariant(QColor(255, 0, 0, 128)) << u" v=#ff0000, 0x80"_s;
    QTest::newRow("transparent white") << QVariant(QColor(255, 255, 255, 0)) << u" v=#ffffff, 0x00"_s;
    QTest::newRow("number") << QVariant(-5) << u" v=-5"_s;
    QTest::newRow("bool") << QVariant(true) << u" v=true"_s;
    QTest::newRow("bytes") << QVariant(QByteArray("ab")) << u" v=ab"_s;
    QTest::newRow("invalid") << QVariant() << u" v="_s;
}

void TestTraceText::values()
{
    QFETCH(QVariant, value);
    QFETCH(QString, text);
    QCOMPARE(s3TraceText(u"f"_s).argument(u"v"_s, value).text(), u"f()"_s + text);
}

void TestTraceText::modelIndex()
{
    const QStandardItemModel model(3, 4);
    QCOMPARE(s3TraceText(u"f"_s).argument(u"v"_s, QVariant(model.index(2, 1))).text(), u"f() v=(2, 1)"_s);
}

void TestTraceText::piecesFollowEachOther()
{
    QCOMPARE(s3TraceText(u"f"_s)
                 .pointer(u"this"_s, nullptr)
                 .argument(u"on"_s, true)
                 .append(u" - "_s)
                 .argument(u"name"_s, u"x"_s)
                 .text(),
             u"f() this=nullptr on=true -  name=\"x\""_s);
}

void TestTraceText::percentSignsInNamesAndValuesStay()
{
    QCOMPARE(s3TraceText(u"%1"_s).argument(u"%2"_s, u"%1%2"_s).argument(u"a"_s, 7).text(),
             u"%1() %2=\"%1%2\" a=7"_s);
}

QTEST_GUILESS_MAIN(TestTraceText)
#include "tst_s3tracetext.moc"
