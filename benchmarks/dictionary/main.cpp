#include "dictionarywriter.h"
#include "ratio.h"
#include "s3dictionary.h"
#include "s3dictionaryformat.h"
#include "s3guidictionary.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <memory>

using namespace Qt::StringLiterals;
using namespace s3DictionaryFormat;

namespace
{

constexpr qint32 french = 2;
constexpr qint32 lookups = 20'000;

QString sourceText(qint32 number)
{
    return u"Der Quelltext mit der Nummer %1, so lang wie eine Meldung"_s.arg(number);
}

DictionaryContents contents(qint32 columns, qint32 texts)
{
    DictionaryContents result;
    result.columnCount = columns;
    for (qint32 number = 1; number <= texts; ++number) {
        result.texts.insert(number,
                            {u"key%1"_s.arg(number),
                             sourceText(number),
                             {{french, u"Le texte français de ce numéro %1"_s.arg(number)}}});
    }
    return result;
}

std::vector<qint32> randomNumbers(qint32 highest)
{
    QRandomGenerator random(4711);
    std::vector<qint32> numbers(lookups);
    for (qint32 &number : numbers)
        number = qint32(random.bounded(highest)) + 1;
    return numbers;
}

void measureOpen(RatioReport &report, const QString &fullPath, const QString &tinyPath)
{
    constexpr int count = 200;
    const auto openAndClose = [](const QString &path) {
        for (int i = 0; i < count; ++i) {
            s3Dictionary dictionary(path);
            keepResult(dictionary.open());
        }
    };
    report.compare(
        "open: 99 columns, 99999 texts against 33 columns, 1 text", [&] { openAndClose(fullPath); },
        [&] { openAndClose(tinyPath); }, {.bound = 1.2});
}

void measureText(RatioReport &report, const QString &path)
{
    s3Dictionary dictionary(path);
    dictionary.open();
    const std::vector<qint32> numbers = randomNumbers(dictionary.textCount());

    // The floor has the texts one after the other, as the file has them.
    std::vector<char16_t> units;
    std::vector<size_t> offsets{0};
    for (qint32 number = 1; number <= dictionary.textCount(); ++number) {
        offsets.push_back(units.size());
        const QString text = dictionary.text(number, french);
        units.insert(units.end(), text.utf16(), text.utf16() + text.size() + 1);
    }
    report.compare(
        "text: against QString::fromUtf16 from a known address",
        [&] {
            for (const qint32 number : numbers)
                keepResult(dictionary.text(number, french));
        },
        [&] {
            for (const qint32 number : numbers)
                keepResult(QString::fromUtf16(units.data() + offsets[size_t(number)]));
        },
        {.bound = 1.5});
}

void measureTranslate(RatioReport &report, const QString &path)
{
    s3GuiDictionary dictionary(path, u":/none"_s);
    dictionary.open();
    QHash<QString, int> peer;
    peer.reserve(dictionary.textCount());
    for (qint32 number = 1; number <= dictionary.textCount(); ++number)
        peer.insert(sourceText(number), number);
    // A program asks for some hundred texts again and again.
    std::vector<QString> questions;
    for (const qint32 number : randomNumbers(dictionary.textCount()))
        questions.push_back(sourceText(number));
    questions.resize(500);
    constexpr int repetitions = 40;
    report.compare(
        "translateText: warm cache against one QHash lookup",
        [&] {
            for (int i = 0; i < repetitions; ++i) {
                for (const QString &question : questions)
                    keepResult(dictionary.translateText(question, french));
            }
        },
        [&] {
            for (int i = 0; i < repetitions; ++i) {
                for (const QString &question : questions)
                    keepResult(peer.value(question));
            }
        },
        {.bound = 2.0});
}

void measureIndex(RatioReport &report, const char *name, const QString &path)
{
    QStringList texts;
    for (qint32 number = 1; number <= maximumTextCount; ++number)
        texts += sourceText(number);
    // Giving the memory back is no part of either.
    std::unique_ptr<s3GuiDictionary> dictionary;
    QHash<QString, qint32> hash;
    report.compare(
        name,
        [&] {
            dictionary = std::make_unique<s3GuiDictionary>(path, u":/none"_s);
            keepResult(dictionary->open());
        },
        [&] {
            hash.reserve(texts.size());
            for (qint32 i = 0; i < texts.size(); ++i)
                hash.insert(texts[i], i + 1);
        },
        {.bound = 1.5, .reset = [&] {
             dictionary.reset();
             hash = {};
         }});
}

}

int main()
{
    const QTemporaryDir directory;
    const QString fullPath = directory.filePath(u"full.dat"_s);
    const QString narrowPath = directory.filePath(u"narrow.dat"_s);
    const QString tinyPath = directory.filePath(u"tiny.dat"_s);
    QString error;
    if (!writeDictionaryFile(contents(maximumLanguageCount, maximumTextCount), fullPath, error)
        || !writeDictionaryFile(contents(33, maximumTextCount), narrowPath, error)
        || !writeDictionaryFile(contents(33, 1), tinyPath, error)) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error));
        return 2;
    }
    RatioReport report;
    measureOpen(report, fullPath, tinyPath);
    measureText(report, fullPath);
    measureTranslate(report, fullPath);
    measureIndex(report, "index at open, per text of 33 columns: against a QHash", narrowPath);
    measureIndex(report, "index at open, per text of 99 columns: against a QHash", fullPath);
    return report.exitCode();
}
