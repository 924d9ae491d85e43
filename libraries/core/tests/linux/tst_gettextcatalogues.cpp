#include "../dictionaryfixture.h"
#include "gettextcatalogue.h"
#include "gettextlocale.h"
#include "s3guidictionary.h"
#include "s3language.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// Dictionaries made from the catalogues of real packages, in all languages that both sides know, with
// gettext as the judge of each text.
class TestGettextCatalogues final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyTextIsEqual_data();
    void everyTextIsEqual();
};

void TestGettextCatalogues::everyTextIsEqual_data()
{
    // The languages that the catalogue must at least be there in; few are in Arabic.
    QTest::addColumn<QStringList>("letters");
    const QStringList letters{u"D"_s, u"F"_s, u"R"_s, u"7"_s};
    for (const char *domain : {"coreutils", "bash", "gettext-tools", "iso_639-3"})
        QTest::newRow(domain) << letters;
    for (const char *domain : {"iso_3166-1", "glib20"})
        QTest::newRow(domain) << letters + QStringList(u"V"_s);
}

void TestGettextCatalogues::everyTextIsEqual()
{
    const QByteArray domain = QTest::currentDataTag();
    QFETCH(QStringList, letters);
    DictionaryContents contents;
    QHash<QString, QList<GettextMessage>> catalogues;
    for (const QString &letter : s3Languages()) {
        QFile file(gettextlocale::cataloguePath(domain, s3LanguageIso(letter).replace(u'-', u'_')));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        QString error;
        QVERIFY2(readGettextCatalogue(file.readAll(), catalogues[letter], error), qPrintable(error));
        addGettextMessages(catalogues[letter], s3LanguageIndex(letter), contents);
    }
    if (catalogues.isEmpty())
        QSKIP("The catalogues of this package are not on the machine; scripts/fetch-catalogues gets them.");
    for (const QString &letter : letters)
        QVERIFY2(catalogues.contains(letter), qPrintable(letter));

    const QTemporaryDir directory;
    const QString path = directory.filePath(u"mng.dat.0"_s);
    QString error;
    QVERIFY2(writeDictionaryFile(contents, path, error), qPrintable(error));
    s3GuiDictionary dictionary(path, directory.filePath(u"none"_s));
    QVERIFY2(dictionary.open(error), qPrintable(error));
    QCOMPARE(dictionary.textCount(), contents.texts.lastKey());

    QHash<QString, qint32> numbers;
    for (qint32 number = 1; number <= dictionary.textCount(); ++number)
        numbers.insert(dictionary.sourceText(number), number);
    qsizetype compared = 0;
    for (auto catalogue = catalogues.cbegin(); catalogue != catalogues.cend(); ++catalogue) {
        const qint32 language = s3LanguageIndex(catalogue.key());
        QVERIFY(gettextlocale::select(domain, s3LanguageIso(language).replace(u'-', u'_')));
        for (const GettextMessage &message : *catalogue) {
            const QByteArray source = message.source.toUtf8();
            const char *answer = dgettext(domain.constData(), source.constData());
            // An answer from the catalogue is no longer the pointer that was asked for.
            QVERIFY2(answer != source.constData(), source.constData());
            const QString expected = QString::fromUtf8(answer);
            const qint32 number = numbers.value(message.source);
            QCOMPARE(dictionary.text(number, language), expected);
            QCOMPARE(dictionary.translateText(message.source, language), expected);
            QVERIFY(dictionary.hasText(number, language));
            ++compared;
        }
    }
    qInfo("%s: %lld texts in %lld languages", domain.constData(), qlonglong(compared),
          qlonglong(catalogues.size()));
    QVERIFY(compared > 1000);
}

QTEST_APPLESS_MAIN(TestGettextCatalogues)
#include "tst_gettextcatalogues.moc"
