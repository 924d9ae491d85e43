#include "s3string.h"

#include "s3string_p.h"
#include "s3translate.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestStringMessages final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void references_data();
    void references();
    void withTextFromTheDictionary();
    void withKeyFromTheDictionary();
    void replacementIsNotScannedAgain();
    void manyReferencesTakeLinearTime_data();
    void manyReferencesTakeLinearTime();
};

void TestStringMessages::references_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("count");
    QTest::newRow("number") << u"a Xmsg(12) b"_s << u"a <12> b"_s << 1;
    QTest::newRow("further text") << u"Xmsg(12,text)"_s << u"<12>"_s << 1;
    QTest::newRow("quoted text with a parenthesis") << u"Xmsg(12,\"a)b\")"_s << u"<12>"_s << 1;
    QTest::newRow("quoted text without one") << u"Xmsg(12,\"ab\")c"_s << u"<12>c"_s << 1;
    QTest::newRow("text around the quotes") << u"Xmsg(12, x \"a)b\" y)"_s << u"<12>b\" y)"_s << 1;
    QTest::newRow("quote before a parenthesis only in the next one")
        << u"Xmsg(1,\"a) Xmsg(2,\"b\") c"_s << u"<1> c"_s << 1;
    QTest::newRow("quote that is not closed") << u"Xmsg(12,\"a)b\" c"_s << u"<12>b\" c"_s << 1;
    QTest::newRow("quote before the comma") << u"Xmsg(\"12,a)"_s << u"Xmsg(\"12,a)"_s << 0;
    QTest::newRow("quote behind the reference") << u"Xmsg(12,a) \"b\")"_s << u"<12> \"b\")"_s << 1;
    QTest::newRow("comma behind the reference") << u"Xmsg(12),\"b\")"_s << u"<12>,\"b\")"_s << 1;
    QTest::newRow("two commas") << u"Xmsg(12,a,b)"_s << u"<12>"_s << 1;
    QTest::newRow("two in a row") << u"Xmsg(1)Xmsg(2)"_s << u"<1><2>"_s << 2;
    QTest::newRow("the same twice") << u"Xmsg(1) Xmsg(1)"_s << u"<1> <1>"_s << 2;
    QTest::newRow("no number") << u"Xmsg(x) Xmsg(5)"_s << u"Xmsg(x) <5>"_s << 1;
    QTest::newRow("number and letter") << u"Xmsg(5x)"_s << u"Xmsg(5x)"_s << 0;
    QTest::newRow("number 0") << u"Xmsg(0)"_s << u"Xmsg(0)"_s << 0;
    QTest::newRow("no number at all") << u"Xmsg()Xmsg(,a)"_s << u"Xmsg()Xmsg(,a)"_s << 0;
    QTest::newRow("negative") << u"Xmsg(-5)"_s << u"<-5>"_s << 1;
    QTest::newRow("blanks around") << u"Xmsg( 5 , a)"_s << u"<5>"_s << 1;
    QTest::newRow("too great") << u"Xmsg(99999999999)"_s << u"Xmsg(99999999999)"_s << 0;
    QTest::newRow("other case") << u"xmsg(5)XMSG(5)"_s << u"xmsg(5)XMSG(5)"_s << 0;
    QTest::newRow("inside a word") << u"aXmsg(5)b"_s << u"a<5>b"_s << 1;
    QTest::newRow("nested") << u"Xmsg(Xmsg(5))"_s << u"Xmsg(Xmsg(5))"_s << 0;
    QTest::newRow("number 0 with a quoted end")
        << u"Xmsg(0,\"Xmsg(1)\")Xmsg(2)"_s << u"Xmsg(0,\"Xmsg(1)\")<2>"_s << 1;
    QTest::newRow("none") << u"text (5)"_s << u"text (5)"_s << 0;
    QTest::newRow("empty") << QString() << QString() << 0;
}

void TestStringMessages::references()
{
    QFETCH(QString, text);
    const int count = s3ExpandMessageReferences(text, [](int number) { return u"<%1>"_s.arg(number); });
    QTEST(text, "expected");
    QTEST(count, "count");
}

void TestStringMessages::withTextFromTheDictionary()
{
    s3String text = u"1: Xmsg(12,\"a)b\") 2: Xmsg(0)"_s;
    QCOMPARE(text.expandMessageReferences(true), 1);
    QCOMPARE(text, u"1: "_s + s3Message(12) + u" 2: Xmsg(0)"_s);
    // No dictionary is open here.
    QCOMPARE(s3Message(12), u"*** 12 ***"_s);
}

void TestStringMessages::withKeyFromTheDictionary()
{
    s3String text = u"1: Xmsg(5) 2: Xmsg(12)"_s;
    QCOMPARE(text.expandMessageReferences(false), 2);
    QCOMPARE(text, u"1: ("_s + s3MessageKey(5) + u") 2: ("_s + s3MessageKey(12) + u')');
    QCOMPARE(text, u"1: () 2: ()"_s);
}

void TestStringMessages::replacementIsNotScannedAgain()
{
    QString text = u"Xmsg(1)Xmsg(2)"_s;
    QCOMPARE(s3ExpandMessageReferences(text, [](int) { return u"Xmsg(7)"_s; }), 2);
    QCOMPARE(text, u"Xmsg(7)Xmsg(7)"_s);
    // Not even together with what follows.
    text = u"Xmsg(1)(2)"_s;
    QCOMPARE(s3ExpandMessageReferences(text, [](int) { return u"Xmsg"_s; }), 1);
    QCOMPARE(text, u"Xmsg(2)"_s);
}

void TestStringMessages::manyReferencesTakeLinearTime_data()
{
    QTest::addColumn<QString>("piece");
    QTest::addColumn<QString>("expectedPiece");
    QTest::newRow("numbers") << u"text Xmsg(12) "_s << u"text <> "_s;
    QTest::newRow("quote that is not closed") << u"Xmsg(12,\"a)"_s << u"<>"_s;
    QTest::newRow("no number") << u"Xmsg(x)"_s << u"Xmsg(x)"_s;
}

void TestStringMessages::manyReferencesTakeLinearTime()
{
    QFETCH(QString, piece);
    QFETCH(QString, expectedPiece);
    static constexpr int repetitions = 200000;
    QString text = piece.repeated(repetitions);
    s3ExpandMessageReferences(text, [](int) { return u"<>"_s; });
    QVERIFY(text == expectedPiece.repeated(repetitions));
}

QTEST_APPLESS_MAIN(TestStringMessages)
#include "tst_s3string_messages.moc"
