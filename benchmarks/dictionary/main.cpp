#include "allocationcounter.h"
#include "dictionarywriter.h"
#include "ratio.h"
#include "s3dictionary.h"
#include "s3dictionaryformat.h"
#include "s3guidictionary.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <ctime>

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
    const auto openAndClose = [](const QString &path) {
        for (int i = 0; i < 100; ++i) {
            s3Dictionary dictionary(path);
            keepResult(dictionary.open());
        }
    };
    report.compare(
        "open: 99 x 99999 texts against 33 x 1", [&] { openAndClose(fullPath); },
        [&] { openAndClose(tinyPath); }, {.bound = 1.2, .runs = 51, .clock = RatioClock::Processor});
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
        "text: against QString::fromUtf16 of a known address",
        [&] {
            for (const qint32 number : numbers)
                keepResult(dictionary.text(number, french));
        },
        [&] {
            for (const qint32 number : numbers)
                keepResult(QString::fromUtf16(units.data() + offsets[size_t(number)]));
        },
        {.bound = 1.5, .runs = 51, .clock = RatioClock::Processor});
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
    constexpr int repetitions = 100;
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
        {.bound = 2.0, .runs = 51, .clock = RatioClock::Processor});
}

// The processor's time in milliseconds: a run of this length is interrupted on a busy machine.
template <class Task> double processorTime(Task &&task)
{
    const std::clock_t start = std::clock();
    task();
    return double(std::clock() - start) * 1000 / CLOCKS_PER_SEC;
}

void measureIndex(RatioReport &report, const char *name, const QString &path)
{
    QStringList texts;
    for (qint32 number = 1; number <= maximumTextCount; ++number)
        texts += sourceText(number);
    constexpr size_t runs = 21;
    std::array<double, runs> ourTimes{};
    std::array<double, runs> peerTimes{};
    for (size_t run = 0; run < runs; ++run) {
        // Giving the memory back is no part of either.
        s3GuiDictionary dictionary(path, u":/none"_s);
        ourTimes[run] = processorTime([&] { keepResult(dictionary.open()); });
        QHash<QString, qint32> hash;
        peerTimes[run] = processorTime([&] {
            hash.reserve(texts.size());
            for (qint32 i = 0; i < texts.size(); ++i)
                hash.insert(texts[i], i + 1);
        });
    }
    std::ranges::sort(ourTimes);
    std::ranges::sort(peerTimes);
    const double ours = ourTimes[runs / 2];
    report.report(name, ours, peerTimes[runs / 2], 1.5);
    s3GuiDictionary dictionary(path, u":/none"_s);
    const AllocationCounter counter;
    keepResult(dictionary.open());
    std::printf("  %.0f texts per second, %.0f bytes per text of %.0f characters\n",
                maximumTextCount / ours * 1000, double(counter.bytes()) / maximumTextCount,
                double(texts.join(QString()).size()) / maximumTextCount);
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
    measureIndex(report, "index of 33 columns: against filling a QHash", narrowPath);
    measureIndex(report, "index of 99 columns: against filling a QHash", fullPath);
    return report.exitCode();
}
