#include "dictionaryfixture.h"
#include "s3language.h"
#include "s3translate.h"
#include "s3whitelabel.h"

#include <ostrelletest/memoryresource.h>
#include <ostrelletest/scopedcurrentdir.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 german = 0;
constexpr qint32 english = 1;
constexpr qint32 japanese = 31;

DictionaryContents guiContents()
{
    DictionaryContents contents;
    contents.texts = {
        {1, {u"file"_s, u"Datei"_s, {{english, u"zerk ERP file"_s}}}},
        {2, {QString(), u"Start"_s, {}}},
        {4, {QString(), u"Zerk"_s, {}}},
    };
    return contents;
}

DictionaryContents fallbackContents()
{
    DictionaryContents contents = guiContents();
    contents.texts[2].translations.insert(japanese, u"スタート"_s);
    return contents;
}

DictionaryContents messageContents()
{
    DictionaryContents contents;
    contents.texts = {
        {1,
         {u"ERR_ONE"_s, u"Quelle"_s, {{german, u"Fehler in zerk ERP, zerk ERP"_s}, {english, u"Error"_s}}}},
        {3, {u"zerk ERP"_s, u"drei"_s, {{german, u"Zerk ERP, ZERK ERP"_s}}}},
        {5, {u"Zerk"_s, u"fünf"_s, {}}},
    };
    return contents;
}

} // namespace

// The dictionaries are the process's own, so the slots go through its life in order: closed, failed,
// opened.
class TestTranslate final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void closedState();
    void defaultBoxTitleHasNoMark();
    void missingMessageDictionaryIsReported();
    void messagesDecideAboutTheResult();
    void openBoth();
    void messages_data();
    void messages();
    void messageKeys_data();
    void messageKeys();
    void guiTexts();
    void translationFollowsTheLanguage();
    void unknownTexts();
    void missingTextMark_data();
    void missingTextMark();
    void brandReplacesTheProductName(); // the last one: a brand stays in force

private:
    QTemporaryDir m_directory;
    std::unique_ptr<ScopedCurrentDir> m_current;
    std::unique_ptr<MemoryResource> m_gui;
};

void TestTranslate::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_current = std::make_unique<ScopedCurrentDir>(m_directory.path());
    QVERIFY(m_current->entered());
    QVERIFY(QDir().mkdir(u"data"_s));
}

void TestTranslate::closedState()
{
    QCOMPARE(s3GuiTextCount(), 0);
    QCOMPARE(s3Translate(u"Datei"_s), u"Datei"_s);
    QCOMPARE(s3Translate(u"Datei ..."_s), u"Datei..."_s);
    QCOMPARE(s3Translate(QString()), QString());
    QCOMPARE(s3GuiSourceText(1), QString());
    QCOMPARE(s3GuiText(1, german), u"*** 1 ***"_s);
    QVERIFY(!s3GuiHasText(1, german));
    QCOMPARE(s3Message(1), u"*** 1 ***"_s);
    QCOMPARE(s3Message(-1, english), u"*** -1 ***"_s);
    QCOMPARE(s3MessageKey(1), QString());
}

void TestTranslate::defaultBoxTitleHasNoMark()
{
    QCOMPARE(s3Translate(u"Zerk"_s), u"Zerk"_s);
}

void TestTranslate::missingMessageDictionaryIsReported()
{
    QString error;
    QVERIFY(!s3OpenDictionaries(error));
    QVERIFY2(error.startsWith(QFileInfo(u"data/msg.dat.0"_s).absoluteFilePath() + u":\n\nCannot open file"_s),
             qPrintable(error));
    QCOMPARE(s3Message(1), u"*** 1 ***"_s);
}

void TestTranslate::messagesDecideAboutTheResult()
{
    // The GUI dictionary opens, but there are no messages.
    m_gui = std::make_unique<MemoryResource>(u":/dictionary/mng.dat.0"_s, dictionaryBytes(guiContents()));
    QVERIFY(writeBytes(u"data/mng.dat.0"_s, dictionaryBytes(fallbackContents())));
    QVERIFY(writeBytes(u"data/msg.dat.0"_s, "005"));
    QString error;
    QVERIFY(!s3OpenDictionaries(error));
    QVERIFY2(
        error.endsWith(u"msg.dat.0:\n\nWrong dictionary version!\n\n'004' is expected instead of '005'."_s),
        qPrintable(error));
    QCOMPARE(s3GuiTextCount(), 4);
}

void TestTranslate::openBoth()
{
    QVERIFY(writeBytes(u"data/msg.dat.0"_s, dictionaryBytes(messageContents())));
    QString error = u"old"_s;
    QVERIFY2(s3OpenDictionaries(error), qPrintable(error));
    QCOMPARE(error, QString());
    QVERIFY(s3OpenDictionaries(error));
}

void TestTranslate::messages_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");

    QTest::newRow("present product name") << 1 << german << u"Fehler in Zerk, Zerk"_s;
    QTest::newRow("other language") << 1 << english << u"Error"_s;
    QTest::newRow("negative number") << -1 << english << u"Error"_s;
    QTest::newRow("source column") << 1 << -1 << u"Quelle"_s;
    QTest::newRow("other case of the name") << 3 << german << u"Zerk ERP, ZERK ERP"_s;
    QTest::newRow("German stands in") << 3 << japanese << u"Zerk ERP, ZERK ERP"_s;
    QTest::newRow("unfilled") << 2 << german << u"*** 2 ***"_s;
    QTest::newRow("unknown number") << 6 << german << u"*** 6 ***"_s;
    QTest::newRow("0") << 0 << german << u"*** 0 ***"_s;
    QTest::newRow("unknown negative number") << -6 << german << u"*** -6 ***"_s;
}

void TestTranslate::messages()
{
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    QTEST(s3Message(number, language), "text");
    if (language >= 0) {
        QVERIFY(s3SetLanguage(s3LanguageLetter(language), QString()));
        QTEST(s3Message(number), "text");
        QVERIFY(s3SetLanguage(u"D"_s, QString()));
    }
}

void TestTranslate::messageKeys_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<QString>("key");

    QTest::newRow("key") << 1 << u"ERR_ONE"_s;
    QTest::newRow("negative number") << -1 << u"ERR_ONE"_s;
    QTest::newRow("nothing is replaced") << 3 << u"zerk ERP"_s;
    QTest::newRow("unfilled") << 2 << QString();
    QTest::newRow("unknown number") << 6 << QString();
    QTest::newRow("0") << 0 << QString();
}

void TestTranslate::messageKeys()
{
    QFETCH(qint32, number);
    QTEST(s3MessageKey(number), "key");
}

void TestTranslate::guiTexts()
{
    QCOMPARE(s3GuiSourceText(1), u"Datei"_s);
    QCOMPARE(s3GuiSourceText(3), QString());
    QCOMPARE(s3GuiText(1, english), u"zerk ERP file"_s);
    QCOMPARE(s3GuiText(3, english), u"*** 3 ***"_s);
    QVERIFY(s3GuiHasText(1, english));
    QVERIFY(!s3GuiHasText(2, english));
    // Not from the fallback.
    QCOMPARE(s3GuiText(2, japanese), u"Start"_s);
    QVERIFY(!s3GuiHasText(2, japanese));
}

void TestTranslate::translationFollowsTheLanguage()
{
    QCOMPARE(s3Translate(u"Datei"_s), u"Datei"_s);
    QVERIFY(s3SetLanguage(u"E"_s, QString()));
    QCOMPARE(s3Translate(u"Datei"_s), u"zerk ERP file"_s);
    QCOMPARE(s3Translate(u"Datei..."_s), u"zerk ERP file..."_s);
    QCOMPARE(s3Translate(u"Start"_s), u"Start"_s);
    QVERIFY(s3SetLanguage(u"7"_s, QString()));
    QCOMPARE(s3Translate(u"Start"_s), u"スタート"_s);
    QVERIFY(s3SetLanguage(u"D"_s, QString()));
    QCOMPARE(s3Translate(u"Start"_s), u"Start"_s);
}

void TestTranslate::unknownTexts()
{
    const QString text = u"Dieser Text fehlt."_s;
    QVERIFY(!s3UnknownTexts().contains(text));
    QCOMPARE(s3Translate(text), text);
    QVERIFY(s3UnknownTexts().contains(text));
    QVERIFY(!s3UnknownTexts().contains(u"Start"_s));
}

void TestTranslate::missingTextMark_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<QString>("mark");

    QTest::newRow("12") << 12 << u"*** 12 ***"_s;
    QTest::newRow("0") << 0 << u"*** 0 ***"_s;
    QTest::newRow("-5") << -5 << u"*** -5 ***"_s;
    QTest::newRow("four digits without separator") << 1000 << u"*** 1000 ***"_s;
}

void TestTranslate::missingTextMark()
{
    QFETCH(qint32, number);
    QTEST(s3MissingTextMark(number), "mark");
}

void TestTranslate::brandReplacesTheProductName()
{
    QCOMPARE(s3Translate(u"Zerk ist da."_s), u"Zerk ist da."_s);
    s3WhiteLabelInstance()->load(u"Foo.cfg"_s);
    QCOMPARE(s3Translate(u"Zerk ist da."_s), u"Foo ist da."_s);
    QCOMPARE(s3Message(1, german), u"Fehler in Foo, Foo"_s);
    QCOMPARE(s3Message(3, german), u"Foo ERP, ZERK ERP"_s);
    // A GUI text keeps its lower case, and keys and source texts are no text for a reader.
    QCOMPARE(s3GuiText(1, english), u"zerk ERP file"_s);
    QCOMPARE(s3GuiText(4, german), u"Foo"_s);
    QCOMPARE(s3GuiSourceText(4), u"Zerk"_s);
    QCOMPARE(s3MessageKey(5), u"Zerk"_s);
}

QTEST_MAIN(TestTranslate)
#include "tst_s3translate.moc"
