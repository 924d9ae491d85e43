#include "s3string.h"

#include <QRegularExpression>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestStringLines final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replaceLineEnds_data();
    void replaceLineEnds();
    void replaceLineEndsIsRemoveAndReplace();
    void replaceLineEndsLeavesCopiesAlone();
    void namedLineEnds();
    void removeTrailingLineEnd_data();
    void removeTrailingLineEnd();
    void removeTrailingLineEndIsTheExpression();
    void lineCount_data();
    void lineCount();
    void longestLineLength_data();
    void longestLineLength();
    void lines_data();
    void lines();
};

void TestStringLines::replaceLineEnds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("replacement");
    QTest::addColumn<QString>("expected");
    QTest::newRow("line feed") << u"a\r\nb"_s << u"\n"_s << u"a\nb"_s;
    QTest::newRow("empty") << u"a\r\nb"_s << QString() << u"ab"_s;
    QTest::newRow("one character") << u"a\r\nb\nc"_s << u";"_s << u"a;b;c"_s;
    QTest::newRow("two characters") << u"a\nb\r\nc\n"_s << u"\r\n"_s << u"a\r\nb\r\nc\r\n"_s;
    QTest::newRow("longer") << u"\na\n\nb"_s << u"<br>"_s << u"<br>a<br><br>b"_s;
    QTest::newRow("line feed in the replacement") << u"a\nb"_s << u"\n\n"_s << u"a\n\nb"_s;
    QTest::newRow("carriage return as the replacement") << u"a\r\nb\n"_s << u"\r"_s << u"a\rb\r"_s;
    QTest::newRow("carriage returns alone go") << u"a\rb\r"_s << u";"_s << u"ab"_s;
    QTest::newRow("carriage returns anywhere") << u"\ra\r\r\nb\n\r"_s << u"|"_s << u"a|b|"_s;
    QTest::newRow("no line end") << u"abc"_s << u";"_s << u"abc"_s;
    QTest::newRow("line ends alone, removed") << u"\r\n\n\r"_s << QString() << QString();
    QTest::newRow("line ends alone, kept") << u"\r\n\n\r"_s << u"\r\n"_s << u"\r\n\r\n"_s;
    QTest::newRow("empty text") << QString() << u"\r\n"_s << QString();
    QTest::newRow("beyond ASCII") << u"ä\r\n😀"_s << u"→→"_s << u"ä→→😀"_s;
}

void TestStringLines::replaceLineEnds()
{
    QFETCH(QString, text);
    QFETCH(QString, replacement);
    s3String string = text;
    QCOMPARE(&string.replaceLineEnds(replacement), &string);
    QTEST(QString(string), "expected");
    // The same in a buffer that nobody shares.
    s3String own = QString(text.constData(), text.size());
    QTEST(QString(own.replaceLineEnds(replacement)), "expected");
}

void TestStringLines::replaceLineEndsIsRemoveAndReplace()
{
    static constexpr char16_t alphabet[] = u"a\r\n";
    const QStringList replacements{QString(), u"\n"_s, u"\r"_s, u";"_s, u"\r\n"_s, u"\n\n"_s, u"a\nb"_s};
    for (int number = 0; number < 729 * 9; ++number) {
        QString text;
        for (int digit = 0, rest = number; digit < 8; ++digit, rest /= 3)
            text += QChar(alphabet[rest % 3]);
        for (const QString &replacement : replacements) {
            const QString expected = QString(text).remove(u'\r').replace(u"\n"_s, replacement);
            QCOMPARE(s3String(text).replaceLineEnds(replacement), expected);
        }
    }
}

void TestStringLines::replaceLineEndsLeavesCopiesAlone()
{
    const s3String original = u"a\r\nb"_s;
    for (const QString &replacement : {QString(), u";"_s, u"\n"_s, u"<br>"_s}) {
        s3String copy = original;
        copy.replaceLineEnds(replacement);
        QCOMPARE(original, u"a\r\nb"_s);
    }
}

void TestStringLines::namedLineEnds()
{
    const s3String text = u"a\r\nb\nc\r"_s;
    QCOMPARE(text.toCrLf(), u"a\r\nb\r\nc"_s);
    QCOMPARE(text.toLf(), u"a\nb\nc"_s);
    QCOMPARE(text.toSemicolonLines(), u"a;b;c"_s);
    QCOMPARE(text, u"a\r\nb\nc\r"_s);
}

void TestStringLines::removeTrailingLineEnd_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("CR LF and blanks") << u"x\r\n  "_s << u"x"_s;
    QTest::newRow("blanks without a line end") << u"x  "_s << u"x  "_s;
    QTest::newRow("line feed") << u"x\n"_s << u"x"_s;
    QTest::newRow("one of two") << u"a\n\n"_s << u"a\n"_s;
    QTest::newRow("one of two CR LF") << u"a\r\n\r\n"_s << u"a\r\n"_s;
    QTest::newRow("several carriage returns") << u"x\r\r\r\n"_s << u"x"_s;
    QTest::newRow("white space behind") << u"x\n \t\v\f\r"_s << u"x"_s;
    QTest::newRow("no-break space behind") << u"x\n\u00a0"_s << u"x\n\u00a0"_s;
    QTest::newRow("blank before") << u"x \n"_s << u"x "_s;
    QTest::newRow("carriage return alone") << u"x\r"_s << u"x\r"_s;
    QTest::newRow("line feed inside") << u"x\ny"_s << u"x\ny"_s;
    QTest::newRow("only a line end") << u"\r\n"_s << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("half of a pair before") << QString(QChar(0xd83d)) + u"\n"_s << QString(QChar(0xd83d));
}

void TestStringLines::removeTrailingLineEnd()
{
    QFETCH(QString, text);
    s3String string = text;
    QCOMPARE(&string.removeTrailingLineEnd(), &string);
    QTEST(QString(string), "expected");
}

void TestStringLines::removeTrailingLineEndIsTheExpression()
{
    const QRegularExpression expression(u"(\\r*\\n[^\\S\\n]*)\\z"_s);
    static constexpr char16_t alphabet[] = u"a\r\n \v\u00a0";
    for (int number = 0; number < 46656; ++number) {
        QString text;
        for (int digit = 0, rest = number; digit < 6; ++digit, rest /= 6)
            text += QChar(alphabet[rest % 6]);
        QCOMPARE(s3String(text).removeTrailingLineEnd(), QString(text).remove(expression));
    }
    for (int code = 0; code <= 0xffff; ++code) {
        const QString text = u"a\n"_s + QChar(char16_t(code));
        if (!text.back().isSurrogate())
            QCOMPARE(s3String(text).removeTrailingLineEnd(), QString(text).remove(expression));
    }
}

void TestStringLines::lineCount_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("empty") << QString() << qint64(0);
    QTest::newRow("one line") << u"a"_s << qint64(1);
    QTest::newRow("closed line") << u"a\n"_s << qint64(2);
    QTest::newRow("three lines") << u"a\r\n\r\nb"_s << qint64(3);
    QTest::newRow("carriage return") << u"a\rb"_s << qint64(1);
    QTest::newRow("line feed alone") << u"\n"_s << qint64(2);
}

void TestStringLines::lineCount()
{
    QFETCH(QString, text);
    QTEST(s3String(text).lineCount(), "expected");
}

void TestStringLines::longestLineLength_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("empty") << QString() << qint64(0);
    QTest::newRow("only line ends") << u"\r\n\n"_s << qint64(0);
    QTest::newRow("one line") << u"abc"_s << qint64(3);
    QTest::newRow("first") << u"abcd\r\nab\n"_s << qint64(4);
    QTest::newRow("last") << u"a\n\nabc"_s << qint64(3);
    QTest::newRow("blanks count") << u" a \nb"_s << qint64(3);
    QTest::newRow("line of blanks") << u"a\n    \nb"_s << qint64(4);
    QTest::newRow("carriage return separates") << u"ab\rabc"_s << qint64(3);
    QTest::newRow("code units") << u"😀"_s << qint64(2);
}

void TestStringLines::longestLineLength()
{
    QFETCH(QString, text);
    QTEST(s3String(text).longestLineLength(), "expected");
}

void TestStringLines::lines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::addColumn<QString>("plain");
    QTest::addColumn<QString>("withLineEnd");
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    QTest::newRow("one line") << u"a\nb\nc"_s << 2 << 2 << u"b"_s << u"b\n"_s;
    QTest::newRow("first line") << u"a\nb\nc"_s << 1 << 1 << u"a"_s << u"a\n"_s;
    QTest::newRow("last line") << u"a\nb\nc"_s << 3 << 3 << u"c"_s << u"c\n"_s;
    QTest::newRow("two lines") << u"a\nb\nc"_s << 1 << 2 << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("all lines") << u"a\nb\nc"_s << 1 << 3 << u"a\nb\nc"_s << u"a\nb\nc\n"_s;
    QTest::newRow("last beyond the end") << u"a\nb\nc"_s << 2 << 9 << u"b\nc"_s << u"b\nc\n"_s;
    QTest::newRow("first beyond the end") << u"a\nb"_s << 5 << 6 << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("last below first") << u"a\nb"_s << 2 << 1 << QString() << QString();
    QTest::newRow("empty line") << u"a\n\nb"_s << 2 << 2 << QString() << QString();
    QTest::newRow("line and empty line") << u"a\n\nb"_s << 1 << 2 << u"a\n"_s << u"a\n"_s;
    QTest::newRow("closed text") << u"a\nb\n"_s << 2 << 9 << u"b\n"_s << u"b\n"_s;
    QTest::newRow("behind a closed text") << u"a\nb\n"_s << 3 << 3 << QString() << QString();
    QTest::newRow("carriage returns go") << u"a\r\nb\r\nc"_s << 1 << 2 << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("first at 0") << u"a\nb\nc"_s << 0 << 2 << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("both at 0") << u"a\nb"_s << 0 << 0 << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("negative") << u"a\nb"_s << -5 << -3 << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("least to greatest") << u"a\nb"_s << least << most << u"a\nb"_s << u"a\nb\n"_s;
    QTest::newRow("empty text") << QString() << 1 << 1 << QString() << QString();
    QTest::newRow("line feed alone") << u"\n"_s << 1 << 1 << QString() << QString();
}

void TestStringLines::lines()
{
    QFETCH(QString, text);
    QFETCH(int, first);
    QFETCH(int, last);
    QTEST(QString(s3String(text).lines(first, last, false)), "plain");
    QTEST(QString(s3String(text).lines(first, last, true)), "withLineEnd");
}

QTEST_APPLESS_MAIN(TestStringLines)
#include "tst_s3string_lines.moc"
