#include "s3string.h"

#include <QRegularExpression>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestString final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addsNoData();
    void constructors_data();
    void constructors();
    void assignments();
    void variantOfAnotherTypeIsEmpty_data();
    void variantOfAnotherTypeIsEmpty();
    void append();
    void comparesWithUtf8();
    void comparesLikeAQString();
    void hash_data();
    void hash();
    void hashOfRawDataReadsNothingBehindIt();
    void isBlank_data();
    void isBlank();
    void escapeNonPrintable_data();
    void escapeNonPrintable();
    void escapeNonPrintableSharesACleanString();
    void shortProductName_data();
    void shortProductName();
    void removePrefix_data();
    void removePrefix();
    void removePrefixCharacter();
    void startsWithAny_data();
    void startsWithAny();
    void trim_data();
    void trim();
    void trimBlanksTakesOnlyBlanks();
    void enclosing();
    void unquoted_data();
    void unquoted();
    void mnemonics_data();
    void mnemonics();
    void slashes();
    void elide_data();
    void elide();
    void indexOfNth_data();
    void indexOfNth();
    void section_data();
    void section();
    void indexOfWord_data();
    void indexOfWord();
    void replaceTextByCharacter_data();
    void replaceTextByCharacter();
    void splitWords_data();
    void splitWords();
    void toBool_data();
    void toBool();
    void toBoolIsTheExpression();
    void toDouble_data();
    void toDouble();
    void isAscii();
};

void TestString::addsNoData()
{
    static_assert(sizeof(s3String) == sizeof(QString));
    const s3String text = u"x"_s;
    const QString back = text;
    QCOMPARE(back.constData(), text.constData());
    QVERIFY(s3String().isNull());
    // A string in a variant stays a QString there.
    QCOMPARE(QVariant(text).typeId(), int(QMetaType::QString));
}

void TestString::constructors_data()
{
    QTest::addColumn<s3String>("text");
    QTest::addColumn<QString>("expected");
    const QVariant variant = u"väriant"_s;
    QTest::newRow("from a QString") << s3String(u"text"_s) << u"text"_s;
    QTest::newRow("from a variant") << s3String(variant) << u"väriant"_s;
    QTest::newRow("from a QChar") << s3String(QChar(u'ä')) << u"ä"_s;
    QTest::newRow("from a char16_t") << s3String(u'€') << u"€"_s;
    QTest::newRow("from a char") << s3String('x') << u"x"_s;
    QTest::newRow("from a char above 127") << s3String('\xe4') << u"ä"_s;
    QTest::newRow("from a count and a QChar") << s3String(3, QChar(u'ä')) << u"äää"_s;
    QTest::newRow("from a count of 0") << s3String(0, u'x') << QString();
    QTest::newRow("from a Latin-1 view") << s3String("latin"_L1) << u"latin"_s;
}

void TestString::constructors()
{
    QFETCH(s3String, text);
    QTEST(QString(text), "expected");
}

void TestString::assignments()
{
    s3String text;
    QCOMPARE(text = u"text"_s, u"text"_s);
    const QString other = u"other"_s;
    QCOMPARE(text = other, u"other"_s);
    QCOMPARE(text = QVariant(u"variant"_s), u"variant"_s);
    QCOMPARE(text = QChar(u'ä'), u"ä"_s);
    QCOMPARE(text = u'€', u"€"_s);
    QCOMPARE(text = 'x', u"x"_s);
    QCOMPARE(text = '\xe4', u"ä"_s);
    QCOMPARE(text = "latin"_L1, u"latin"_s);
    QCOMPARE(text = s3String(2, u'z'), u"zz"_s);
    QCOMPARE(text = QVariant(5), QString());
}

void TestString::variantOfAnotherTypeIsEmpty_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("invalid") << QVariant();
    QTest::newRow("number") << QVariant(5);
    QTest::newRow("byte array") << QVariant(QByteArray("bytes"));
    QTest::newRow("character") << QVariant(QChar(u'c'));
    QTest::newRow("string list") << QVariant(QStringList{u"item"_s});
}

void TestString::variantOfAnotherTypeIsEmpty()
{
    QFETCH(QVariant, value);
    QCOMPARE(s3String(value), QString());
    s3String text = u"before"_s;
    text = value;
    QCOMPARE(text, QString());
}

void TestString::append()
{
    s3String text;
    text.append(u"ab"_s).append(QChar(u'c')).append(u'€').append('d').append('\xe4');
    QCOMPARE(text, u"abc€dä"_s);
    text.append("e"_L1);
    text.append(QStringView(u"f"));
    QCOMPARE(text, u"abc€däef"_s);
}

void TestString::comparesWithUtf8()
{
    const s3String text = u"zerk ä€😀"_s;
    const char *const same = "zerk \xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80";
    QVERIFY(text == same);
    QVERIFY(same == text);
    QVERIFY(!(text != same));
    QVERIFY(!(same != text));
    QVERIFY(text != "zerk \xe4");
    QVERIFY("zerk" != text);
    QVERIFY(s3String() == "");
    QVERIFY(s3String() == static_cast<const char *>(nullptr));
    QVERIFY(s3String(u"a"_s) != static_cast<const char *>(nullptr));
}

void TestString::comparesLikeAQString()
{
    const s3String text = u"b"_s;
    QVERIFY(text == text);
    QVERIFY(text == u"b"_s);
    QVERIFY(u"b"_s == text);
    QVERIFY(text == QStringView(u"b"));
    QVERIFY(text == u"b");
    QVERIFY(text == "b"_L1);
    QVERIFY(text == QChar(u'b'));
    QVERIFY(text != u"c"_s);
    QVERIFY(text < s3String(u"c"_s));
    QVERIFY(u"a"_s < text);
    QCOMPARE(qHash(text), qHash(u"b"_s));
}

void TestString::hash_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint32>("expected");
    // From an independent calculation over the bytes of the UTF-16 form.
    QTest::newRow("empty") << QString() << 0u;
    QTest::newRow("one unit and the null") << u"a"_s << 0x820u;
    QTest::newRow("one word") << u"ab"_s << 0x620021u;
    QTest::newRow("a word, one unit and the null") << u"abc"_s << 0x88000861u;
    QTest::newRow("two words") << u"abcd"_s << 0xc241c43u;
    QTest::newRow("product name") << u"Zerk ERP"_s << 0x245ccc61u;
    QTest::newRow("beyond ASCII") << u"äöü€"_s << 0x3e6c0c7cu;
    QTest::newRow("surrogates") << u"😀x"_s << 0x3617878u;
    QTest::newRow("long and odd") << u"x"_s.repeated(33) << 0x84000f00u;
}

void TestString::hash()
{
    QFETCH(QString, text);
    QTEST(s3String(text).hash(), "expected");
    // The same at an address that is not aligned to a word.
    QTEST(s3String(QString(u'-' + text).remove(0, 1)).hash(), "expected");
}

void TestString::hashOfRawDataReadsNothingBehindIt()
{
    static constexpr char16_t units[] = {u'a', u'b', u'c', u'x'};
    const s3String raw = QString::fromRawData(reinterpret_cast<const QChar *>(units), 3);
    QCOMPARE(raw.hash(), s3String(u"abc"_s).hash());
}

void TestString::isBlank_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::newRow("empty") << QString() << true;
    QTest::newRow("blanks") << u"  "_s << true;
    QTest::newRow("white space") << u" \t\r\n\v\f"_s << true;
    QTest::newRow("spaces beyond ASCII") << u"\u00a0\u2003\u3000"_s << true;
    QTest::newRow("letter") << u" a "_s << false;
    QTest::newRow("null character") << u"\0"_s << false;
    QTest::newRow("zero width space") << u"\u200b"_s << false;
}

void TestString::isBlank()
{
    QFETCH(QString, text);
    QTEST(s3String(text).isBlank(), "expected");
}

void TestString::escapeNonPrintable_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("bell") << u"a\ab"_s << u"a\\007b"_s;
    QTest::newRow("null character") << u"a\0b"_s << u"a\\000b"_s;
    QTest::newRow("two digits") << u"\x1f"_s << u"\\031"_s;
    QTest::newRow("three digits") << u"\x7f"_s << u"\\127"_s;
    QTest::newRow("four digits") << QString(QChar(1328)) << u"\\1328"_s;
    QTest::newRow("five digits") << u"\ufeff"_s << u"\\65279"_s;
    QTest::newRow("last unit") << QString(QChar(0xffff)) << u"\\65535"_s;
    QTest::newRow("several in a row") << u"\x01\x02x\x03"_s << u"\\001\\002x\\003"_s;
    QTest::newRow("format character") << u"soft\u00adhyphen"_s << u"soft\\173hyphen"_s;
    QTest::newRow("both halves of a pair") << u"😀"_s << u"\\55357\\56832"_s;
    QTest::newRow("private use") << u"\ue000"_s << u"\\57344"_s;
    QTest::newRow("backslash stays") << u"\\\a"_s << u"\\\\007"_s;
    QTest::newRow("tab and line ends stay") << u"\a\t\n\r"_s << u"\\007\t\n\r"_s;
    QTest::newRow("vertical tab") << u"\v"_s << u"\\011"_s;
    QTest::newRow("beyond ASCII stays") << u"\aäß€中\u00a0"_s << u"\\007äß€中\u00a0"_s;
}

void TestString::escapeNonPrintable()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).escapeNonPrintable()), "expected");
}

void TestString::escapeNonPrintableSharesACleanString()
{
    for (const QString &text : {QString(), u"plain"_s, u"tab\tline\r\n"_s, u"äöü€ \u00a0"_s}) {
        const s3String clean = QString(text.constData(), text.size());
        const s3String result = clean.escapeNonPrintable();
        QCOMPARE(result, text);
        // The same buffer: nothing was allocated for the result.
        QCOMPARE(static_cast<const void *>(result.constData()), static_cast<const void *>(clean.constData()));
    }
}

void TestString::shortProductName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("each one") << u"zerk ERP and zerk ERP"_s << u"Zerk and Zerk"_s;
    QTest::newRow("case counts") << u"Zerk ERP, zerk erp"_s << u"Zerk ERP, zerk erp"_s;
    QTest::newRow("inside a word") << u"xzerk ERPx"_s << u"xZerkx"_s;
    QTest::newRow("empty") << QString() << QString();
}

void TestString::shortProductName()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).shortProductName()), "expected");
}

void TestString::removePrefix_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<Qt::CaseSensitivity>("cs");
    QTest::addColumn<bool>("removed");
    QTest::addColumn<QString>("rest");
    QTest::newRow("there") << u"file:x"_s << u"file:"_s << Qt::CaseSensitive << true << u"x"_s;
    QTest::newRow("once") << u"aaa"_s << u"a"_s << Qt::CaseSensitive << true << u"aa"_s;
    QTest::newRow("all") << u"abc"_s << u"abc"_s << Qt::CaseSensitive << true << QString();
    QTest::newRow("elsewhere") << u"xfile:"_s << u"file:"_s << Qt::CaseSensitive << false << u"xfile:"_s;
    QTest::newRow("longer") << u"a"_s << u"ab"_s << Qt::CaseSensitive << false << u"a"_s;
    QTest::newRow("other case") << u"FILE:x"_s << u"file:"_s << Qt::CaseSensitive << false << u"FILE:x"_s;
    QTest::newRow("case ignored") << u"FILE:x"_s << u"file:"_s << Qt::CaseInsensitive << true << u"x"_s;
    QTest::newRow("empty prefix") << u"a"_s << QString() << Qt::CaseSensitive << false << u"a"_s;
    QTest::newRow("both empty") << QString() << QString() << Qt::CaseSensitive << false << QString();
}

void TestString::removePrefix()
{
    QFETCH(QString, text);
    QFETCH(QString, prefix);
    QFETCH(Qt::CaseSensitivity, cs);
    s3String string = text;
    QTEST(string.removePrefix(prefix, cs), "removed");
    QTEST(QString(string), "rest");
}

void TestString::removePrefixCharacter()
{
    s3String text = u"äXxy"_s;
    QVERIFY(!text.removePrefix(u'Ä'));
    QVERIFY(text.removePrefix(QChar(u'Ä'), Qt::CaseInsensitive));
    QVERIFY(!text.removePrefix('x'));
    QVERIFY(text.removePrefix('x', Qt::CaseInsensitive));
    QVERIFY(text.removePrefix('x'));
    QVERIFY(text.removePrefix(u'y'));
    QVERIFY(!text.removePrefix(u'y'));
    QCOMPARE(text, QString());
}

void TestString::startsWithAny_data()
{
    QTest::addColumn<QStringList>("prefixes");
    QTest::addColumn<Qt::CaseSensitivity>("cs");
    QTest::addColumn<bool>("expected");
    QTest::newRow("first") << QStringList{u"te"_s, u"x"_s} << Qt::CaseSensitive << true;
    QTest::newRow("last") << QStringList{u"x"_s, u"te"_s} << Qt::CaseSensitive << true;
    QTest::newRow("none") << QStringList{u"x"_s, u"ext"_s} << Qt::CaseSensitive << false;
    QTest::newRow("other case") << QStringList{u"TE"_s} << Qt::CaseSensitive << false;
    QTest::newRow("case ignored") << QStringList{u"TE"_s} << Qt::CaseInsensitive << true;
    QTest::newRow("empty list") << QStringList() << Qt::CaseSensitive << false;
    QTest::newRow("empty prefix") << QStringList{QString()} << Qt::CaseSensitive << true;
}

void TestString::startsWithAny()
{
    QFETCH(QStringList, prefixes);
    QFETCH(Qt::CaseSensitivity, cs);
    QTEST(s3String(u"text"_s).startsWithAny(prefixes, cs), "expected");
}

void TestString::trim_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("leading");
    QTest::addColumn<QString>("trailing");
    QTest::addColumn<QString>("both");
    QTest::newRow("both ends") << u"xxaxbxx"_s << u"axbxx"_s << u"xxaxb"_s << u"axb"_s;
    QTest::newRow("nothing to trim") << u"axb"_s << u"axb"_s << u"axb"_s << u"axb"_s;
    QTest::newRow("all of it") << u"xxx"_s << QString() << QString() << QString();
    QTest::newRow("empty") << QString() << QString() << QString() << QString();
    QTest::newRow("other case") << u"XaX"_s << u"XaX"_s << u"XaX"_s << u"XaX"_s;
}

void TestString::trim()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).trimLeading(u'x')), "leading");
    QTEST(QString(s3String(text).trimTrailing(u'x')), "trailing");
    QTEST(QString(s3String(text).trim(u'x')), "both");
    // In place: the object itself is changed and given back.
    s3String string = text;
    QCOMPARE(&string.trim(u'x'), &string);
    QTEST(QString(string), "both");
}

void TestString::trimBlanksTakesOnlyBlanks()
{
    QCOMPARE(s3String(u"  a b  "_s).trimBlanks(), u"a b"_s);
    QCOMPARE(s3String(u" \ta\u00a0 "_s).trimBlanks(), u"\ta\u00a0"_s);
}

void TestString::enclosing()
{
    QCOMPARE(s3String(u"a%1"_s).inParentheses(), u"(a%1)"_s);
    QCOMPARE(s3String().inParentheses(), u"()"_s);
    QCOMPARE(s3String(u"a\"b"_s).quoted(), u"\"a\"b\""_s);
    QCOMPARE(s3String().quoted(), u"\"\""_s);
}

void TestString::unquoted_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("quoted") << u"\"a b\""_s << u"a b"_s;
    QTest::newRow("single quote mark") << u"\""_s << u"\""_s;
    QTest::newRow("empty quotes") << u"\"\""_s << QString();
    QTest::newRow("once") << u"\"\"a\"\""_s << u"\"a\""_s;
    QTest::newRow("first only") << u"\"a"_s << u"\"a"_s;
    QTest::newRow("last only") << u"a\""_s << u"a\""_s;
    QTest::newRow("apostrophes") << u"'a'"_s << u"'a'"_s;
    QTest::newRow("empty") << QString() << QString();
}

void TestString::unquoted()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).unquoted()), "expected");
}

void TestString::mnemonics_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("removed");
    QTest::addColumn<QChar>("mnemonic");
    QTest::newRow("one") << u"&File"_s << u"File"_s << QChar(u'F');
    QTest::newRow("last single one") << u"a&bc&de"_s << u"abcde"_s << QChar(u'd');
    QTest::newRow("double") << u"a&&b"_s << u"a&b"_s << QChar();
    QTest::newRow("double and single") << u"&&a&b"_s << u"&ab"_s << QChar(u'b');
    QTest::newRow("single before double") << u"&a&&b"_s << u"a&b"_s << QChar(u'a');
    QTest::newRow("three") << u"&&&a"_s << u"&a"_s << QChar(u'a');
    QTest::newRow("four") << u"&&&&"_s << u"&&"_s << QChar();
    QTest::newRow("at the end") << u"ab&"_s << u"ab&"_s << QChar();
    QTest::newRow("single and at the end") << u"&ab&"_s << u"ab&"_s << QChar(u'a');
    QTest::newRow("double at the end") << u"ab&&"_s << u"ab&"_s << QChar();
    QTest::newRow("three at the end") << u"a&&&"_s << u"a&&"_s << QChar();
    QTest::newRow("alone") << u"&"_s << u"&"_s << QChar();
    QTest::newRow("before a blank") << u"a & b"_s << u"a  b"_s << QChar(u' ');
    QTest::newRow("none") << u"ab"_s << u"ab"_s << QChar();
    QTest::newRow("empty") << QString() << QString() << QChar();
}

void TestString::mnemonics()
{
    QFETCH(QString, text);
    QTEST(QString(s3String(text).removeMnemonics()), "removed");
    QTEST(s3String(text).mnemonic(), "mnemonic");
}

void TestString::slashes()
{
    const s3String text = u"a/b\\c//d\\\\"_s;
    QCOMPARE(text.toBackslashes(), u"a\\b\\c\\\\d\\\\"_s);
    QCOMPARE(text.toForwardSlashes(), u"a/b/c//d//"_s);
    QCOMPARE(text.doubleBackslashes(), u"a/b\\\\c//d\\\\\\\\"_s);
    QCOMPARE(text, u"a/b\\c//d\\\\"_s);
    QCOMPARE(s3String().toBackslashes(), QString());
}

void TestString::elide_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("maxLength");
    QTest::addColumn<QString>("expected");
    const QString name = u"abcdefghijklmnop"_s;
    const QString path = u"c:/dir/file.txt.bak"_s;
    QTest::newRow("plain name") << name << 10 << u"abcdefg..."_s;
    QTest::newRow("path") << path << 10 << u"c:/d...bak"_s;
    QTest::newRow("path, even room") << path << 11 << u"c:/d....bak"_s;
    QTest::newRow("one too long") << name << 15 << u"abcdefghijkl..."_s;
    QTest::newRow("as long") << name << 16 << name;
    QTest::newRow("shorter") << name << 17 << name;
    QTest::newRow("zero") << name << 0 << name;
    QTest::newRow("negative") << name << -1 << name;
    QTest::newRow("smallest with dots") << name << 4 << u"a..."_s;
    QTest::newRow("path, smallest with dots") << path << 4 << u"c..."_s;
    QTest::newRow("path, second smallest") << path << 5 << u"c...k"_s;
    QTest::newRow("no room for dots") << name << 3 << u"abc"_s;
    QTest::newRow("one unit") << path << 1 << u"c"_s;
    QTest::newRow("empty") << QString() << 5 << QString();
    QTest::newRow("closing slash") << u"directory/"_s << 7 << u"di...y/"_s;
}

void TestString::elide()
{
    QFETCH(QString, text);
    QFETCH(int, maxLength);
    QTEST(QString(s3String(text).elide(maxLength)), "expected");
}

void TestString::indexOfNth_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("from");
    QTest::addColumn<Qt::CaseSensitivity>("cs");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("first") << u"a,b,c,d"_s << 1 << 0 << Qt::CaseSensitive << qint64(1);
    QTest::newRow("third") << u"a,b,c,d"_s << 3 << 0 << Qt::CaseSensitive << qint64(5);
    QTest::newRow("too few") << u"a,b,c,d"_s << 4 << 0 << Qt::CaseSensitive << qint64(-1);
    QTest::newRow("from a hit") << u"a,b,c,d"_s << 1 << 1 << Qt::CaseSensitive << qint64(1);
    QTest::newRow("from behind a hit") << u"a,b,c,d"_s << 2 << 2 << Qt::CaseSensitive << qint64(5);
    QTest::newRow("neighbours") << u",,,"_s << 3 << 0 << Qt::CaseSensitive << qint64(2);
    QTest::newRow("zeroth") << u"a,b"_s << 0 << 0 << Qt::CaseSensitive << qint64(-1);
    QTest::newRow("negative n") << u"a,b"_s << -1 << 0 << Qt::CaseSensitive << qint64(-1);
    QTest::newRow("from the end") << u"a,b"_s << 1 << 3 << Qt::CaseSensitive << qint64(-1);
    QTest::newRow("from beyond the end") << u"a,b"_s << 1 << 99 << Qt::CaseSensitive << qint64(-1);
    QTest::newRow("empty") << QString() << 1 << 0 << Qt::CaseSensitive << qint64(-1);
    QTest::newRow("greatest n") << u",,"_s << std::numeric_limits<int>::max() << 0 << Qt::CaseSensitive
                                << qint64(-1);
}

void TestString::indexOfNth()
{
    QFETCH(QString, text);
    QFETCH(int, n);
    QFETCH(int, from);
    QFETCH(Qt::CaseSensitivity, cs);
    QTEST(s3String(text).indexOfNth(u',', n, from, cs), "expected");
    QCOMPARE(s3String(u"aAaA"_s).indexOfNth(u'A', 2), 3);
    QCOMPARE(s3String(u"aAaA"_s).indexOfNth(u'A', 2, 0, Qt::CaseInsensitive), 1);
}

void TestString::section_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("expected");
    QTest::newRow("first") << u"a,b,c"_s << 0 << u"a"_s;
    QTest::newRow("middle") << u"a,b,c"_s << 1 << u"b"_s;
    QTest::newRow("last") << u"a,b,cd"_s << 2 << u"cd"_s;
    QTest::newRow("beyond") << u"a,b,c"_s << 3 << QString();
    QTest::newRow("negative") << u"a,b,c"_s << -1 << QString();
    QTest::newRow("empty field") << u"a,,c"_s << 1 << QString();
    QTest::newRow("behind an empty field") << u"a,,c"_s << 2 << u"c"_s;
    QTest::newRow("closing separator") << u"a,"_s << 1 << QString();
    QTest::newRow("no separator") << u"abc"_s << 0 << u"abc"_s;
    QTest::newRow("empty") << QString() << 0 << QString();
}

void TestString::section()
{
    QFETCH(QString, text);
    QFETCH(int, index);
    QTEST(QString(s3String(text).section(u',', index)), "expected");
    QCOMPARE(s3String(u"1x2X3"_s).section(u'X', 1), u"3"_s);
    QCOMPARE(s3String(u"1x2X3"_s).section(u'X', 1, Qt::CaseInsensitive), u"2"_s);
}

void TestString::indexOfWord_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("word");
    QTest::addColumn<qint64>("from");
    QTest::addColumn<bool>("caseSensitive");
    QTest::addColumn<bool>("wholeWord");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("any hit") << u"abc"_s << u"b"_s << qint64(0) << true << false << qint64(1);
    QTest::newRow("any hit from") << u"bab"_s << u"b"_s << qint64(1) << true << false << qint64(2);
    QTest::newRow("none") << u"abc"_s << u"x"_s << qint64(0) << true << false << qint64(-1);
    QTest::newRow("case counts") << u"aB"_s << u"b"_s << qint64(0) << true << false << qint64(-1);
    QTest::newRow("case ignored") << u"aB"_s << u"b"_s << qint64(0) << false << false << qint64(1);
    QTest::newRow("whole word") << u"abc b cb"_s << u"b"_s << qint64(0) << true << true << qint64(4);
    QTest::newRow("whole word at the begin") << u"b-c"_s << u"b"_s << qint64(0) << true << true << qint64(0);
    QTest::newRow("whole word at the end") << u"ab b"_s << u"b"_s << qint64(0) << true << true << qint64(3);
    QTest::newRow("the whole text") << u"ab"_s << u"ab"_s << qint64(0) << true << true << qint64(0);
    QTest::newRow("letter behind") << u"bc "_s << u"b"_s << qint64(0) << true << true << qint64(-1);
    QTest::newRow("underscore before") << u"_b -"_s << u"b"_s << qint64(0) << true << true << qint64(-1);
    QTest::newRow("mark behind") << u"b\u0301 -"_s << u"b"_s << qint64(0) << true << true << qint64(-1);
    QTest::newRow("overlapping hits") << u"aaa aa."_s << u"aa"_s << qint64(0) << true << true << qint64(4);
    QTest::newRow("rejected last character is the result")
        << u"ab"_s << u"b"_s << qint64(0) << true << true << qint64(1);
    QTest::newRow("rejected last character behind others")
        << u"xb xb"_s << u"b"_s << qint64(0) << true << true << qint64(4);
    QTest::newRow("rejected longer hit at the end is none")
        << u"xab"_s << u"ab"_s << qint64(0) << true << true << qint64(-1);
    QTest::newRow("empty text") << QString() << u"b"_s << qint64(0) << true << true << qint64(-1);
    QTest::newRow("empty word") << u"b"_s << QString() << qint64(0) << true << true << qint64(-1);
    QTest::newRow("from beyond the end") << u"b"_s << u"b"_s << qint64(9) << true << true << qint64(-1);
}

void TestString::indexOfWord()
{
    QFETCH(QString, text);
    QFETCH(QString, word);
    QFETCH(qint64, from);
    QFETCH(bool, caseSensitive);
    QFETCH(bool, wholeWord);
    QTEST(s3String(text).indexOfWord(word, from, caseSensitive, wholeWord), "expected");
}

void TestString::replaceTextByCharacter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("before");
    QTest::addColumn<Qt::CaseSensitivity>("cs");
    QTest::addColumn<QString>("expected");
    QTest::newRow("each one") << u"a&amp;b&amp;"_s << u"&amp;"_s << Qt::CaseSensitive << u"a+b+"_s;
    QTest::newRow("one unit") << u"abab"_s << u"a"_s << Qt::CaseSensitive << u"+b+b"_s;
    QTest::newRow("other case") << u"ABab"_s << u"ab"_s << Qt::CaseSensitive << u"AB+"_s;
    QTest::newRow("case ignored") << u"ABab"_s << u"ab"_s << Qt::CaseInsensitive << u"++"_s;
    QTest::newRow("none") << u"abc"_s << u"x"_s << Qt::CaseSensitive << u"abc"_s;
    QTest::newRow("not into itself") << u"aaa"_s << u"aa"_s << Qt::CaseSensitive << u"+a"_s;
}

void TestString::replaceTextByCharacter()
{
    QFETCH(QString, text);
    QFETCH(QString, before);
    QFETCH(Qt::CaseSensitivity, cs);
    s3String string = text;
    QCOMPARE(&string.replace(before, u'+', cs), &string);
    QTEST(QString(string), "expected");
    // QString's own forms are still there.
    QCOMPARE(s3String(u"aba"_s).replace(u'a', u'c'), u"cbc"_s);
    QCOMPARE(s3String(u"aba"_s).replace(u"a"_s, u"xy"_s), u"xybxy"_s);
    QCOMPARE(s3String(u"aba"_s).replace(1, 1, u"--"_s), u"a--a"_s);
}

void TestString::splitWords_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("words") << u"a b\tc\r\nd"_s << QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
    QTest::newRow("white space around") << u"  a  "_s << QStringList{u"a"_s};
    QTest::newRow("no-break space is part of a word")
        << u"a\u00a0b c"_s << QStringList{u"a\u00a0b"_s, u"c"_s};
    QTest::newRow("blank") << u" \n "_s << QStringList();
    QTest::newRow("empty") << QString() << QStringList();
}

void TestString::splitWords()
{
    QFETCH(QString, text);
    QTEST(s3String(text).splitWords(), "expected");
}

void TestString::toBool_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::newRow("word") << u"true"_s << true;
    QTest::newRow("word, first letter") << u"True"_s << true;
    QTest::newRow("word, capitals") << u"TRUE"_s << true;
    QTest::newRow("blanks around") << u" true "_s << true;
    QTest::newRow("white space around") << u"\r\n\ttrue\v\f\n"_s << true;
    QTest::newRow("other space around") << u"\u00a0true"_s << false;
    QTest::newRow("one") << u"1"_s << true;
    QTest::newRow("negative") << u"-5"_s << true;
    QTest::newRow("sign") << u"+7"_s << true;
    QTest::newRow("number with blanks") << u"  3 "_s << true;
    QTest::newRow("leading zeros") << u"0001"_s << true;
    QTest::newRow("greatest") << u"2147483647"_s << true;
    QTest::newRow("too great") << u"2147483648"_s << false;
    QTest::newRow("zero") << u"0"_s << false;
    QTest::newRow("zeros") << u"-000"_s << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("blank") << u"  "_s << false;
    QTest::newRow("yes") << u"yes"_s << false;
    QTest::newRow("false") << u"false"_s << false;
    QTest::newRow("longer word") << u"trueish"_s << false;
    QTest::newRow("word behind") << u"true 1"_s << false;
    QTest::newRow("word before") << u"not true"_s << false;
    QTest::newRow("second line") << u"x\ntrue"_s << false;
    QTest::newRow("first line") << u"true\nx"_s << false;
    QTest::newRow("number and letter") << u"1x"_s << false;
    QTest::newRow("decimals") << u"1.5"_s << false;
    QTest::newRow("hexadecimal") << u"0x10"_s << false;
    QTest::newRow("null character behind") << u"true\0"_s << false;
}

void TestString::toBool()
{
    QFETCH(QString, text);
    QTEST(s3String(text).toBool(), "expected");
}

void TestString::toBoolIsTheExpression()
{
    const QRegularExpression word(u"^\\s*true\\s*$"_s, QRegularExpression::CaseInsensitiveOption);
    // A character on each side of the word and of a number; behind these there are no spaces any more.
    for (int code = 0; code <= 0x3100; ++code) {
        const QChar ch = QChar(char16_t(code));
        if (ch.isSurrogate())
            continue;
        for (const QString &text : {QString(ch), ch + u"true"_s, u"true"_s + ch, u"1"_s + ch, ch + u"1"_s,
                                    u"tru"_s + ch, ch + u"rue"_s}) {
            const bool expected = word.match(text).hasMatch() || text.toInt() != 0;
            QVERIFY2(s3String(text).toBool() == expected, qPrintable(s3String(text).toHexList()));
        }
    }
}

void TestString::toDouble_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("decimal");
    QTest::addColumn<QString>("group");
    QTest::addColumn<double>("expected");
    QTest::newRow("German") << u"1.234.567,5"_s << u","_s << u"."_s << 1234567.5;
    QTest::newRow("English") << u"1,234,567.5"_s << u"."_s << u","_s << 1234567.5;
    QTest::newRow("no separators") << u"1234.5"_s << QString() << QString() << 1234.5;
    QTest::newRow("group alone") << u"1'234.5"_s << QString() << u"'"_s << 1234.5;
    QTest::newRow("decimal alone") << u"-1,5"_s << u","_s << QString() << -1.5;
    QTest::newRow("longer separators") << u"1<>234::5"_s << u"::"_s << u"<>"_s << 1234.5;
    QTest::newRow("two decimal separators") << u"1,5,5"_s << u","_s << QString() << 0.0;
    QTest::newRow("blanks around") << u" 1,5 "_s << u","_s << u"."_s << 1.5;
    QTest::newRow("exponent") << u"1,5e3"_s << u","_s << u"."_s << 1500.0;
    QTest::newRow("no number") << u"abc"_s << u","_s << u"."_s << 0.0;
    QTest::newRow("empty") << QString() << u","_s << u"."_s << 0.0;
}

void TestString::toDouble()
{
    QFETCH(QString, text);
    QFETCH(QString, decimal);
    QFETCH(QString, group);
    QTEST(s3String(text).toDouble(decimal, group), "expected");
    bool ok = false;
    QCOMPARE(s3String(u"1.5"_s).toDouble(&ok), 1.5);
    QVERIFY(ok);
}

void TestString::isAscii()
{
    QVERIFY(!s3String::isAscii(nullptr));
    QVERIFY(s3String::isAscii(""));
    QVERIFY(s3String::isAscii("plain \x01\x7f"));
    QVERIFY(!s3String::isAscii("\x80"));
    QVERIFY(!s3String::isAscii("abc\xff"));
}

QTEST_APPLESS_MAIN(TestString)
#include "tst_s3string.moc"
