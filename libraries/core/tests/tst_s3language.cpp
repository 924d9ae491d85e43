#include "dictionaryfixture.h"
#include "s3language.h"
#include "s3languagetables.h"
#include "s3translate.h"

#include <ostrelletest/scopedcurrentdir.h>
#include <ostrelletest/scopedtestflag.h>

#include <QDir>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// Puts language, default locale and layout direction back at the end of the scope.
class ScopedLanguage
{
public:
    ScopedLanguage() = default;
    explicit ScopedLanguage(const QString &letter) { m_isSet = s3SetLanguage(letter, QString()); }
    ~ScopedLanguage()
    {
        s3SetLanguage(m_letter, QString());
        QLocale::setDefault(m_locale);
    }
    Q_DISABLE_COPY_MOVE(ScopedLanguage)

    [[nodiscard]] bool isSet() const { return m_isSet; }

private:
    QString m_letter = s3CurrentLanguageLetter();
    QLocale m_locale;
    bool m_isSet = false;
};

// The message dictionary of these tests: yes, no and the languages' names in German, English and French.
DictionaryContents messages()
{
    DictionaryContents contents;
    contents.texts.insert(531, {u"yes"_s, u"Ja"_s, {{1, u"Yes"_s}, {2, u"Oui"_s}}});
    contents.texts.insert(532, {u"no"_s, u"Nein"_s, {{1, u"No"_s}, {2, u"Non"_s}}});
    for (qint32 index = 0; index < 32; ++index)
        contents.texts.insert(950 + index, {QString(), u"Sprache%1"_s.arg(index), {}});
    contents.texts[950] = {QString(), u"Deutsch"_s, {{1, u"German"_s}, {2, u"Allemand"_s}}};
    contents.texts[952] = {QString(), u"Französisch"_s, {{1, u"French"_s}, {2, u"Français"_s}}};
    contents.texts[981] = {QString(), u"Japanisch"_s, {{1, u"Japanese"_s}, {31, u"日本語"_s}}};
    return contents;
}

} // namespace

class TestLanguage final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startState();
    void namesWithoutDictionary();
    void table_data();
    void table();
    void alphabet();
    void indexes_data();
    void indexes();
    void letters_data();
    void letters();
    void isoNames_data();
    void isoNames();
    void charsetTable_data();
    void charsetTable();
    void charsetOfIndividualLanguage();
    void rightToLeft_data();
    void rightToLeft();
    void rightToLeftByTestFlag();
    void localeNames_data();
    void localeNames();
    void localeNameOfIndividualLanguage();
    void setLanguage_data();
    void setLanguage();
    void setLanguageRefuses_data();
    void setLanguageRefuses();
    void setLanguageWithoutLocaleKeepsTheDefault();
    void layoutDirectionFollows();
    void directories_data();
    void directories();
    void individualLanguages();
    void individualNamesRefuse_data();
    void individualNamesRefuse();
    void individualIsoNames();
    void acceptLanguage_data();
    void acceptLanguage();
    void findByLocale_data();
    void findByLocale();
    void choose_data();
    void choose();
    void namesFromDictionary();
    void currentNameIsKeptForItsLetter();
    void findByName_data();
    void findByName();
    void findMany();
    void chooseByName();
    void yesAndNo();

private:
    // Opens the message dictionary; later calls find it open.
    static bool openMessages();
};

bool TestLanguage::openMessages()
{
    const QTemporaryDir directory;
    const ScopedCurrentDir current(directory.path());
    QString error;
    return current.entered() && QDir().mkdir(u"data"_s)
        && writeBytes(u"data/msg.dat.0"_s, dictionaryBytes(messages())) && s3OpenDictionaries(error);
}

void TestLanguage::startState()
{
    QCOMPARE(s3CurrentLanguage(), 0);
    QCOMPARE(s3CurrentLanguageLetter(), u"D"_s);
    QCOMPARE(s3CurrentLanguageIso(), u"de"_s);
    QVERIFY(!s3CurrentLanguageIsIndividual());
    QVERIFY(!s3IsRightToLeft());
    QVERIFY(!s3LanguageDirectoryFlag());
    QCOMPARE(s3CurrentLanguageDirectory(), QString());
    QCOMPARE(s3IndividualLanguageName(u"1"_s), u"Individ.1"_s);
    QCOMPARE(s3IndividualLanguageName(u"2"_s), u"Individ.2"_s);
    QCOMPARE(s3IndividualLanguageName(u"3"_s), u"Individ.3"_s);
}

void TestLanguage::namesWithoutDictionary()
{
    QCOMPARE(s3LanguageName(u"D"_s), u"*** 950 ***"_s);
    QCOMPARE(s3LanguageName(u"7"_s), u"*** 981 ***"_s);
    QCOMPARE(s3FindLanguage(u"Deutsch"_s), QString());
    QCOMPARE(s3FindLanguage(u"Individ.2"_s), u"2"_s);
}

void TestLanguage::table_data()
{
    QTest::addColumn<qint32>("index");
    QTest::addColumn<QString>("iso");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<qint32>("charset");
    QTest::addColumn<QString>("charsetName");
    QTest::addColumn<qint32>("writingSystem");
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("rightToLeft");

    const auto row = [](const char *letter, qint32 index, const QString &iso, const QString &locale,
                        qint32 charset, const QString &charsetName, qint32 writingSystem,
                        const QString &script, bool rightToLeft = false) {
        QTest::newRow(letter) << index << iso << locale << charset << charsetName << writingSystem << script
                              << rightToLeft;
    };
    const QString latin = u"Latin"_s;
    row("D", 0, u"de"_s, u"de_DE"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("E", 1, u"en"_s, u"en_GB"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("F", 2, u"fr"_s, u"fr_FR"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("S", 3, u"es"_s, u"es_ES"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("I", 4, u"it"_s, u"it_IT"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("P", 5, u"pl"_s, u"pl_PL"_s, 238, u"EASTEUROPE_CHARSET"_s, 1, latin);
    row("R", 6, u"ru"_s, u"ru_RU"_s, 204, u"RUSSIAN_CHARSET"_s, 3, u"Cyrillic"_s);
    row("U", 7, u"hu"_s, u"hu_HU"_s, 238, u"EASTEUROPE_CHARSET"_s, 1, latin);
    row("C", 8, u"cs"_s, u"cs_CZ"_s, 238, u"EASTEUROPE_CHARSET"_s, 1, latin);
    row("T", 9, u"tr"_s, u"tr_TR"_s, 162, u"TURKISH_CHARSET"_s, 1, latin);
    row("1", 10, u"1"_s, u"1"_s, 1, QString(), 0, QString());
    row("2", 11, u"2"_s, u"2"_s, 1, QString(), 0, QString());
    row("3", 12, u"3"_s, u"3"_s, 1, QString(), 0, QString());
    row("A", 13, u"en-US"_s, u"en_US"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("O", 14, u"ro"_s, u"ro_RO"_s, 238, u"EASTEUROPE_CHARSET"_s, 1, latin);
    row("B", 15, u"id"_s, u"id_ID"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("N", 16, u"nl"_s, u"nl_NL"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("M", 17, u"mk"_s, u"mk_MK"_s, 204, u"RUSSIAN_CHARSET"_s, 3, u"Cyrillic"_s);
    row("X", 18, u"bg"_s, u"bg_BG"_s, 204, u"RUSSIAN_CHARSET"_s, 3, u"Cyrillic"_s);
    row("Y", 19, u"sr"_s, u"sr_RS"_s, 204, u"RUSSIAN_CHARSET"_s, 3, u"Cyrillic"_s);
    row("L", 20, u"sl"_s, u"sl_SI"_s, 238, u"EASTEUROPE_CHARSET"_s, 1, latin);
    row("W", 21, u"sk"_s, u"sk_SK"_s, 238, u"EASTEUROPE_CHARSET"_s, 1, latin);
    row("G", 22, u"pt"_s, u"pt_PT"_s, 0, u"ANSI_CHARSET"_s, 1, latin);
    row("Q", 23, u"zh-CN"_s, u"zh_CN"_s, 134, u"GB2312_CHARSET"_s, 25, u"SimplifiedChinese"_s);
    row("H", 24, u"zh-TW"_s, u"zh_TW"_s, 136, u"CHINESEBIG5_CHARSET"_s, 26, u"TraditionalChinese"_s);
    row("Z", 25, u"el"_s, u"el_GR"_s, 161, u"GREEK_CHARSET"_s, 2, u"Greek"_s);
    row("K", 26, u"th"_s, u"th_TH"_s, 222, u"THAI_CHARSET"_s, 19, u"Thai"_s);
    row("V", 27, u"ar"_s, u"ar_EG"_s, 178, u"ARABIC_CHARSET"_s, 6, u"Arabic"_s, true);
    row("J", 28, u"fa"_s, u"fa_IR"_s, 178, u"ARABIC_CHARSET"_s, 6, u"Arabic"_s, true);
    row("9", 29, u"vi"_s, u"vi_VN"_s, 163, u"VIETNAMESE_CHARSET"_s, 29, u"Vietnamese"_s);
    row("8", 30, u"ur"_s, u"ur_PK"_s, 178, u"ARABIC_CHARSET"_s, 6, u"Arabic"_s, true);
    row("7", 31, u"ja"_s, u"ja_JP"_s, 128, u"SHIFTJIS_CHARSET"_s, 27, u"Japanese"_s);
}

void TestLanguage::table()
{
    const QString letter = QString::fromLatin1(QTest::currentDataTag());
    QFETCH(qint32, index);
    QFETCH(QString, iso);
    QFETCH(QString, locale);

    QCOMPARE(s3LanguageIndex(letter), index);
    QCOMPARE(s3LanguageLetter(index), letter);
    QCOMPARE(s3Languages().at(index), letter);
    QCOMPARE(s3LanguageIso(letter), iso);
    QCOMPARE(s3LanguageIso(index), iso);
    QCOMPARE(s3FindLanguage(letter), letter);
    QCOMPARE(s3FindLanguage(letter.toLower()), letter);
    QCOMPARE(s3FindLanguage(iso), letter);
    QCOMPARE(s3FindLanguage(iso.toUpper()), letter);
    QCOMPARE(s3IsIndividualLanguage(letter), u"123"_s.contains(letter));
    QCOMPARE(s3IsIndividualLanguage(index), u"123"_s.contains(letter));

    const ScopedLanguage language(letter);
    QVERIFY(language.isSet());
    QCOMPARE(s3CurrentLanguage(), index);
    QCOMPARE(s3CurrentLanguageLetter(), letter);
    QCOMPARE(s3CurrentLanguageIso(), iso);
    QCOMPARE(s3CurrentLanguageIsIndividual(), u"123"_s.contains(letter));
    QCOMPARE(s3CurrentLocaleName(), locale);
    QTEST(s3CharsetValue(), "charset");
    QTEST(s3CharsetName(), "charsetName");
    QTEST(s3WritingSystem(), "writingSystem");
    QTEST(s3WritingSystemName(), "script");
    QTEST(s3IsRightToLeft(), "rightToLeft");
    QTEST(QGuiApplication::layoutDirection() == Qt::RightToLeft, "rightToLeft");
    if (letter != u"A"_s && letter != u"E"_s)
        QCOMPARE(s3AcceptLanguage(), iso + u",en-US;q=0.9,en;q=0.8"_s);
    // Qt knows each of these locales by the name that it gets.
    if (!s3CurrentLanguageIsIndividual())
        QCOMPARE(QLocale(s3CurrentLocaleName()).name(), locale);
}

void TestLanguage::alphabet()
{
    QCOMPARE(s3Languages().join(QString()), u"DEFSIPRUCT123AOBNMXYLWGQHZKVJ987"_s);
    QStringList copy = s3Languages();
    copy.clear();
    QCOMPARE(s3Languages().size(), 32);
}

void TestLanguage::indexes_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<qint32>("index");

    QTest::newRow("lower case") << u"d"_s << 0;
    QTest::newRow("two letters") << u"DE"_s << -1;
    QTest::newRow("empty") << QString() << -1;
    QTest::newRow("unknown letter") << u"0"_s << -1;
    QTest::newRow("letter with a blank") << u"D "_s << -1;
    QTest::newRow("non-ASCII") << u"Ä"_s << -1;
}

void TestLanguage::indexes()
{
    QFETCH(QString, letter);
    QTEST(s3LanguageIndex(letter), "index");
}

void TestLanguage::letters_data()
{
    QTest::addColumn<qint32>("index");
    QTest::addColumn<QString>("letter");

    QTest::newRow("last") << 31 << u"7"_s;
    QTest::newRow("behind the last") << 32 << QString();
    QTest::newRow("source column") << -1 << QString();
}

void TestLanguage::letters()
{
    QFETCH(qint32, index);
    QTEST(s3LanguageLetter(index), "letter");
}

void TestLanguage::isoNames_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<QString>("iso");

    QTest::newRow("lower case") << u"e"_s << u"en"_s;
    QTest::newRow("individual without name") << u"1"_s << u"1"_s;
    QTest::newRow("unknown") << u"0"_s << QString();
    QTest::newRow("empty") << QString() << QString();
}

void TestLanguage::isoNames()
{
    QFETCH(QString, letter);
    QTEST(s3LanguageIso(letter), "iso");
    QCOMPARE(s3LanguageIso(32), QString());
    QCOMPARE(s3LanguageIso(-1), QString());
}

void TestLanguage::charsetTable_data()
{
    QTest::addColumn<qint32>("row");
    QTest::addColumn<qint32>("writingSystem");

    QTest::newRow("ANSI") << 0 << int(QFontDatabase::Latin);
    QTest::newRow("Eastern Europe") << 1 << int(QFontDatabase::Latin);
    QTest::newRow("Russian") << 2 << int(QFontDatabase::Cyrillic);
    QTest::newRow("Greek") << 3 << int(QFontDatabase::Greek);
    QTest::newRow("Turkish") << 4 << int(QFontDatabase::Latin);
    QTest::newRow("simplified Chinese") << 5 << int(QFontDatabase::SimplifiedChinese);
    QTest::newRow("traditional Chinese") << 6 << int(QFontDatabase::TraditionalChinese);
    QTest::newRow("Thai") << 7 << int(QFontDatabase::Thai);
    QTest::newRow("Vietnamese") << 8 << int(QFontDatabase::Vietnamese);
    QTest::newRow("Arabic") << 9 << int(QFontDatabase::Arabic);
    QTest::newRow("Japanese") << 10 << int(QFontDatabase::Japanese);
}

void TestLanguage::charsetTable()
{
    QFETCH(qint32, row);
    QTEST(s3CharsetTable.at(size_t(row)).writingSystem, "writingSystem");
}

void TestLanguage::charsetOfIndividualLanguage()
{
    const ScopedLanguage language(u"1"_s);
    QCOMPARE(s3CharsetValue(), 1);
    QCOMPARE(s3CharsetName(), QString());
    QCOMPARE(s3WritingSystem(), 0);
    QCOMPARE(s3WritingSystemName(), QString());
}

void TestLanguage::rightToLeft_data()
{
    QTest::addColumn<bool>("rightToLeft");
    QTest::newRow("H") << false;
    QTest::newRow("8") << true;
    QTest::newRow("V") << true;
    QTest::newRow("J") << true;
    QTest::newRow("1") << false;
}

void TestLanguage::rightToLeft()
{
    const ScopedLanguage language(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(s3IsRightToLeft(), "rightToLeft");
}

void TestLanguage::rightToLeftByTestFlag()
{
    const ScopedLanguage language(u"D"_s);
    QVERIFY(!s3IsRightToLeft());
    {
        const ScopedTestFlag otherFlag(228);
        QVERIFY(!s3IsRightToLeft());
        const ScopedTestFlag flag(229);
        QVERIFY(s3IsRightToLeft());
        QVERIFY(s3SetLanguage(u"D"_s, QString()));
        QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    }
    QVERIFY(!s3IsRightToLeft());
}

void TestLanguage::localeNames_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<QString>("name");

    QTest::newRow("from the table") << u"E"_s << u"en_GB"_s;
    QTest::newRow("doubled") << u"N"_s << u"nl_NL"_s;
    QTest::newRow("with a country") << u"Q"_s << u"zh_CN"_s;
}

void TestLanguage::localeNames()
{
    QFETCH(QString, letter);
    const ScopedLanguage language(letter);
    QTEST(s3CurrentLocaleName(), "name");
}

void TestLanguage::localeNameOfIndividualLanguage()
{
    const ScopedLanguage language;
    QVERIFY(s3SetLanguage(u"3"_s, u"da"_s));
    QCOMPARE(s3CurrentLanguageIso(), u"da"_s);
    QCOMPARE(s3CurrentLocaleName(), u"da_DA"_s);
    QVERIFY(s3SetLanguage(u"3"_s, u"da-DK"_s));
    QCOMPARE(s3CurrentLocaleName(), u"da_DK"_s);
    QCOMPARE(QLocale().name(), u"da_DK"_s);
    // An empty name does not remove the one that is there.
    QVERIFY(s3SetLanguage(u"3"_s, QString()));
    QCOMPARE(s3CurrentLanguageIso(), u"da-DK"_s);
    QVERIFY(s3SetIndividualLanguageIso(u"3"_s, u"3"_s));
}

void TestLanguage::setLanguage_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<qint32>("index");
    QTest::addColumn<QString>("locale");

    QTest::newRow("upper case") << u"F"_s << 2 << u"fr_FR"_s;
    QTest::newRow("lower case") << u"a"_s << 13 << u"en_US"_s;
}

void TestLanguage::setLanguage()
{
    QFETCH(QString, letter);
    const ScopedLanguage language;
    QVERIFY(s3SetLanguage(letter, QString()));
    QTEST(s3CurrentLanguage(), "index");
    QTEST(QLocale().name(), "locale");
}

void TestLanguage::setLanguageRefuses_data()
{
    QTest::addColumn<QString>("letter");
    QTest::newRow("empty") << QString();
    QTest::newRow("unknown") << u"0"_s;
    QTest::newRow("ISO name") << u"de"_s;
}

void TestLanguage::setLanguageRefuses()
{
    QFETCH(QString, letter);
    const ScopedLanguage language(u"F"_s);
    QVERIFY(!s3SetLanguage(letter, u"xx"_s));
    QCOMPARE(s3CurrentLanguageLetter(), u"F"_s);
    QCOMPARE(QLocale().name(), u"fr_FR"_s);
}

void TestLanguage::setLanguageWithoutLocaleKeepsTheDefault()
{
    const ScopedLanguage language(u"V"_s);
    QCOMPARE(QLocale().name(), u"ar_EG"_s);
    QVERIFY(s3SetLanguage(u"1"_s, QString()));
    QCOMPARE(QLocale(s3CurrentLocaleName()).language(), QLocale::C);
    QCOMPARE(QLocale().name(), u"ar_EG"_s);
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
}

void TestLanguage::layoutDirectionFollows()
{
    const ScopedLanguage language(u"J"_s);
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    QVERIFY(s3SetLanguage(u"H"_s, QString()));
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
}

void TestLanguage::directories_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<bool>("flag");
    QTest::addColumn<QString>("directory");

    QTest::newRow("D shares the common directory") << u"D"_s << false << QString();
    QTest::newRow("D with the flag") << u"D"_s << true << u"D/"_s;
    QTest::newRow("E") << u"E"_s << false << u"E/"_s;
    QTest::newRow("E with the flag") << u"E"_s << true << u"E/"_s;
    QTest::newRow("lower case is another string") << u"d"_s << false << u"d/"_s;
    QTest::newRow("empty") << QString() << false << u"/"_s;
}

void TestLanguage::directories()
{
    QFETCH(QString, letter);
    QFETCH(bool, flag);
    s3SetLanguageDirectoryFlag(flag);
    const bool readBack = s3LanguageDirectoryFlag();
    const QString directory = s3LanguageDirectory(letter);
    const ScopedLanguage language(letter);
    const QString currentDirectory = s3CurrentLanguageDirectory();
    s3SetLanguageDirectoryFlag(false);
    QCOMPARE(readBack, flag);
    QTEST(directory, "directory");
    if (language.isSet() && letter == letter.toUpper())
        QCOMPARE(currentDirectory, directory);
}

void TestLanguage::individualLanguages()
{
    QVERIFY(!s3IsIndividualLanguage(u"D"_s));
    QVERIFY(!s3IsIndividualLanguage(QString()));
    QVERIFY(!s3IsIndividualLanguage(-1));
    QCOMPARE(s3IndividualLanguageName(u"D"_s), QString());

    QVERIFY(s3SetIndividualLanguageName(u"2"_s, u"Plattdüütsch"_s));
    QCOMPARE(s3IndividualLanguageName(u"2"_s), u"Plattdüütsch"_s);
    QCOMPARE(s3LanguageName(u"2"_s), u"Plattdüütsch"_s);
    QCOMPARE(s3FindLanguage(u"PLATTDÜÜTSCH"_s), u"2"_s);
    QVERIFY(s3SetIndividualLanguageName(u"2"_s, u"Individ.2"_s));
}

void TestLanguage::individualNamesRefuse_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<QString>("name");

    QTest::newRow("not individual") << u"D"_s << u"Deutsch"_s;
    QTest::newRow("empty name") << u"1"_s << QString();
    QTest::newRow("no language") << u"0"_s << u"x"_s;
}

void TestLanguage::individualNamesRefuse()
{
    QFETCH(QString, letter);
    QFETCH(QString, name);
    const QString oldName = s3IndividualLanguageName(letter);
    const QString oldIso = s3LanguageIso(letter);
    QVERIFY(!s3SetIndividualLanguageName(letter, name));
    QVERIFY(!s3SetIndividualLanguageIso(letter, name));
    QCOMPARE(s3IndividualLanguageName(letter), oldName);
    QCOMPARE(s3LanguageIso(letter), oldIso);
}

void TestLanguage::individualIsoNames()
{
    QVERIFY(s3SetIndividualLanguageIso(u"2"_s, u"nds"_s));
    QCOMPARE(s3LanguageIso(u"2"_s), u"nds"_s);
    QCOMPARE(s3LanguageIso(11), u"nds"_s);
    QCOMPARE(s3FindLanguage(u"NDS"_s), u"2"_s);
    QVERIFY(s3SetIndividualLanguageIso(u"2"_s, u"2"_s));
}

void TestLanguage::acceptLanguage_data()
{
    QTest::addColumn<QString>("letter");
    QTest::addColumn<QString>("header");

    QTest::newRow("German") << u"D"_s << u"de,en-US;q=0.9,en;q=0.8"_s;
    QTest::newRow("American English") << u"A"_s << u"en-US,en;q=0.9"_s;
    QTest::newRow("British English") << u"E"_s << u"en,en-US;q=0.9"_s;
    QTest::newRow("with a country") << u"Q"_s << u"zh-CN,en-US;q=0.9,en;q=0.8"_s;
    QTest::newRow("individual") << u"1"_s << u"1,en-US;q=0.9,en;q=0.8"_s;
}

void TestLanguage::acceptLanguage()
{
    QFETCH(QString, letter);
    const ScopedLanguage language(letter);
    QTEST(s3AcceptLanguage(), "header");
}

void TestLanguage::findByLocale_data()
{
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("letter");

    QTest::newRow("C") << QLocale::c() << QString();
    QTest::newRow("en_US") << QLocale(u"en_US"_s) << u"A"_s;
    QTest::newRow("en_GB by its first part") << QLocale(u"en_GB"_s) << u"E"_s;
    QTest::newRow("de_AT") << QLocale(u"de_AT"_s) << u"D"_s;
    QTest::newRow("de_CH") << QLocale(u"de_CH"_s) << u"D"_s;
    QTest::newRow("zh_CN") << QLocale(u"zh_CN"_s) << u"Q"_s;
    QTest::newRow("zh_TW") << QLocale(u"zh_TW"_s) << u"H"_s;
    QTest::newRow("pt_BR") << QLocale(u"pt_BR"_s) << u"G"_s;
    QTest::newRow("da_DK is not served") << QLocale(u"da_DK"_s) << QString();
}

void TestLanguage::findByLocale()
{
    QFETCH(QLocale, locale);
    QTEST(s3FindLanguage(locale), "letter");
}

void TestLanguage::choose_data()
{
    QTest::addColumn<QString>("explicitLetter");
    QTest::addColumn<QString>("secondLetter");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("letter");
    QTest::addColumn<QStringList>("offered");

    const QLocale french(u"fr_FR"_s);
    const QStringList onlyGerman{u"D"_s};
    const QStringList frenchAndGerman{u"F"_s, u"D"_s};
    QTest::newRow("nothing") << QString() << QString() << QString() << QLocale::c() << u"A"_s << onlyGerman;
    QTest::newRow("locale") << QString() << QString() << QString() << french << u"F"_s << frenchAndGerman;
    QTest::newRow("German locale") << QString() << QString() << QString() << QLocale(u"de_CH"_s) << u"D"_s
                                   << onlyGerman;
    QTest::newRow("explicit letter") << u"S"_s << u"I"_s << u"ru"_s << french << u"S"_s << QStringList();
    QTest::newRow("unknown explicit letter")
        << u"0"_s << u"I"_s << u"ru"_s << french << u"I"_s << QStringList();
    QTest::newRow("second letter") << QString() << u"I"_s << QString() << french << u"I"_s << frenchAndGerman;
    QTest::newRow("name before locale")
        << QString() << QString() << u"ru"_s << french << u"R"_s << QStringList{u"R"_s, u"D"_s};
    QTest::newRow("unknown name, then locale")
        << QString() << QString() << u"klingon"_s << french << u"F"_s << frenchAndGerman;
    QTest::newRow("unknown explicit letter alone")
        << u"0"_s << QString() << QString() << QLocale::c() << u"A"_s << QStringList();
}

void TestLanguage::choose()
{
    QFETCH(QString, explicitLetter);
    QFETCH(QString, secondLetter);
    QFETCH(QString, name);
    QFETCH(QLocale, locale);
    const ScopedLanguage language(u"P"_s);
    QTEST(s3ChooseLanguage(explicitLetter, secondLetter, name, locale), "offered");
    QTEST(s3CurrentLanguageLetter(), "letter");
}

void TestLanguage::namesFromDictionary()
{
    QVERIFY(openMessages());
    const ScopedLanguage language(u"D"_s);
    QCOMPARE(s3LanguageName(u"D"_s), u"Deutsch"_s);
    QCOMPARE(s3LanguageName(u"f"_s), u"Französisch"_s);
    QCOMPARE(s3LanguageName(u"7"_s), u"Japanisch"_s);
    QCOMPARE(s3LanguageName(u"1"_s), u"Individ.1"_s);
    QCOMPARE(s3LanguageName(QString()), QString());
    QCOMPARE(s3LanguageName(u"0"_s), QString());
    for (qint32 index = 0; index < 32; ++index) {
        const QString letter = s3LanguageLetter(index);
        if (!s3IsIndividualLanguage(index))
            QCOMPARE(s3LanguageName(letter), s3Message(950 + index));
    }
    QVERIFY(s3SetLanguage(u"E"_s, QString()));
    QCOMPARE(s3LanguageName(u"D"_s), u"German"_s);
}

void TestLanguage::currentNameIsKeptForItsLetter()
{
    QVERIFY(openMessages());
    const ScopedLanguage language(u"F"_s);
    QCOMPARE(s3CurrentLanguageName(), u"Français"_s);
    QVERIFY(s3SetLanguage(u"1"_s, QString()));
    QCOMPARE(s3CurrentLanguageName(), u"Individ.1"_s);
    // A new name is seen when the letter has changed in between.
    QVERIFY(s3SetIndividualLanguageName(u"1"_s, u"Sächsisch"_s));
    QCOMPARE(s3CurrentLanguageName(), u"Individ.1"_s);
    QVERIFY(s3SetLanguage(u"F"_s, QString()));
    QCOMPARE(s3CurrentLanguageName(), u"Français"_s);
    QVERIFY(s3SetLanguage(u"1"_s, QString()));
    QCOMPARE(s3CurrentLanguageName(), u"Sächsisch"_s);
    QVERIFY(s3SetIndividualLanguageName(u"1"_s, u"Individ.1"_s));
}

void TestLanguage::findByName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("letter");

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("unknown") << u"Klingonisch"_s << QString();
    QTest::newRow("German name") << u"Französisch"_s << u"F"_s;
    QTest::newRow("English name") << u"French"_s << u"F"_s;
    QTest::newRow("French name") << u"français"_s << u"F"_s;
    QTest::newRow("upper case") << u"FRANZÖSISCH"_s << u"F"_s;
    QTest::newRow("Japanese name") << u"日本語"_s << u"7"_s;
    for (qint32 index = 0; index < 32; ++index) {
        const QString letter = s3LanguageLetter(index);
        if (!u"DF7"_s.contains(letter)) {
            QTest::addRow("name of %s", qPrintable(letter))
                << u"Sprache%1"_s.arg(s3LanguageIndex(letter)) << letter;
        }
    }
    QTest::newRow("letter before name") << u"s"_s << u"S"_s;
    QTest::newRow("name of an individual language") << u"individ.3"_s << u"3"_s;
    QTest::newRow("name with blanks around it") << u" French "_s << QString();
}

void TestLanguage::findByName()
{
    QVERIFY(openMessages());
    QFETCH(QString, name);
    QTEST(s3FindLanguage(name), "letter");
}

void TestLanguage::findMany()
{
    QVERIFY(openMessages());
    QCOMPARE(s3FindLanguages(u"  french\tklingon \n de  en-us J"_s),
             (QStringList{u"F"_s, u"D"_s, u"A"_s, u"J"_s}));
    QCOMPARE(s3FindLanguages(u"D D"_s), (QStringList{u"D"_s, u"D"_s}));
    QCOMPARE(s3FindLanguages(QString()), QStringList());
    QCOMPARE(s3FindLanguages(u" \n "_s), QStringList());
}

void TestLanguage::chooseByName()
{
    QVERIFY(openMessages());
    const ScopedLanguage language;
    QCOMPARE(s3ChooseLanguage(QString(), QString(), u"Japanese"_s, QLocale(u"fr_FR"_s)),
             (QStringList{u"7"_s, u"D"_s}));
    QCOMPARE(s3CurrentLanguageLetter(), u"7"_s);
}

void TestLanguage::yesAndNo()
{
    QVERIFY(openMessages());
    const ScopedLanguage language(u"D"_s);
    QCOMPARE(s3YesNoText(true), u"Ja"_s);
    QVERIFY(s3SetLanguage(u"E"_s, QString()));
    // Each word is that of the language of its first use.
    QCOMPARE(s3YesNoText(false), u"No"_s);
    QCOMPARE(s3YesNoText(true), u"Ja"_s);
    QVERIFY(s3SetLanguage(u"F"_s, QString()));
    QCOMPARE(s3YesNoText(false), u"No"_s);
    QVERIFY(s3IsYesText(u"Ja"_s));
    QVERIFY(!s3IsYesText(u"ja"_s));
    QVERIFY(!s3IsYesText(u"Yes"_s));
    QVERIFY(!s3IsYesText(QString()));
}

QTEST_MAIN(TestLanguage)
#include "tst_s3language.moc"
