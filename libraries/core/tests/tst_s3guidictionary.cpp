#include "dictionaryfixture.h"
#include "s3features.h"
#include "s3guidictionary.h"
#include "s3translate.h"

#include <ostrelletest/memoryresource.h>
#include <ostrelletest/scopedtestflag.h>
#include <ostrelletest/tracerecorder.h>

#include <QRegularExpression>
#include <QScopeGuard>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 german = 0;
constexpr qint32 english = 1;
constexpr qint32 french = 2;
constexpr qint32 individual = 10;
constexpr qint32 american = 13;
constexpr qint32 japanese = 31;

// A GUI dictionary whose files are in memory. Contents without texts stand for a missing file.
class GuiDictionary
{
public:
    explicit GuiDictionary(const DictionaryContents &contents, const DictionaryContents &fallback = {})
        : m_primary(u":/gui/primary.dat"_s, dictionaryBytes(contents))
        , m_dictionary(u":/gui/primary.dat"_s, u":/gui/fallback.dat"_s)
    {
        if (!fallback.texts.isEmpty())
            m_fallback = std::make_unique<MemoryResource>(u":/gui/fallback.dat"_s, dictionaryBytes(fallback));
        m_isOpen = m_dictionary.open(m_error);
    }

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    s3GuiDictionary *operator->() { return &m_dictionary; }

private:
    MemoryResource m_primary;
    std::unique_ptr<MemoryResource> m_fallback;
    s3GuiDictionary m_dictionary;
    QString m_error;
    bool m_isOpen = false;
};

DictionaryContents primaryContents()
{
    DictionaryContents contents;
    contents.texts = {
        {1, {QString(), u"Datei"_s, {{english, u"File"_s}, {french, u"Fichier"_s}}}},
        {2, {QString(), u"Öffnen..."_s, {{english, u"Open..."_s}}}},
        {3, {QString(), u"Öffnen"_s, {{english, u"Open up"_s}}}},
        {4, {QString(), u"leer"_s, {{english, u""_s}}}},
        {6, {QString(), u"doppelt"_s, {{english, u"first"_s}}}},
        {7, {QString(), u"doppelt"_s, {{english, u"second"_s}}}},
        {8, {QString(), u""_s, {{english, u"nothing"_s}}}},
        {9, {QString(), u"nur hier"_s, {{american, u"only here"_s}}}},
        {896, {QString(), u"Über zerk ERP"_s, {{english, u"About 896"_s}}}},
        {897, {QString(), u"Start von zerk ERP"_s, {{english, u"Start"_s}}}},
        {931, {QString(), u"zerk ERP beenden"_s, {{english, u"Quit 931"_s}}}},
        {938, {QString(), u"zerk ERP und zerk ERP"_s, {{english, u"Both 938"_s}}}},
        {939, {QString(), u"Hilfe zu zerk ERP"_s, {{english, u"Help 939"_s}}}},
    };
    return contents;
}

// Number 3 has another source text than in the primary dictionary.
DictionaryContents fallbackContents()
{
    DictionaryContents contents;
    contents.texts = {
        {1,
         {QString(),
          u"Datei"_s,
          {{german, u"D aus Reserve"_s},
           {english, u"E aus Reserve"_s},
           {french, u"F aus Reserve"_s},
           {individual, u"1 aus Reserve"_s},
           {american, u"A aus Reserve"_s},
           {japanese, u"7 aus Reserve"_s}}}},
        {3, {QString(), u"etwas anderes"_s, {{japanese, u"falsch"_s}, {individual, u"falsch"_s}}}},
        {4, {QString(), u"leer"_s, {}}},
    };
    return contents;
}

} // namespace

class TestGuiDictionary final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void closedGivesTheSource();
    void openFailure();
    void missingFallbackIsNoFailure();
    void closeKeepsTheIndex();
    void reopenedFileAddsToTheIndex();
    void longSourceTexts();
    void translations_data();
    void translations();
    void ellipses_data();
    void ellipses();
    void manyEllipses();
    void secondKeys_data();
    void secondKeys();
    void everyTextIsInTheIndex();
    void unknownTextsAreCollected();
    void languagesHaveTheirOwnAnswers();
    void fallback_data();
    void fallback();
    void fallbackWinsForIndividualLanguages();
    void fallbackOfOneTextIsNone();
    void fallbackOfTwoTextsIsUsed();
    void forcedFallback_data();
    void forcedFallback();
    void disabledFallback();
    void featureNameWithOtherCaseHasNoEffect();
    void bothFeatures();
    void traceOfFoundText();
    void traceOfEmptyTranslation();
    void traceOfUnknownText_data();
    void traceOfUnknownText();
    void traceOfEllipsis();
    void traceOfFallback();
    void noTraceInAnOrdinaryRun();
};

void TestGuiDictionary::closedGivesTheSource()
{
    s3GuiDictionary dictionary(u":/none"_s, u":/none"_s);
    QCOMPARE(dictionary.translateText(u"Datei"_s, english), u"Datei"_s);
    QCOMPARE(dictionary.translateText(QString(), english), QString());
    QCOMPARE(dictionary.textWithFallback(1, english), u"*** 1 ***"_s);
}

void TestGuiDictionary::openFailure()
{
    s3GuiDictionary dictionary(u":/none"_s, u":/none"_s);
    QString error;
    QVERIFY(!dictionary.open(error));
    QVERIFY2(error.startsWith(u":/none:\n\nCannot open file"_s), qPrintable(error));
    QVERIFY(!dictionary.open());
    QCOMPARE(dictionary.translateText(u"Datei"_s, english), u"Datei"_s);
}

void TestGuiDictionary::missingFallbackIsNoFailure()
{
    GuiDictionary dictionary(primaryContents());
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->translateText(u"Datei"_s, english), u"File"_s);
    // Without a fallback the German wording stands in.
    QCOMPARE(dictionary->translateText(u"Datei"_s, japanese), u"Datei"_s);
}

void TestGuiDictionary::closeKeepsTheIndex()
{
    GuiDictionary dictionary(primaryContents());
    QCOMPARE(dictionary->translateText(u"Datei"_s, english), u"File"_s);
    dictionary->close();
    QCOMPARE(dictionary->translateText(u"Datei"_s, english), u"File"_s);
    QCOMPARE(dictionary->translateText(u"Datei"_s, french), u"*** 1 ***"_s);
    // A second opening builds the same index again.
    QVERIFY(dictionary->open());
    QCOMPARE(dictionary->translateText(u"nur hier"_s, american), u"only here"_s);
}

void TestGuiDictionary::reopenedFileAddsToTheIndex()
{
    auto first
        = std::make_unique<MemoryResource>(u":/gui/changing.dat"_s, dictionaryBytes(primaryContents()));
    s3GuiDictionary dictionary(u":/gui/changing.dat"_s, u":/none"_s);
    QVERIFY(dictionary.open());
    dictionary.close();
    first.reset();
    DictionaryContents contents;
    contents.texts = {{1, {QString(), u"Neu"_s, {{french, u"Nouveau"_s}}}}};
    const MemoryResource second(u":/gui/changing.dat"_s, dictionaryBytes(contents));
    QVERIFY(dictionary.open());
    QCOMPARE(dictionary.translateText(u"Neu"_s, french), u"Nouveau"_s);
    // The old source text still leads to its number.
    QCOMPARE(dictionary.translateText(u"Datei"_s, french), u"Nouveau"_s);
    QCOMPARE(dictionary.translateText(u"nur hier"_s, french), u"*** 9 ***"_s);
}

void TestGuiDictionary::longSourceTexts()
{
    DictionaryContents contents;
    for (qint32 number = 1; number <= 40; ++number) {
        contents.texts.insert(
            number,
            {QString(), QString(number * 5'000, QChar(u'A' + number)), {{english, QString::number(number)}}});
    }
    GuiDictionary dictionary(contents);
    QVERIFY(dictionary.isOpen());
    for (qint32 number = 1; number <= 40; ++number) {
        QCOMPARE(dictionary->translateText(contents.texts[number].source, english), QString::number(number));
    }
}

void TestGuiDictionary::translations_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");

    QTest::newRow("own wording") << u"Datei"_s << english << u"File"_s;
    QTest::newRow("German wording stands in") << u"Datei"_s << japanese << u"Datei"_s;
    QTest::newRow("German") << u"Datei"_s << german << u"Datei"_s;
    QTest::newRow("source column") << u"Datei"_s << -1 << u"Datei"_s;
    QTest::newRow("unknown") << u"unbekannt"_s << english << u"unbekannt"_s;
    QTest::newRow("case matters") << u"datei"_s << english << u"datei"_s;
    QTest::newRow("empty translation") << u"leer"_s << english << QString();
    QTest::newRow("highest number of equal texts") << u"doppelt"_s << english << u"second"_s;
    QTest::newRow("empty source text") << QString() << english << QString();
    QTest::newRow("language out of range") << u"Datei"_s << 40 << u"*** 1 ***"_s;
}

void TestGuiDictionary::translations()
{
    QFETCH(QString, source);
    QFETCH(qint32, language);
    GuiDictionary dictionary(primaryContents());
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->translateText(source, language), "text");
    // From the cache, where there is an answer in it.
    QTEST(dictionary->translateText(source, language), "text");
}

void TestGuiDictionary::ellipses_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("text");

    QTest::newRow("stem in the dictionary") << u"Datei..."_s << u"File..."_s;
    QTest::newRow("blank before the points") << u"Datei ..."_s << u"File..."_s;
    QTest::newRow("white space around") << u" \tDatei\n ..."_s << u"File..."_s;
    QTest::newRow("found with its points") << u"Öffnen..."_s << u"Open..."_s;
    QTest::newRow("found without its points") << u"Öffnen ..."_s << u"Open up..."_s;
    QTest::newRow("six points behind a stem") << u"Datei......"_s << u"File......"_s;
    QTest::newRow("points behind the found ellipsis") << u"Öffnen......"_s << u"Open......"_s;
    QTest::newRow("unknown with a blank") << u"Wort ..."_s << u"Wort..."_s;
    QTest::newRow("unknown") << u"Wort..."_s << u"Wort..."_s;
    QTest::newRow("three points") << u"..."_s << u"..."_s;
    QTest::newRow("four points") << u"...."_s << u"...."_s;
    QTest::newRow("six points") << u"......"_s << u"......"_s;
    QTest::newRow("two points") << u"Datei.."_s << u"Datei.."_s;
    QTest::newRow("points not at the end") << u"Datei... "_s << u"Datei... "_s;
    QTest::newRow("the character of three points") << u"Datei…"_s << u"Datei…"_s;
    QTest::newRow("empty translation") << u"leer..."_s << u"..."_s;
}

void TestGuiDictionary::ellipses()
{
    QFETCH(QString, source);
    GuiDictionary dictionary(primaryContents());
    QTEST(dictionary->translateText(source, english), "text");
}

void TestGuiDictionary::manyEllipses()
{
    // As deep as the text is long.
    GuiDictionary dictionary(primaryContents());
    const QString points(30'000, u'.');
    QCOMPARE(dictionary->translateText(u"Datei"_s + points, english), u"File"_s + points);
}

void TestGuiDictionary::secondKeys_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("text");

    QTest::newRow("896 as stored") << u"Über zerk ERP"_s << u"About 896"_s;
    QTest::newRow("896 renamed") << u"Über Zerk"_s << u"About 896"_s;
    QTest::newRow("931 as stored") << u"zerk ERP beenden"_s << u"Quit 931"_s;
    QTest::newRow("931 renamed") << u"Zerk beenden"_s << u"Quit 931"_s;
    QTest::newRow("938 as stored") << u"zerk ERP und zerk ERP"_s << u"Both 938"_s;
    QTest::newRow("938 renamed everywhere") << u"Zerk und Zerk"_s << u"Both 938"_s;
    QTest::newRow("938 renamed once") << u"Zerk und zerk ERP"_s << u"Zerk und zerk ERP"_s;
    QTest::newRow("939 as stored") << u"Hilfe zu zerk ERP"_s << u"Help 939"_s;
    QTest::newRow("939 renamed") << u"Hilfe zu Zerk"_s << u"Help 939"_s;
    QTest::newRow("another number as stored") << u"Start von zerk ERP"_s << u"Start"_s;
    QTest::newRow("another number renamed") << u"Start von Zerk"_s << u"Start von Zerk"_s;
}

void TestGuiDictionary::secondKeys()
{
    QFETCH(QString, source);
    GuiDictionary dictionary(primaryContents());
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->translateText(source, english), "text");
}

void TestGuiDictionary::everyTextIsInTheIndex()
{
    // Numbers that differ by 1000 share their source text.
    constexpr qint32 count = 2500;
    DictionaryContents contents;
    for (qint32 number = 1; number <= count; ++number) {
        contents.texts.insert(
            number, {QString(), u"Text %1"_s.arg(number % 1000), {{english, u"text no. %1"_s.arg(number)}}});
    }
    GuiDictionary dictionary(contents);
    QVERIFY(dictionary.isOpen());
    for (qint32 remainder = 0; remainder < 1000; ++remainder) {
        const qint32 highest = remainder + (remainder <= 500 ? 2000 : 1000);
        QCOMPARE(dictionary->translateText(u"Text %1"_s.arg(remainder), english),
                 u"text no. %1"_s.arg(highest));
    }
}

void TestGuiDictionary::unknownTextsAreCollected()
{
    GuiDictionary dictionary(primaryContents());
    QVERIFY(!s3UnknownTexts().contains(u"noch nie gefragt"_s));
    QCOMPARE(dictionary->translateText(u"noch nie gefragt ..."_s, english), u"noch nie gefragt..."_s);
    QVERIFY(s3UnknownTexts().contains(u"noch nie gefragt"_s));
    QVERIFY(!s3UnknownTexts().contains(u"noch nie gefragt ..."_s));
    QCOMPARE(dictionary->translateText(u"......"_s, english), u"......"_s);
    QVERIFY(s3UnknownTexts().contains(QString()));
    QVERIFY(!s3UnknownTexts().contains(u"..."_s));
    QCOMPARE(dictionary->translateText(u"nur hier"_s, american), u"only here"_s);
    QVERIFY(!s3UnknownTexts().contains(u"nur hier"_s));
}

void TestGuiDictionary::languagesHaveTheirOwnAnswers()
{
    GuiDictionary dictionary(primaryContents());
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(dictionary->translateText(u"Datei"_s, english), u"File"_s);
        QCOMPARE(dictionary->translateText(u"Datei"_s, french), u"Fichier"_s);
        QCOMPARE(dictionary->translateText(u"nur hier"_s, american), u"only here"_s);
        QCOMPARE(dictionary->translateText(u"nur hier"_s, -1), u"nur hier"_s);
    }
}

void TestGuiDictionary::fallback_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");

    QTest::newRow("D never asks") << 1 << german << u"Datei"_s;
    QTest::newRow("E never asks") << 1 << english << u"File"_s;
    QTest::newRow("A never asks") << 1 << american << u"Datei"_s;
    QTest::newRow("own translation wins") << 1 << french << u"Fichier"_s;
    QTest::newRow("missing translation") << 1 << japanese << u"7 aus Reserve"_s;
    QTest::newRow("individual language") << 1 << individual << u"1 aus Reserve"_s;
    QTest::newRow("fallback has none either") << 4 << japanese << u"leer"_s;
    QTest::newRow("other source text") << 3 << japanese << u"Öffnen"_s;
    QTest::newRow("other source text, individual") << 3 << individual << u"Öffnen"_s;
    QTest::newRow("number that the fallback lacks") << 9 << japanese << u"nur hier"_s;
    QTest::newRow("number that none has") << 5000 << japanese << u"*** 5000 ***"_s;
}

void TestGuiDictionary::fallback()
{
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->textWithFallback(number, language), "text");
}

void TestGuiDictionary::fallbackWinsForIndividualLanguages()
{
    DictionaryContents contents = primaryContents();
    contents.texts[1].translations.insert(individual, u"1 aus erster Hand"_s);
    GuiDictionary dictionary(contents, fallbackContents());
    QVERIFY(dictionary->hasText(1, individual));
    QCOMPARE(dictionary->text(1, individual), u"1 aus erster Hand"_s);
    QCOMPARE(dictionary->textWithFallback(1, individual), u"1 aus Reserve"_s);
}

void TestGuiDictionary::fallbackOfOneTextIsNone()
{
    DictionaryContents single = fallbackContents();
    single.texts = {{1, single.texts[1]}};
    GuiDictionary dictionary(primaryContents(), single);
    QCOMPARE(dictionary->textWithFallback(1, japanese), u"Datei"_s);
    s3ExperimentalFeaturesInstance()->insert(u"forceFallbackDictionary"_s);
    const auto restore = qScopeGuard([] { s3ExperimentalFeaturesInstance()->clear(); });
    QCOMPARE(dictionary->textWithFallback(1, japanese), u"Datei"_s);
}

void TestGuiDictionary::fallbackOfTwoTextsIsUsed()
{
    DictionaryContents two = fallbackContents();
    two.texts = {{1, two.texts[1]}, {2, two.texts[4]}};
    GuiDictionary dictionary(primaryContents(), two);
    QCOMPARE(dictionary->textWithFallback(1, japanese), u"7 aus Reserve"_s);
}

void TestGuiDictionary::forcedFallback_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");

    QTest::newRow("D") << 1 << german << u"D aus Reserve"_s;
    QTest::newRow("E") << 1 << english << u"E aus Reserve"_s;
    QTest::newRow("A") << 1 << american << u"A aus Reserve"_s;
    QTest::newRow("own translation") << 1 << french << u"F aus Reserve"_s;
    QTest::newRow("fallback has none of its own") << 4 << english << u"leer"_s;
    QTest::newRow("other source text") << 3 << japanese << u"Öffnen"_s;
    QTest::newRow("other source text, own translation") << 3 << english << u"Open up"_s;
    QTest::newRow("number that none has") << 5000 << japanese << u"*** 5000 ***"_s;
}

void TestGuiDictionary::forcedFallback()
{
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    s3ExperimentalFeaturesInstance()->insert(u"forceFallbackDictionary"_s);
    const auto restore = qScopeGuard([] { s3ExperimentalFeaturesInstance()->clear(); });
    QTEST(dictionary->textWithFallback(number, language), "text");
}

void TestGuiDictionary::disabledFallback()
{
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    s3DisabledFeaturesInstance()->insert(u"useFallbackDictionary"_s);
    const auto restore = qScopeGuard([] { s3DisabledFeaturesInstance()->clear(); });
    QCOMPARE(dictionary->textWithFallback(1, japanese), u"Datei"_s);
    QCOMPARE(dictionary->textWithFallback(1, individual), u"Datei"_s);
}

void TestGuiDictionary::featureNameWithOtherCaseHasNoEffect()
{
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    s3DisabledFeaturesInstance()->insert(u"usefallbackdictionary"_s);
    s3ExperimentalFeaturesInstance()->insert(u"ForceFallbackDictionary"_s);
    const auto restore = qScopeGuard([] {
        s3DisabledFeaturesInstance()->clear();
        s3ExperimentalFeaturesInstance()->clear();
    });
    QCOMPARE(dictionary->textWithFallback(1, japanese), u"7 aus Reserve"_s);
    QCOMPARE(dictionary->textWithFallback(1, english), u"File"_s);
}

void TestGuiDictionary::bothFeatures()
{
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    s3DisabledFeaturesInstance()->insert(u"useFallbackDictionary"_s);
    s3ExperimentalFeaturesInstance()->insert(u"forceFallbackDictionary"_s);
    const auto restore = qScopeGuard([] {
        s3DisabledFeaturesInstance()->clear();
        s3ExperimentalFeaturesInstance()->clear();
    });
    QCOMPARE(dictionary->textWithFallback(1, english), u"E aus Reserve"_s);
}

void TestGuiDictionary::traceOfFoundText()
{
    GuiDictionary dictionary(primaryContents());
    const ScopedTestFlag flag(460);
    const TraceRecorder trace;
    QCOMPARE(dictionary->translateText(u"Datei"_s, english), u"File"_s);
    QCOMPARE(dictionary->translateText(u"Datei"_s, english), u"File"_s);
    QCOMPARE(trace.lines().size(), 2);
    for (const bool inCache : {false, true}) {
        const QRegularExpression line(
            u"^s3GuiDictionary::translateText\\(\\) sourceText=\"Datei\" textNumber=1 languageText=\"File\" "
            "foundInCache=%1 elapsed=\"\\d+ µs\"$"_s.arg(inCache ? u"true"_s : u"false"_s));
        const QString actual = trace.lines().at(inCache ? 1 : 0);
        QVERIFY2(line.match(actual).hasMatch(), qPrintable(actual));
    }
}

void TestGuiDictionary::traceOfEmptyTranslation()
{
    GuiDictionary dictionary(primaryContents());
    const ScopedTestFlag flag(460);
    const TraceRecorder trace;
    for (int round = 0; round < 3; ++round) {
        QCOMPARE(dictionary->translateText(u"leer"_s, english), QString());
        QVERIFY2(trace.lines().last().contains(u" languageText=\"\" foundInCache=false "_s),
                 qPrintable(trace.lines().last()));
    }
    QCOMPARE(trace.lines().size(), 3);
}

void TestGuiDictionary::traceOfUnknownText_data()
{
    QTest::addColumn<QList<qint32>>("flags");
    QTest::addColumn<qsizetype>("lines");

    QTest::newRow("460") << QList<qint32>{460} << qsizetype(1);
    QTest::newRow("400") << QList<qint32>{400} << qsizetype(1);
    QTest::newRow("both") << QList<qint32>{400, 460} << qsizetype(1);
    QTest::newRow("another flag") << QList<qint32>{226} << qsizetype(0);
}

void TestGuiDictionary::traceOfUnknownText()
{
    QFETCH(QList<qint32>, flags);
    QFETCH(qsizetype, lines);
    GuiDictionary dictionary(primaryContents());
    for (const qint32 flag : flags)
        s3TestFlagsInstance()->insert(flag);
    const auto restore = qScopeGuard([] { s3TestFlagsInstance()->clear(); });
    const TraceRecorder trace;
    QCOMPARE(dictionary->translateText(u"kein\tWort"_s, english), u"kein\tWort"_s);
    QCOMPARE(trace.lines().size(), lines);
    if (lines > 0) {
        QCOMPARE(trace.lines().first(),
                 u"s3GuiDictionary::translateText() m_filePath=\":/gui/primary.dat\" "
                 "sourceText=\"kein\\tWort\" not in dictionary"_s);
    }
}

void TestGuiDictionary::traceOfEllipsis()
{
    GuiDictionary dictionary(primaryContents());
    const ScopedTestFlag flag(400);
    const TraceRecorder trace;
    // Flag 400 is silent about a text that is found.
    QCOMPARE(dictionary->translateText(u"Datei ..."_s, english), u"File..."_s);
    QCOMPARE(trace.lines(), QStringList());
    QCOMPARE(dictionary->translateText(u"Wort ..."_s, english), u"Wort..."_s);
    QCOMPARE(trace.lines(),
             QStringList(u"s3GuiDictionary::translateText() m_filePath=\":/gui/primary.dat\" "
                         "sourceText=\"Wort\" not in dictionary"_s));
}

void TestGuiDictionary::traceOfFallback()
{
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    const ScopedTestFlag flag(460);
    const TraceRecorder trace;
    QCOMPARE(dictionary->textWithFallback(1, japanese), u"7 aus Reserve"_s);
    QCOMPARE(dictionary->textWithFallback(1, french), u"Fichier"_s);
    s3ExperimentalFeaturesInstance()->insert(u"forceFallbackDictionary"_s);
    const auto restore = qScopeGuard([] { s3ExperimentalFeaturesInstance()->clear(); });
    QCOMPARE(dictionary->textWithFallback(1, french), u"F aus Reserve"_s);
    QCOMPARE(trace.lines(),
             QStringList(u"s3GuiDictionary::textWithFallback() textNumber=1 languageISO=\"ja\" "
                         "sourceText=\"Datei\" fallbackText=\"7 aus Reserve\""_s));
}

void TestGuiDictionary::noTraceInAnOrdinaryRun()
{
    GuiDictionary dictionary(primaryContents(), fallbackContents());
    const TraceRecorder trace;
    QCOMPARE(dictionary->translateText(u"Datei"_s, japanese), u"7 aus Reserve"_s);
    QCOMPARE(dictionary->translateText(u"kein Wort"_s, japanese), u"kein Wort"_s);
    QCOMPARE(trace.lines(), QStringList());
}

QTEST_GUILESS_MAIN(TestGuiDictionary)
#include "tst_s3guidictionary.moc"
