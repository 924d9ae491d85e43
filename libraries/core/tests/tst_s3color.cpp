#include "s3color.h"

#include "s3colortables.h"

#include <QLocale>
#include <QTest>

#include <algorithm>
#include <array>
#include <limits>
#include <set>

using namespace Qt::StringLiterals;

namespace
{

struct NamedColor {
    const char16_t *name;
    int red;
    int green;
    int blue;
};

constexpr NamedColor brandNames[] = {
    {u"VantoskeBrand_IndustrialSchwarz", 17, 32, 51},
    {u"VantoskeBrand_IndustrialBlack", 17, 32, 51},
    {u"VantoskeBrand_DunkelIndustrialSchwarz", 65, 77, 92},
    {u"VantoskeBrand_DarkIndustrialBlack", 65, 77, 92},
    {u"VantoskeBrand_VantoskeDunkelGrau", 155, 155, 155},
    {u"VantoskeBrand_DarkVantoskeGrey", 155, 155, 155},
    {u"VantoskeBrand_VantoskeGrau", 213, 213, 213},
    {u"VantoskeBrand_VantoskeGrey", 213, 213, 213},
    {u"VantoskeBrand_TechTuerkis", 33, 183, 179},
    {u"VantoskeBrand_TechTurquoise", 33, 183, 179},
    {u"VantoskeBrand_HellTechTuerkis", 122, 208, 205},
    {u"VantoskeBrand_LightTechTurquoise", 122, 208, 205},
    {u"VantoskeBrand_DunkelTechTuerkis", 25, 132, 129},
    {u"VantoskeBrand_DarkTechTurquoise", 25, 132, 129},
    {u"VantoskeBrand_ServiceGelb", 253, 206, 13},
    {u"VantoskeBrand_ServiceYellow", 253, 206, 13},
    {u"VantoskeBrand_Tulpe", 252, 138, 61},
    {u"VantoskeBrand_Tulip", 252, 138, 61},
    {u"zerkERP2015_brandschwarz", 42, 53, 57},
    {u"zerkERP2015_brandblack", 42, 53, 57},
    {u"zerkERP2015_branddunkelgrau", 82, 91, 96},
    {u"zerkERP2015_branddarkgray", 82, 91, 96},
    {u"zerkERP2015_brandgrau", 160, 164, 167},
    {u"zerkERP2015_brandgray", 160, 164, 167},
    {u"zerkERP2015_brandhellgrau", 203, 204, 206},
    {u"zerkERP2015_brandlightgray", 203, 204, 206},
    {u"zerkERP2015_brandgruen", 27, 186, 164},
    {u"zerkERP2015_brandgreen", 27, 186, 164},
    {u"zerkERP2015_brandhellgruen", 141, 221, 210},
    {u"zerkERP2015_brandlightgreen", 141, 221, 210},
    {u"zerkERP2015_signalrot", 205, 39, 53},
    {u"zerkERP2015_alertred", 205, 39, 53},
    {u"zerkERP2015_signalorange", 230, 130, 19},
    {u"zerkERP2015_alertorange", 230, 130, 19},
    {u"zerkERP2015_signalgelb", 235, 200, 10},
    {u"zerkERP2015_alertyellow", 235, 200, 10},
    {u"zerkERP2015_signalgruen", 132, 195, 44},
    {u"zerkERP2015_alertgreen", 132, 195, 44},
    {u"zerkERP2015_signalblau", 26, 93, 173},
    {u"zerkERP2015_alertblue", 26, 93, 173},
    {u"zerkERP2015_rot", 150, 25, 55},
    {u"zerkERP2015_red", 150, 25, 55},
    {u"zerkERP2015_orange", 255, 182, 15},
    {u"zerkERP2015_orange", 255, 182, 15},
    {u"zerkERP2015_gruen", 31, 168, 112},
    {u"zerkERP2015_green", 31, 168, 112},
    {u"zerkERP2015_blaugruen", 11, 123, 124},
    {u"zerkERP2015_teal", 11, 123, 124},
    {u"zerkERP2015_blau", 28, 94, 110},
    {u"zerkERP2015_blue", 28, 94, 110},
    {u"hellrot", 255, 128, 128},
    {u"lightred", 255, 128, 128},
};

struct Word {
    const char16_t *german;
    const char16_t *english;
};

constexpr Word germanWords[] = {
    {u"schwarz", u"black"},   {u"kastanienbraun", u"maroon"},
    {u"gruen", u"green"},     {u"olivgruen", u"olive"},
    {u"marineblau", u"navy"}, {u"lila", u"purple"},
    {u"blaugruen", u"teal"},  {u"grau", u"gray"},
    {u"silber", u"silver"},   {u"rot", u"red"},
    {u"gelbgruen", u"lime"},  {u"gelb", u"yellow"},
    {u"blau", u"blue"},       {u"violett", u"fuchsia"},
    {u"aquamarin", u"aqua"},  {u"weiss", u"white"},
    {u"braun", u"maroon"},    {u"oliv", u"olive"},
    {u"hellblau", u"aqua"},
};

QString text(const char16_t *name)
{
    return QString::fromUtf16(name);
}

class DefaultLocale
{
public:
    explicit DefaultLocale(const QLocale &locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(QLocale::c()); }
    Q_DISABLE_COPY_MOVE(DefaultLocale)
};

}

class TestColor final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void brandNames_data();
    void brandNames();
    void brandTableHasNoOtherRows();
    void germanWords_data();
    void germanWords();
    void germanWordTableHasNoOtherRows();
    void fromName_data();
    void fromName();
    void toName_data();
    void toName();
    void specialNamesAreNotReadBack();
    void fromVariant_data();
    void fromVariant();
    void fromInt_data();
    void fromInt();
    void toInt_data();
    void toInt();
    void integersRoundTrip();
    void noChangeColor();
    void darker_data();
    void darker();
    void darkerLeavesInvalidAlone();
    void less_data();
    void less();
    void negativeNumbers_data();
    void negativeNumbers();
};

void TestColor::brandNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QColor>("color");
    std::set<QString> seen;
    for (const NamedColor &row : ::brandNames) {
        // In one row both names are the same.
        if (seen.insert(text(row.name)).second)
            QTest::addRow("%s", qPrintable(text(row.name)))
                << text(row.name) << QColor(row.red, row.green, row.blue);
    }
}

void TestColor::brandNames()
{
    QFETCH(const QString, name);
    QTEST(s3ColorFromName(name), "color");
    QVERIFY(!s3ColorFromName(name + u'x').isValid());
    QVERIFY(!s3ColorFromName(name.toUpper()).isValid());
    QVERIFY(!s3ColorFromName(u' ' + name).isValid());
}

void TestColor::brandTableHasNoOtherRows()
{
    QCOMPARE(std::size(::brandNames), 2 * std::size_t(26));
    QCOMPARE(s3BrandColors.size(), std::size_t(26));
}

void TestColor::germanWords_data()
{
    QTest::addColumn<QString>("german");
    QTest::addColumn<QString>("english");
    for (const Word &row : ::germanWords)
        QTest::addRow("%s", qPrintable(text(row.german))) << text(row.german) << text(row.english);
}

void TestColor::germanWords()
{
    QFETCH(const QString, german);
    QFETCH(const QString, english);
    QVERIFY(QColor::fromString(english).isValid());
    QCOMPARE(s3ColorFromName(german), QColor::fromString(english));
    QVERIFY(!s3ColorFromName(german.toUpper()).isValid());
}

void TestColor::germanWordTableHasNoOtherRows()
{
    QCOMPARE(std::size(::germanWords), std::size_t(19));
    QCOMPARE(s3GermanColorWords.size(), std::size_t(19));
}

void TestColor::fromName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QColor>("color");
    const QColor invalid;

    QTest::newRow("hexadecimal") << u"#11a2B3"_s << QColor(0x11, 0xa2, 0xb3);
    QTest::newRow("hexadecimal black") << u"#000000"_s << QColor(0, 0, 0);
    QTest::newRow("three digits") << u"#abc"_s << invalid;
    QTest::newRow("eight digits") << u"#80112233"_s << invalid;
    QTest::newRow("nine digits") << u"#111222333"_s << invalid;
    QTest::newRow("twelve digits") << u"#111122223333"_s << invalid;
    QTest::newRow("five digits") << u"#12345"_s << invalid;
    QTest::newRow("no digit") << u"#11223g"_s << invalid;
    QTest::newRow("hash alone") << u"#"_s << invalid;
    QTest::newRow("hash and a word") << u"#yellow"_s << invalid;
    QTest::newRow("digits without hash") << u"1122334"_s << invalid;
    QTest::newRow("empty") << QString() << invalid;
    QTest::newRow("blank") << u" "_s << invalid;
    QTest::newRow("Qt's red") << u"red"_s << QColor(Qt::red);
    QTest::newRow("Qt's word in capitals") << u"RED"_s << QColor(Qt::red);
    QTest::newRow("SVG word") << u"lightgoldenrodyellow"_s << QColor(0xfa, 0xfa, 0xd2);
    QTest::newRow("transparent") << u"transparent"_s << QColor(0, 0, 0, 0);
    QTest::newRow("seven letters") << u"magenta"_s << QColor(Qt::magenta);
    QTest::newRow("German red") << u"rot"_s << QColor(Qt::red);
    QTest::newRow("hellrot") << u"hellrot"_s << QColor(255, 128, 128);
    QTest::newRow("lightred") << u"lightred"_s << QColor(255, 128, 128);
    QTest::newRow("unknown word") << u"blaugelb"_s << invalid;
    QTest::newRow("umlaut") << u"grün"_s << invalid;
    QTest::newRow("invalid") << u"invalid"_s << invalid;
    QTest::newRow("nochange") << u"nochange"_s << invalid;
    QTest::newRow("a million characters") << QString(1000000, u'r') << invalid;
    QTest::newRow("a million digits") << u'#' + QString(1000000, u'1') << invalid;
}

void TestColor::fromName()
{
    QFETCH(const QString, name);
    QFETCH(const QColor, color);
    QCOMPARE(s3ColorFromName(name).isValid(), color.isValid());
    QCOMPARE(s3ColorFromName(name), color);
}

void TestColor::toName_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<QString>("name");
    QTest::newRow("invalid") << QColor() << u"invalid"_s;
    QTest::newRow("unknown word") << s3ColorFromName(u"unbekannt"_s) << u"invalid"_s;
    QTest::newRow("no change") << s3NoChangeColor() << u"nochange"_s;
    QTest::newRow("Qt's transparent") << QColor(Qt::transparent) << u"nochange"_s;
    QTest::newRow("opaque") << QColor(1, 0x22, 255) << u"#0122ff"_s;
    QTest::newRow("half transparent") << QColor(1, 0x22, 255, 128) << u"#800122ff"_s;
    QTest::newRow("transparent white") << QColor(255, 255, 255, 0) << u"#00ffffff"_s;
    QTest::newRow("nearly opaque") << QColor(0, 0, 0, 254) << u"#fe000000"_s;
    QTest::newRow("black") << QColor(Qt::black) << u"#000000"_s;
}

void TestColor::toName()
{
    QFETCH(const QColor, color);
    QTEST(s3ColorName(color), "name");
}

void TestColor::specialNamesAreNotReadBack()
{
    QVERIFY(!s3ColorFromName(s3ColorName(QColor())).isValid());
    QVERIFY(!s3ColorFromName(s3ColorName(s3NoChangeColor())).isValid());
    QCOMPARE(s3ColorFromName(s3ColorName(QColor(4, 5, 6))), QColor(4, 5, 6));
}

void TestColor::fromVariant_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QColor>("color");
    QTest::newRow("colour") << QVariant(QColor(1, 2, 3, 4)) << QColor(1, 2, 3, 4);
    QTest::newRow("invalid colour") << QVariant(QColor()) << QColor();
    QTest::newRow("text") << QVariant(u"red"_s) << QColor();
    QTest::newRow("number") << QVariant(255) << QColor();
    QTest::newRow("nothing") << QVariant() << QColor();
}

void TestColor::fromVariant()
{
    QCOMPARE(int(QMetaType::QColor), 4099);
    QFETCH(const QVariant, value);
    QTEST(s3ColorFromVariant(value), "color");
}

void TestColor::fromInt_data()
{
    QTest::addColumn<qint32>("value");
    QTest::addColumn<QColor>("color");
    QTest::newRow("red") << 255 << QColor(255, 0, 0);
    QTest::newRow("green") << 0xFF00 << QColor(0, 255, 0);
    QTest::newRow("blue") << 16711680 << QColor(0, 0, 255);
    QTest::newRow("mixed") << 0x030201 << QColor(1, 2, 3);
    QTest::newRow("black") << 0 << QColor(0, 0, 0);
    QTest::newRow("highest byte") << 0x7F030201 << QColor(1, 2, 3);
    QTest::newRow("invalid") << -1 << QColor();
    QTest::newRow("no change") << -2 << QColor(0, 0, 0, 0);
    QTest::newRow("other negative") << -3 << QColor(0xFD, 0xFF, 0xFF);
    QTest::newRow("smallest") << std::numeric_limits<qint32>::min() << QColor(0, 0, 0);
}

void TestColor::fromInt()
{
    QFETCH(const qint32, value);
    QTEST(s3ColorFromInt(value), "color");
}

void TestColor::toInt_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<qint32>("value");
    QTest::newRow("blue") << QColor(Qt::blue) << 16711680;
    QTest::newRow("red") << QColor(Qt::red) << 255;
    QTest::newRow("white") << QColor(Qt::white) << 0xFFFFFF;
    QTest::newRow("half transparent") << QColor(1, 2, 3, 128) << 0x030201;
    QTest::newRow("by hue") << QColor::fromHsv(120, 255, 255) << 0x00FF00;
    QTest::newRow("invalid") << QColor() << -1;
    QTest::newRow("no change") << s3NoChangeColor() << 0;
}

void TestColor::toInt()
{
    QFETCH(const QColor, color);
    QTEST(s3ColorToInt(color), "value");
}

void TestColor::integersRoundTrip()
{
    for (qint32 value = 0; value <= 0xFFFFFF; value += 4099)
        QCOMPARE(s3ColorToInt(s3ColorFromInt(value)), value);
}

void TestColor::noChangeColor()
{
    QVERIFY(s3NoChangeColor().isValid());
    QCOMPARE(s3NoChangeColor(), QColor(0, 0, 0, 0));
    QVERIFY(s3IsNoChangeColor(QColor(0, 0, 0, 0)));
    QVERIFY(!s3IsNoChangeColor(QColor()));
    QVERIFY(!s3IsNoChangeColor(QColor(0, 0, 0)));
    QVERIFY(!s3IsNoChangeColor(QColor(0, 0, 0, 1)));
    QVERIFY(!s3IsNoChangeColor(QColor(1, 0, 0, 0)));
}

void TestColor::darker_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<qint32>("step");
    QTest::addColumn<QColor>("result");
    const QColor color(10, 128, 250);
    QTest::newRow("a step") << color << 20 << QColor(0, 108, 230);
    QTest::newRow("none") << color << 0 << color;
    QTest::newRow("lighter") << color << -10 << QColor(20, 138, 255);
    QTest::newRow("300") << color << 300 << QColor(Qt::black);
    QTest::newRow("-300") << color << -300 << QColor(Qt::white);
    QTest::newRow("largest") << color << std::numeric_limits<qint32>::max() << QColor(Qt::black);
    QTest::newRow("smallest") << color << std::numeric_limits<qint32>::min() << QColor(Qt::white);
    QTest::newRow("becomes opaque") << QColor(9, 9, 9, 7) << 1 << QColor(8, 8, 8);
    QTest::newRow("no change") << s3NoChangeColor() << 0 << QColor(Qt::black);
}

void TestColor::darker()
{
    QFETCH(const QColor, color);
    QFETCH(const qint32, step);
    QTEST(s3DarkerColor(color, step), "result");
}

void TestColor::darkerLeavesInvalidAlone()
{
    QVERIFY(!s3DarkerColor(QColor(), 10).isValid());
    QVERIFY(!s3DarkerColor(QColor(), -10).isValid());
}

void TestColor::less_data()
{
    QTest::addColumn<QColor>("left");
    QTest::addColumn<QColor>("right");
    QTest::addColumn<bool>("result");
    const QColor invalid;
    QTest::newRow("by blue") << QColor(0, 0, 1) << QColor(0, 0, 2) << true;
    QTest::newRow("not by blue") << QColor(0, 0, 2) << QColor(0, 0, 1) << false;
    QTest::newRow("red before green") << QColor(1, 0, 0) << QColor(0, 255, 0) << false;
    QTest::newRow("alpha before red") << QColor(255, 0, 0, 1) << QColor(0, 0, 0, 2) << true;
    QTest::newRow("equal") << QColor(1, 2, 3) << QColor(1, 2, 3) << false;
    QTest::newRow("invalid first") << invalid << QColor(0, 0, 0, 0) << true;
    QTest::newRow("invalid second") << QColor(0, 0, 0, 0) << invalid << false;
    QTest::newRow("both invalid") << invalid << invalid << false;
}

void TestColor::less()
{
    QFETCH(const QColor, left);
    QFETCH(const QColor, right);
    QTEST(s3ColorLess(left, right), "result");
}

void TestColor::negativeNumbers_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<bool>("negative");
    QTest::newRow("German") << u"-1.234,56"_s << true;
    QTest::newRow("French") << u"-1\u202f234,56"_s << true;
    QTest::newRow("C") << u"-1,234.56"_s << true;
    QTest::newRow("Swiss") << u"-1'234.56"_s << true;
    QTest::newRow("integer") << u"-7"_s << true;
    QTest::newRow("exponent") << u"-1e5"_s << true;
    QTest::newRow("blanks around") << u" -7 "_s << true;
    QTest::newRow("smallest part") << u"-0,01"_s << true;
    QTest::newRow("positive German") << u"1.234,56"_s << false;
    QTest::newRow("positive Swiss") << u"1'234.56"_s << false;
    QTest::newRow("positive with a negative exponent") << u"1e-5"_s << false;
    QTest::newRow("minus zero") << u"-0"_s << false;
    QTest::newRow("Swiss minus zero") << u"-0'000.0"_s << false;
    QTest::newRow("Swiss with a comma") << u"-1'234,56"_s << false;
    QTest::newRow("zero") << u"0"_s << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("minus alone") << u"-"_s << false;
    QTest::newRow("word") << u"E-Mail"_s << false;
    QTest::newRow("word with apostrophe") << u"it's e-mail"_s << false;
    QTest::newRow("date") << u"2024-01-02"_s << false;
    QTest::newRow("minus behind") << u"7-"_s << false;
    QTest::newRow("other minus sign") << u"\u22127"_s << false;
    QTest::newRow("unit behind") << u"-7 EUR"_s << false;
    QTest::newRow("a million digits") << u'-' + QString(1000000, u'.') << false;
}

// The locale of the process plays no part.
void TestColor::negativeNumbers()
{
    QFETCH(const QString, number);
    QFETCH(const bool, negative);
    for (const QLocale &locale : {QLocale::c(), QLocale(QLocale::German, QLocale::Switzerland),
                                  QLocale(QLocale::Arabic, QLocale::Egypt)}) {
        const DefaultLocale scope(locale);
        QCOMPARE(s3NegativeNumberColor(number), negative ? QColor(Qt::red) : QColor());
    }
}

QTEST_APPLESS_MAIN(TestColor)
#include "tst_s3color.moc"
