#include "dictionarywriter.h"
#include "gettextcatalogue.h"
#include "gettextlocale.h"
#include "ratio.h"
#include "s3dictionary.h"
#include "s3guidictionary.h"
#include "s3language.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <malloc.h>

using namespace Qt::StringLiterals;

namespace
{

// Random texts of one catalogue, from the dictionary by number and from gettext by source text.
bool measure(RatioReport &report, const QByteArray &domain, const QString &letter)
{
    const qint32 language = s3LanguageIndex(letter);
    QFile file(gettextlocale::cataloguePath(domain, s3LanguageIso(letter)));
    QList<GettextMessage> messages;
    QString error;
    if (!file.open(QIODevice::ReadOnly) || !readGettextCatalogue(file.readAll(), messages, error)) {
        std::printf("%s in %s: no catalogue; scripts/fetch-catalogues gets it\n", domain.constData(),
                    qPrintable(s3LanguageIso(letter)));
        return false;
    }
    DictionaryContents contents;
    addGettextMessages(messages, language, contents);
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"mng.dat.0"_s);
    s3Dictionary dictionary(path);
    if (!writeDictionaryFile(contents, path, error) || !dictionary.open(error)
        || !gettextlocale::select(domain, s3LanguageIso(letter))) {
        std::printf("%s\n", qUtf8Printable(error));
        return false;
    }

    constexpr qint32 lookups = 20'000;
    QRandomGenerator random(4711);
    std::vector<qint32> numbers(lookups);
    std::vector<QByteArray> sources(lookups);
    for (size_t i = 0; i < lookups; ++i) {
        numbers[i] = qint32(random.bounded(dictionary.textCount())) + 1;
        sources[i] = dictionary.sourceText(numbers[i]).toUtf8();
    }
    const QByteArray name = "text: " + domain + " in " + s3LanguageIso(letter).toUtf8() + " against dgettext";
    report.compare(
        name.constData(),
        [&] {
            for (const qint32 number : numbers)
                keepResult(dictionary.text(number, language));
        },
        [&] {
            for (const QByteArray &source : sources)
                keepResult(dgettext(domain.constData(), source.constData()));
        },
        {.bound = 1.0, .runs = 21});
    return true;
}

// What the index over the source texts of one catalogue costs in memory.
void measureMemory(const QByteArray &domain)
{
    QFile file(gettextlocale::cataloguePath(domain, u"de"_s));
    QList<GettextMessage> messages;
    QString error;
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"mng.dat.0"_s);
    DictionaryContents contents;
    if (!file.open(QIODevice::ReadOnly) || !readGettextCatalogue(file.readAll(), messages, error))
        return;
    addGettextMessages(messages, 0, contents);
    if (!writeDictionaryFile(contents, path, error))
        return;
    const auto allocated = [] {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    const size_t before = allocated();
    s3GuiDictionary dictionary(path, u":/none"_s);
    QElapsedTimer timer;
    timer.start();
    dictionary.open();
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    std::printf("index of %s: %d texts, %.0f texts per second, %.0f bytes per text\n", domain.constData(),
                dictionary.textCount(), dictionary.textCount() / seconds,
                double(allocated() - before) / dictionary.textCount());
}

}

int main()
{
    RatioReport report;
    bool isComplete = true;
    for (const char *domain : {"coreutils", "iso_639-3"}) {
        for (const QString &letter : {u"D"_s, u"R"_s, u"7"_s})
            isComplete = measure(report, domain, letter) && isComplete;
        measureMemory(domain);
    }
    return isComplete ? report.exitCode() : EXIT_FAILURE;
}
