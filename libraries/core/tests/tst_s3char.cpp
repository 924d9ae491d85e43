#include "s3char.h"

#include <QTest>

class TestChar final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convertsFreely();
    void compareGivesTheDifference_data();
    void compareGivesTheDifference();
    void wordCharacters_data();
    void wordCharacters();
    void invalidControls_data();
    void invalidControls();
    void onlyControlsCanBeInvalid();
};

void TestChar::convertsFreely()
{
    static_assert(sizeof(s3Char) == sizeof(QChar));
    const s3Char ch = QChar(u'ä');
    const QChar back = ch;
    QCOMPARE(back, QChar(u'ä'));
    QVERIFY(s3Char().isNull());
}

void TestChar::compareGivesTheDifference_data()
{
    QTest::addColumn<QChar>("a");
    QTest::addColumn<QChar>("b");
    QTest::addColumn<Qt::CaseSensitivity>("cs");
    QTest::addColumn<int>("difference");
    QTest::newRow("equal") << QChar(u'a') << QChar(u'a') << Qt::CaseSensitive << 0;
    QTest::newRow("behind") << QChar(u'c') << QChar(u'a') << Qt::CaseSensitive << 2;
    QTest::newRow("before") << QChar(u'a') << QChar(u'c') << Qt::CaseSensitive << -2;
    QTest::newRow("case counts") << QChar(u'a') << QChar(u'A') << Qt::CaseSensitive << 32;
    QTest::newRow("case ignored") << QChar(u'a') << QChar(u'A') << Qt::CaseInsensitive << 0;
    QTest::newRow("case ignored, umlaut") << QChar(u'Ä') << QChar(u'ä') << Qt::CaseInsensitive << 0;
    QTest::newRow("folded, not lower") << QChar(u'ς') << QChar(u'σ') << Qt::CaseInsensitive << 0;
    QTest::newRow("case ignored, order") << QChar(u'B') << QChar(u'a') << Qt::CaseInsensitive << 1;
    QTest::newRow("whole range") << QChar(0xffff) << QChar(0) << Qt::CaseSensitive << 0xffff;
    QTest::newRow("whole range, below") << QChar(0) << QChar(0xffff) << Qt::CaseSensitive << -0xffff;
}

void TestChar::compareGivesTheDifference()
{
    QFETCH(QChar, a);
    QFETCH(QChar, b);
    QFETCH(Qt::CaseSensitivity, cs);
    QTEST(s3Char::compare(a, b, cs), "difference");
}

void TestChar::wordCharacters_data()
{
    QTest::addColumn<QChar>("ch");
    QTest::addColumn<bool>("expected");
    QTest::newRow("letter") << QChar(u'x') << true;
    QTest::newRow("letter beyond ASCII") << QChar(u'ß') << true;
    QTest::newRow("digit") << QChar(u'7') << true;
    QTest::newRow("number that is no digit") << QChar(u'½') << true;
    QTest::newRow("roman numeral") << QChar(u'Ⅷ') << true;
    QTest::newRow("combining mark") << QChar(0x0301) << true;
    QTest::newRow("underscore") << QChar(u'_') << true;
    QTest::newRow("hyphen") << QChar(u'-') << false;
    QTest::newRow("other connector") << QChar(u'‿') << false;
    QTest::newRow("blank") << QChar(u' ') << false;
    QTest::newRow("null") << QChar() << false;
    QTest::newRow("half of a pair") << QChar(0xd83d) << false;
}

void TestChar::wordCharacters()
{
    QFETCH(QChar, ch);
    QTEST(s3Char(ch).isWordCharacter(), "expected");
}

void TestChar::invalidControls_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("expected");
    const QList<int> allowed{0, 9, 10, 11, 13, 16, 19, 24, 31};
    for (int code = 0; code < 33; ++code)
        QTest::addRow("code %d", code) << code << (code < 32 && !allowed.contains(code));
}

void TestChar::invalidControls()
{
    QFETCH(int, code);
    QTEST(s3Char(char16_t(code)).isInvalidControl(), "expected");
}

void TestChar::onlyControlsCanBeInvalid()
{
    for (int code = 32; code <= 0xffff; ++code)
        QVERIFY2(!s3Char(char16_t(code)).isInvalidControl(), qPrintable(QString::number(code)));
}

QTEST_APPLESS_MAIN(TestChar)
#include "tst_s3char.moc"
