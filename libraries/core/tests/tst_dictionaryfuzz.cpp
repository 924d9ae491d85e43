#include <ostrelletest/dictionaryquestions.h>

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

// Replays what the fuzz target starts from and what it has found.
class TestDictionaryFuzz final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersAreConsistent_data();
    void answersAreConsistent();
    void truncatedInputs_data();
    void truncatedInputs();
};

void TestDictionaryFuzz::answersAreConsistent_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QDir directory(QStringLiteral(OSTRELLE_FUZZ_INPUTS));
    for (const QString &name : directory.entryList(QDir::Files)) {
        QFile file(directory.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            QTest::newRow(qUtf8Printable(name)) << file.readAll();
    }
}

void TestDictionaryFuzz::answersAreConsistent()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(!bytes.isEmpty());
    QVERIFY(askDictionary(bytes));
}

void TestDictionaryFuzz::truncatedInputs_data()
{
    answersAreConsistent_data();
}

void TestDictionaryFuzz::truncatedInputs()
{
    QFETCH(QByteArray, bytes);
    for (qsizetype size = 0; size < bytes.size(); ++size)
        QVERIFY2(askDictionary(bytes.left(size)), qPrintable(QString::number(size)));
}

QTEST_GUILESS_MAIN(TestDictionaryFuzz)
#include "tst_dictionaryfuzz.moc"
