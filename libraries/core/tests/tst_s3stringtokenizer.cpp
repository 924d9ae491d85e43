#include "s3stringtokenizer.h"

#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

class TestStringTokenizer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tokens_data();
    void tokens();
    void delimitersForOneCall();
    void delimitersForOneCallThatFindNothing();
    void restLeavesThePosition();
    void restIsTrimmed();
    void restBehindTheEnd();
    void tokenAloneOfBlanksEndsATrimmedScan();
    void resultIsTheToken();
    void leadingCaretInvertsTheDelimiter();
    void tokensStayWhenCopied();
    void halfPairsKeepTheirTokens_data();
    void halfPairsKeepTheirTokens();
    void tableAndExpressionAgree();
    void longTextsHaveTheTokensOfShortOnes_data();
    void longTextsHaveTheTokensOfShortOnes();
    void manyTokensTakeLinearTime();
};

namespace
{

QStringList allTokens(s3StringTokenizer &tokenizer)
{
    QStringList result;
    while (!tokenizer.next().isEmpty())
        result += tokenizer.token();
    return result;
}

}

void TestStringTokenizer::tokens_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("delimiters");
    QTest::addColumn<bool>("trim");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("one delimiter") << u"a,b,c"_s << u","_s << false << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("list of characters")
        << u"a,b;c"_s << u";,"_s << false << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("runs of delimiters") << u",,a,,b,"_s << u","_s << false << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("no delimiter in the text") << u"abc"_s << u","_s << false << QStringList{u"abc"_s};
    QTest::newRow("empty text") << QString() << u","_s << false << QStringList();
    QTest::newRow("delimiters alone") << u",,,"_s << u","_s << false << QStringList();
    QTest::newRow("blanks stay") << u" a , b "_s << u","_s << false << QStringList{u" a "_s, u" b "_s};
    QTest::newRow("trimmed") << u" a , b "_s << u","_s << true << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("only blanks are trimmed")
        << u" \ta,b\u00a0 "_s << u","_s << true << QStringList{u"\ta"_s, u"b\u00a0"_s};
    QTest::newRow("blank inside a trimmed token") << u" a b "_s << u","_s << true << QStringList{u"a b"_s};
    QTest::newRow("line ends") << u"a\r\n\r\nb\nc"_s << u"\r\n"_s << false
                               << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("delimiter beyond ASCII")
        << u"a§b→c"_s << u"→§"_s << false << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("text beyond ASCII") << u"ä😀,ö"_s << u","_s << false << QStringList{u"ä😀"_s, u"ö"_s};
    QTest::newRow("caret behind the first place")
        << u"a^b,c"_s << u",^"_s << false << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("null character") << u"a\0b"_s << u"\0"_s << false << QStringList{u"a"_s, u"b"_s};
    // What follows stands inside the brackets of an expression as it is.
    QTest::newRow("range") << u"1a2b3"_s << u"a-c"_s << false << QStringList{u"1"_s, u"2"_s, u"3"_s};
    QTest::newRow("class escape") << u"a1 2\tb"_s << u"\\s"_s << false
                                  << QStringList{u"a1"_s, u"2"_s, u"b"_s};
    QTest::newRow("escaped bracket") << u"a]b[c"_s << u"\\[\\]"_s << false
                                     << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("hyphen first") << u"a-b,c"_s << u"-,"_s << false << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("POSIX class") << u"a1b2"_s << u"[:digit:]"_s << false << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("bracket alone") << u"a]b"_s << u"]"_s << false << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("delimiter outside the basic plane")
        << u"a😀b"_s << u"😀"_s << false << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("empty list") << u"abc"_s << QString() << false << QStringList();
    QTest::newRow("invalid list") << u"abc"_s << u"z-a"_s << false << QStringList();
}

void TestStringTokenizer::tokens()
{
    QFETCH(QString, text);
    QFETCH(QString, delimiters);
    QFETCH(bool, trim);
    s3StringTokenizer tokenizer(text, delimiters, trim);
    QTEST(allTokens(tokenizer), "expected");
    // Once at the end it stays there.
    QCOMPARE(tokenizer.next(), QString());
    QCOMPARE(tokenizer.next(u"x"_s), QString());
    QCOMPARE(tokenizer.rest(), QString());
}

void TestStringTokenizer::delimitersForOneCall()
{
    s3StringTokenizer tokenizer(u"key=a,b=c,d"_s, u","_s);
    QCOMPARE(tokenizer.next(u"="_s), u"key"_s);
    // The "=" is no delimiter any more and so belongs to the next token.
    QCOMPARE(tokenizer.next(), u"=a"_s);
    QCOMPARE(tokenizer.next(u"a-z,"_s), u"="_s);
    QCOMPARE(tokenizer.next(), u"c"_s);
    QCOMPARE(tokenizer.next(), u"d"_s);
    QCOMPARE(tokenizer.next(), QString());
}

void TestStringTokenizer::delimitersForOneCallThatFindNothing()
{
    s3StringTokenizer tokenizer(u"aaa,b"_s, u","_s);
    QCOMPARE(tokenizer.next(u"ab,"_s), QString());
    // The scan is at the end of the text then, although "," alone would find more.
    QCOMPARE(tokenizer.next(), QString());
}

void TestStringTokenizer::restLeavesThePosition()
{
    s3StringTokenizer tokenizer(u"a, b, c"_s, u", "_s);
    QCOMPARE(tokenizer.next(), u"a"_s);
    QCOMPARE(tokenizer.rest(), u"b, c"_s);
    QCOMPARE(tokenizer.token(), u"b, c"_s);
    QCOMPARE(tokenizer.rest(), u"b, c"_s);
    QCOMPARE(tokenizer.next(), u"b"_s);
    QCOMPARE(tokenizer.rest(), u"c"_s);
}

void TestStringTokenizer::restIsTrimmed()
{
    s3StringTokenizer tokenizer(u"a,, b , c  "_s, u","_s, true);
    QCOMPARE(tokenizer.next(), u"a"_s);
    QCOMPARE(tokenizer.rest(), u"b , c"_s);
}

void TestStringTokenizer::restBehindTheEnd()
{
    s3StringTokenizer delimitersLeft(u"a,,"_s, u","_s);
    QCOMPARE(delimitersLeft.next(), u"a"_s);
    QCOMPARE(delimitersLeft.rest(), QString());
    s3StringTokenizer nothingLeft(u"a"_s, u","_s);
    QCOMPARE(nothingLeft.next(), u"a"_s);
    QCOMPARE(nothingLeft.rest(), QString());
    QCOMPARE(nothingLeft.token(), QString());
}

void TestStringTokenizer::tokenAloneOfBlanksEndsATrimmedScan()
{
    s3StringTokenizer tokenizer(u"a,  ,b"_s, u","_s, true);
    QCOMPARE(tokenizer.next(), u"a"_s);
    QCOMPARE(tokenizer.next(), QString());
    // Whoever goes on all the same finds what follows.
    QCOMPARE(tokenizer.next(), u"b"_s);
}

void TestStringTokenizer::resultIsTheToken()
{
    s3StringTokenizer tokenizer(u"a,b"_s, u","_s);
    QCOMPARE(&tokenizer.next(), &tokenizer.token());
    QCOMPARE(&tokenizer.rest(), &tokenizer.token());
    tokenizer.token() = u"changed"_s;
    QCOMPARE(tokenizer.token(), u"changed"_s);
    QCOMPARE(tokenizer.next(), u"b"_s);
}

void TestStringTokenizer::leadingCaretInvertsTheDelimiter()
{
    // "[^^,]" looks for the token's begin and "[^,]" for its end, so it ends where it begins.
    s3StringTokenizer tokenizer(u",ab,^c"_s, u"^,"_s);
    QCOMPARE(tokenizer.next(), QString());
    QCOMPARE(tokenizer.rest(), u"ab,^c"_s);
}

void TestStringTokenizer::tokensStayWhenCopied()
{
    s3StringTokenizer tokenizer(u"first,second,3"_s, u","_s);
    const QString first = tokenizer.next();
    const QString second = tokenizer.next();
    tokenizer.next() += u"x"_s;
    QCOMPARE(first, u"first"_s);
    QCOMPARE(second, u"second"_s);
    QCOMPARE(tokenizer.token(), u"3x"_s);
}

void TestStringTokenizer::halfPairsKeepTheirTokens_data()
{
    QTest::addColumn<QString>("delimiters");
    QTest::newRow("table") << u","_s;
    QTest::newRow("expression") << u"\\,"_s;
}

void TestStringTokenizer::halfPairsKeepTheirTokens()
{
    QFETCH(QString, delimiters);
    const QString high = u'a' + QString(QChar(0xd83d));
    const QString low = QString(QChar(0xde00)) + u'b';
    s3StringTokenizer tokenizer(high + u',' + low + u",c😀"_s, delimiters);
    QCOMPARE(allTokens(tokenizer), (QStringList{high, low, u"c😀"_s}));
}

void TestStringTokenizer::tableAndExpressionAgree()
{
    // Every text of six units over a small alphabet, read both ways.
    static constexpr char16_t alphabet[] = u"a,; ";
    for (int number = 0; number < 4096; ++number) {
        QString text;
        for (int digit = 0, rest = number; digit < 6; ++digit, rest /= 4)
            text += QChar(alphabet[rest % 4]);
        for (const bool trim : {false, true}) {
            s3StringTokenizer table(text, u",;"_s, trim);
            s3StringTokenizer expression(text, u"\\,;"_s, trim);
            QCOMPARE(table.rest(), expression.rest());
            for (int call = 0; call < 5; ++call)
                QCOMPARE(table.next(), expression.next());
        }
    }
}

void TestStringTokenizer::longTextsHaveTheTokensOfShortOnes_data()
{
    QTest::addColumn<QString>("delimiters");
    QTest::newRow("plain") << u" .,→"_s;
    QTest::newRow("escapes") << u"\\s.,"_s;
    QTest::newRow("escapes beyond ASCII") << u"\\s.,→"_s;
    QTest::newRow("range") << u"a-e "_s;
    QTest::newRow("range beyond ASCII") << u"!-/À-ÿ "_s;
    QTest::newRow("negated escape") << u"\\W"_s;
    QTest::newRow("POSIX class") << u"[:punct:] "_s;
    QTest::newRow("brackets") << u"\\[\\] "_s;
    QTest::newRow("class and more") << u"a]b"_s;
    QTest::newRow("null character") << u"\\x00 "_s;
}

void TestStringTokenizer::longTextsHaveTheTokensOfShortOnes()
{
    QFETCH(QString, delimiters);
    const QString text = u"abc, déf→g! xb]yab] cb] [x] 😀 \0 end. "_s;
    s3StringTokenizer tokenizer(text, delimiters);
    const QStringList expected = allTokens(tokenizer);
    QVERIFY(expected.size() > 1);
    // The last token may run on.
    s3StringTokenizer longTokenizer(text + QString(5000, u'z'), delimiters);
    for (const QString &token : expected.first(expected.size() - 1))
        QCOMPARE(longTokenizer.next(), token);
}

void TestStringTokenizer::manyTokensTakeLinearTime()
{
    // An expression that checked the whole text at each token would need minutes here.
    const QString text = u"word, "_s.repeated(100000);
    s3StringTokenizer tokenizer(text, u"\\s,"_s);
    QCOMPARE(allTokens(tokenizer).size(), 100000);
}

QTEST_APPLESS_MAIN(TestStringTokenizer)
#include "tst_s3stringtokenizer.moc"
