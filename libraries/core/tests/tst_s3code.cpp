#include "s3code.h"

#include "allocationcounter.h"
#include "erp/s3session.h"

#include <QHash>
#include <QTest>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

enum Kind { Equals, Begins };

struct TestOnCode {
    const char *name;
    bool (*test)(QStringView);
    Kind kind;
    const char *entries; // separated by blanks
};

constexpr TestOnCode plainTests[] = {
    {"B", s3IsCodeB, Equals, "B B1 B2 B3 ZAE"},
    {"BGLP", s3IsCodeBGLP, Begins, "BGLP"},
    {"VL", s3IsCodeVL, Begins, "VL VP VID ID P"},
    {"IDN", s3IsCodeIDN, Begins, "IDN VIDN"},
    {"AZKI", s3IsCodeAZKI, Begins, "AZKI AZLI AZSI"},
    {"AZM", s3IsCodeAZM, Begins, "AZM AK AN AS AU"},
    {"TAZ", s3IsCodeTAZ, Begins, "TAZ"},
    {"BU", s3IsCodeBU, Begins, "BU"},
    {"DVB1", s3IsCodeDVB1, Equals, "DVB1"},
    {"DVZ", s3IsCodeDVZ, Equals, "DVZ URL1"},
    {"BU1", s3IsCodeBU1, Equals, "BU1"},
    {"DV", s3IsCodeDV, Equals, "DV DV1"},
    {"DVZ1", s3IsCodeDVZ1, Equals, "DVZ1"},
    {"URL2", s3IsCodeURL2, Equals, "URL2"},
    {"CH", s3IsCodeCH, Equals, "CH"},
    {"TN", s3IsCodeTN, Begins, "TN ARTF"},
    {"ART", s3IsCodeART, Begins, "ART"},
    {"DVS1, equal", s3IsCodeDVS1, Equals, "DVS1"},
    {"DVS1, begins", s3IsCodeDVS1, Begins, "AZI"},
    {"GD, equal", s3IsCodeGD, Equals, "GD GD2 GD7 GD8 GW2 GW4"},
    {"GD, begins", s3IsCodeGD, Begins, "SD ARTD"},
    {"A, begins", s3IsCodeA, Begins, "AZK AZL AZS"},
    {"integer", s3IsIntegerCode, Begins, "K I"},
    {"real", s3IsRealCode, Begins, "R M ARTR"},
    {"number", s3IsNumberCode, Begins, "K I R M ARTR"},
    {"numeric", s3IsNumericCode, Begins, "K I R M ARTR AN AK GP N"},
};

class ScopedCodeTests
{
public:
    ScopedCodeTests() { s3SessionInstance()->setCodeTestsEnabled(true); }
    ~ScopedCodeTests() { s3SessionInstance()->setCodeTestsEnabled(false); }
    Q_DISABLE_COPY_MOVE(ScopedCodeTests)
};

}

class TestCode final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listedCodes_data();
    void listedCodes();
    void otherCodes_data();
    void otherCodes();
    void numberClass_data();
    void numberClass();
    void numberClassText_data();
    void numberClassText();
    void displayClass_data();
    void displayClass();
    void enabledCodeTests_data();
    void enabledCodeTests();
    void nothingIsAllocated();
};

void TestCode::listedCodes_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("entry");
    for (std::size_t index = 0; index != std::size(plainTests); ++index) {
        const TestOnCode &test = plainTests[index];
        for (const QByteArray &entry : QByteArray(test.entries).split(' '))
            QTest::addRow("%s: %s", test.name, entry.constData()) << int(index) << QString::fromLatin1(entry);
    }
}

void TestCode::listedCodes()
{
    QFETCH(const int, index);
    QFETCH(const QString, entry);
    const TestOnCode &row = plainTests[index];
    QVERIFY(row.test(entry));
    // A letter that makes none of the codes another one's beginning.
    QCOMPARE(row.test(entry + u'x'), row.kind == Begins);
    QCOMPARE(row.test(entry + QString(100000, u'x')), row.kind == Begins);
    QVERIFY(!row.test(entry.toLower()));
    QVERIFY(!row.test(u' ' + entry));
    QVERIFY(!row.test(u'x' + entry));
    QVERIFY(!row.test(QStringView()));
    QVERIFY(!row.test(u""));
}

void TestCode::otherCodes_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("test");
    QTest::addColumn<bool>("result");
    struct Row {
        const char *code;
        const char *test;
        bool result;
    };
    constexpr Row rows[] = {
        {"B4", "B", false},        {"ZA", "B", false},       {"BGL", "BGLP", false},
        {"V", "VL", false},        {"IDENT", "VL", true},    {"P", "VL", true},
        {"AZK", "AZKI", false},    {"AZ", "AZM", false},     {"AN", "AZM", true},
        {"TA", "TAZ", false},      {"BU1", "BU", true},      {"DV1", "DVB1", false},
        {"URL", "DVZ", false},     {"BU12", "BU1", false},   {"DV2", "DV", false},
        {"DVZ", "DV", false},      {"GD1", "GD", false},     {"GD22", "GD", false},
        {"G", "GD", false},        {"SDX", "GD", true},      {"ARTD7", "GD", true},
        {"ARTE", "GD", false},     {"DVS", "DVS1", false},   {"DVS12", "DVS1", false},
        {"AZI7", "DVS1", true},    {"A", "A", false},        {"A7", "A", true},
        {"A0", "A", true},         {"AB", "A", false},       {"A7Z", "A", true},
        {"AZ", "A", false},        {"AZI", "A", false},      {"AZK", "A", true},
        {"AZL9", "A", true},       {"AZS", "A", true},       {"AZM", "A", false},
        {"BA7", "A", false},       {"A-7", "A", false},      {"P", "P", false},
        {"P7", "P", true},         {"PK", "P", false},       {"PK7", "P", false},
        {"VP", "P", false},        {"VP7", "P", true},       {"VPA", "P", false},
        {"VPK", "P", false},       {"VPK7", "P", true},      {"VPK7x", "P", true},
        {"VPKX", "P", false},      {"V7", "P", false},       {"ID", "integer", false},
        {"IDN", "integer", false}, {"I", "integer", true},   {"I7D", "integer", true},
        {"K", "integer", true},    {"R", "integer", false},  {"ART", "real", false},
        {"ARTR2", "real", true},   {"I", "real", false},     {"P7", "number", false},
        {"ID", "number", false},   {"ID", "numeric", false}, {"P7", "numeric", true},
        {"VP7", "numeric", true},  {"P", "numeric", false},  {"NT", "numeric", false},
        {"NT7", "numeric", false}, {"N", "numeric", true},   {"NX", "numeric", true},
        {"A7", "numeric", false},  {"G", "numeric", false},  {"GPx", "numeric", true},
        {"AS", "numeric", false},
    };
    for (const Row &row : rows)
        QTest::addRow("%s is %s%s", row.code, row.result ? "" : "not ", row.test)
            << QString::fromLatin1(row.code) << QString::fromLatin1(row.test) << row.result;
}

void TestCode::otherCodes()
{
    using Test = bool (*)(QStringView);
    static const QHash<QString, Test> tests{{u"B"_s, s3IsCodeB},
                                            {u"BGLP"_s, s3IsCodeBGLP},
                                            {u"VL"_s, s3IsCodeVL},
                                            {u"AZKI"_s, s3IsCodeAZKI},
                                            {u"AZM"_s, s3IsCodeAZM},
                                            {u"TAZ"_s, s3IsCodeTAZ},
                                            {u"BU"_s, s3IsCodeBU},
                                            {u"DVB1"_s, s3IsCodeDVB1},
                                            {u"DVZ"_s, s3IsCodeDVZ},
                                            {u"BU1"_s, s3IsCodeBU1},
                                            {u"DV"_s, s3IsCodeDV},
                                            {u"GD"_s, s3IsCodeGD},
                                            {u"DVS1"_s, s3IsCodeDVS1},
                                            {u"A"_s, s3IsCodeA},
                                            {u"P"_s, s3IsCodeP},
                                            {u"integer"_s, s3IsIntegerCode},
                                            {u"real"_s, s3IsRealCode},
                                            {u"number"_s, s3IsNumberCode},
                                            {u"numeric"_s, s3IsNumericCode}};
    QFETCH(const QString, code);
    QFETCH(const QString, test);
    QVERIFY(tests.contains(test));
    QTEST(tests.value(test)(code), "result");
}

void TestCode::numberClass_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<quint32>("flags");
    QTest::newRow("I") << u"I"_s << 1U;
    QTest::newRow("K7") << u"K7"_s << 1U;
    QTest::newRow("IU") << u"IU"_s << 17U;
    QTest::newRow("I7U") << u"I7U"_s << 17U;
    QTest::newRow("KD") << u"KDT"_s << 1U;
    QTest::newRow("R") << u"R"_s << 2U;
    QTest::newRow("M2") << u"M2"_s << 2U;
    QTest::newRow("RU") << u"RU"_s << 18U;
    QTest::newRow("RUDT") << u"RUDT"_s << 18U;
    QTest::newRow("RD") << u"RD"_s << 34U;
    QTest::newRow("RDT") << u"RDT"_s << 98U;
    QTest::newRow("RTD") << u"RTD"_s << 98U;
    QTest::newRow("RT") << u"RT"_s << 2U;
    QTest::newRow("MD7T") << u"MD7T"_s << 98U;
    QTest::newRow("ARTR") << u"ARTR"_s << 2U;
    QTest::newRow("ARTRD") << u"ARTRD"_s << 98U;
    QTest::newRow("Ru") << u"Ru"_s << 2U;
    QTest::newRow("ID") << u"ID"_s << 4U;
    QTest::newRow("IDU") << u"IDU"_s << 4U;
    QTest::newRow("GD2") << u"GD2"_s << 4U;
    QTest::newRow("P7") << u"P7"_s << 4U;
    QTest::newRow("empty") << QString() << 4U;
}

void TestCode::numberClass()
{
    QFETCH(const QString, code);
    QTEST(s3NumberClass(code), "flags");
}

void TestCode::numberClassText_data()
{
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0U << u"()"_s;
    QTest::newRow("1") << 1U << u"(Integer, Number)"_s;
    QTest::newRow("2") << 2U << u"(Real, Number)"_s;
    QTest::newRow("3") << 3U << u"(Integer, Real, Number)"_s;
    QTest::newRow("4") << 4U << u"(Other)"_s;
    QTest::newRow("8") << 8U << u"()"_s;
    QTest::newRow("16") << 16U << u"(LanguageIndependent)"_s;
    QTest::newRow("18") << 18U << u"(Real, Number, LanguageIndependent)"_s;
    QTest::newRow("98")
        << 98U << u"(Real, Number, LanguageDependentDecimalPoint, LanguageDependentGroupSeparator)"_s;
    QTest::newRow("all")
        << 0xFFFFFFFFU
        << u"(Integer, Real, Number, Other, LanguageIndependent, LanguageDependentDecimalPoint, "
           u"LanguageDependentGroupSeparator)"_s;
}

void TestCode::numberClassText()
{
    QFETCH(const quint32, flags);
    QTEST(s3NumberClassText(flags), "text");
}

void TestCode::displayClass_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<qint32>("kind23");
    QTest::addColumn<qint32>("kind56");
    struct Row {
        const char *code;
        qint32 kind23;
        qint32 kind56;
    };
    constexpr Row rows[] = {
        {"GD", 32, 42},   {"GW4", 32, 42},  {"SDX", 32, 42},  {"ARTD", 32, 42}, {"DV", 33, 62},
        {"DV1", 33, 62},  {"TAZ", 30, 50},  {"TAZ7", 30, 50}, {"AZM", 30, 50},  {"AN", 30, 50},
        {"AN7", 30, 50},  {"AK", 30, 50},   {"AS", 30, 50},   {"AU", 30, 50},   {"A7", 28, 40},
        {"AZK", 28, 40},  {"AZLI", 28, 40}, {"AZS", 28, 40},  {"VL", 29, 49},   {"VP7", 29, 49},
        {"VID", 29, 49},  {"ID", 29, 49},   {"IDN", 29, 49},  {"P", 29, 49},    {"P7", 29, 49},
        {"DVZ", 36, 96},  {"URL1", 36, 96}, {"TN", 31, 51},   {"TN7", 31, 51},  {"ARTF", 31, 51},
        {"BU1", 37, 129}, {"DVB1", 35, 11}, {"BU", 24, 11},   {"BU2", 24, 11},  {"BU11", 24, 11},
        {"DVZ1", 34, 87}, {"DVS1", 39, 86}, {"AZI", 39, 86},  {"AZI7", 39, 86}, {"URL2", 25, 10},
        {"B", 27, 14},    {"B3", 27, 14},   {"ZAE", 27, 14},  {"CH", 26, 12},   {"", 25, 52},
        {"X", 25, 52},    {"A", 25, 52},    {"AB", 25, 52},   {"ART", 25, 52},  {"ARTR", 25, 52},
        {"BGLP", 25, 52}, {"B4", 25, 52},   {"DVB2", 25, 52}, {"GD1", 25, 52},  {"I7", 25, 52},
        {"R2", 25, 52},   {"N", 25, 52},    {"URL3", 25, 52}, {"CH1", 25, 52},  {"gd", 25, 52},
        {"\xC4", 25, 52}, {"@A7", 25, 52},  {"[A7", 25, 52},  {"7", 25, 52},
    };
    for (const Row &row : rows)
        QTest::addRow("%s", *row.code != '\0' ? row.code : "empty")
            << QString::fromLatin1(row.code) << row.kind23 << row.kind56;
}

void TestCode::displayClass()
{
    QFETCH(const QString, code);
    QTEST(s3DisplayClass(23, code), "kind23");
    QTEST(s3DisplayClass(56, code), "kind56");
    for (const qint32 kind : {7, 0, -1, 22, 24, 55, 57, 30})
        QCOMPARE(s3DisplayClass(kind, code), kind);
}

void TestCode::enabledCodeTests_data()
{
    QTest::addColumn<qint32>("kind");
    QTest::addColumn<QString>("code");
    QTest::addColumn<qint32>("result");
    QTest::newRow("23, TAZ") << 23 << u"TAZ"_s << 28;
    QTest::newRow("23, TAZ7") << 23 << u"TAZ7"_s << 28;
    QTest::newRow("56, TAZ") << 56 << u"TAZ"_s << 40;
    QTest::newRow("7, TAZ") << 7 << u"TAZ"_s << 40;
    QTest::newRow("30, TAZ") << 30 << u"TAZ"_s << 28;
    QTest::newRow("23, AZM stays") << 23 << u"AZM"_s << 30;
    QTest::newRow("56, AZM stays") << 56 << u"AZM"_s << 50;
    QTest::newRow("7, GD stays") << 7 << u"GD"_s << 7;
    QTest::newRow("23, taz stays") << 23 << u"taz"_s << 25;
}

void TestCode::enabledCodeTests()
{
    const ScopedCodeTests enabled;
    QFETCH(const qint32, kind);
    QFETCH(const QString, code);
    QTEST(s3DisplayClass(kind, code), "result");
}

void TestCode::nothingIsAllocated()
{
    QStringList codes;
    for (const TestOnCode &row : plainTests)
        codes += QString::fromLatin1(row.entries).split(u' ');
    const ScopedCodeTests enabled;
    int held = 0;
    const auto classifyAll = [&] {
        for (const QString &code : std::as_const(codes)) {
            for (const TestOnCode &row : plainTests)
                held += row.test(code) ? 1 : 0;
            held += int(s3NumberClass(code)) + s3DisplayClass(23, code) + s3DisplayClass(56, code);
        }
    };
    classifyAll();
    const AllocationCounter counter;
    classifyAll();
    QCOMPARE(counter.allocations(), 0);
    QVERIFY(held > 0);
    // The counter counts.
    const auto proof = std::make_unique<int>(7);
    QCOMPARE(counter.allocations(), *proof - 6);
}

QTEST_APPLESS_MAIN(TestCode)
#include "tst_s3code.moc"
