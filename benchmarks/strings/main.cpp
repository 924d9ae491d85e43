// String operations against what a user of Qt would write instead, over real text.
// Usage: bench_strings [part [folder with texts]]; parts are percent, lines, escape, bool, tokenizer,
// expansion and all, the folder is by default the licences that every Debian has.

#include "ratio.h"

#include "s3string.h"
#include "s3string_p.h"
#include "s3stringtokenizer.h"

#include <QDir>
#include <QHash>
#include <QRegularExpression>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype textSize = 64 * 1024 * 1024;

// The texts of a folder one after the other, again and again up to the whole size. Line ends are line feeds.
QString realText(const QString &folder)
{
    QByteArray once;
    const QDir dir(folder);
    for (const QString &name : dir.entryList(QDir::Files | QDir::NoSymLinks, QDir::Name)) {
        QFile file(dir.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            once += file.readAll();
    }
    once.replace("\r", "");
    if (once.isEmpty())
        return QString();
    return QString::fromUtf8(once.repeated(textSize / once.size() + 1).first(textSize));
}

void percentCoding(RatioReport &report, const QString &text)
{
    const s3String ours = text;
    report.compare(
        "toPercentEncoded / QByteArray::toPercentEncoding", [&] { keepResult(ours.toPercentEncoded()); },
        [&] {
            QByteArray bytes = text.toUtf8().toPercentEncoding("!/()*':");
            keepResult(QString::fromLatin1(bytes.replace("%25", "%")));
        },
        {.bound = 1.0, .clock = RatioClock::Processor});
    report.compare(
        "toPercentEncodedAll / QUrl::toPercentEncoding", [&] { keepResult(ours.toPercentEncodedAll()); },
        [&] { keepResult(QString::fromLatin1(QUrl::toPercentEncoding(text))); },
        {.bound = 1.0, .clock = RatioClock::Processor});
    const s3String coded = ours.toPercentEncodedAll();
    report.compare(
        "fromPercentEncoded / QUrl::fromPercentEncoding", [&] { keepResult(coded.fromPercentEncoded()); },
        [&] { keepResult(QUrl::fromPercentEncoding(coded.toUtf8())); },
        {.bound = 1.0, .clock = RatioClock::Processor});
}

void lineEnds(RatioReport &report, const QString &text)
{
    const QString windowsText = s3String(text).toCrLf();
    const auto compare = [&](const char *name, const QString &from, const QString &replacement) {
        report.compare(
            name,
            [&] {
                s3String copy = from;
                keepResult(copy.replaceLineEnds(replacement));
            },
            [&] {
                QString copy = from;
                copy.remove(u'\r');
                if (replacement.size() == 1)
                    copy.replace(u'\n', replacement.front());
                else
                    copy.replace(u"\n"_s, replacement);
                keepResult(copy);
            },
            {.bound = 1.0, .runs = 3, .warmUp = false, .clock = RatioClock::Processor});
    };
    compare("replaceLineEnds(CR LF) of LF / remove, replace", text, u"\r\n"_s);
    compare("replaceLineEnds(CR LF) of CR LF / remove, replace", windowsText, u"\r\n"_s);
    compare("replaceLineEnds(LF) of CR LF / remove, replace", windowsText, u"\n"_s);
    compare("replaceLineEnds(LF) of LF / remove, replace", text, u"\n"_s);
    compare("replaceLineEnds(;) of LF / remove, replace", text, u";"_s);
    compare("replaceLineEnds() of LF / remove, replace", text, QString());
}

QString escapedPlainly(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar ch : text) {
        if (ch.isPrint() || ch == u'\t' || ch == u'\n' || ch == u'\r')
            result += ch;
        else
            result += u'\\' + QString::number(ch.unicode()).rightJustified(3, u'0');
    }
    return result;
}

void escaping(RatioReport &report, const QString &text)
{
    const s3String clean = s3String(text).replace(u'\f', u' ');
    report.compare(
        "escapeNonPrintable, clean text / loop over isPrint", [&] { keepResult(clean.escapeNonPrintable()); },
        [&] { keepResult(escapedPlainly(clean)); }, {.bound = 1.0, .clock = RatioClock::Processor});
    const s3String marked = s3String(text).replace(u'\n', u'\a');
    report.compare(
        "escapeNonPrintable, one per line / loop over isPrint",
        [&] { keepResult(marked.escapeNonPrintable()); }, [&] { keepResult(escapedPlainly(marked)); },
        {.bound = 1.0, .clock = RatioClock::Processor});
}

void bools(RatioReport &report, const QString &text)
{
    const QStringList lines = text.split(u'\n');
    QStringList values;
    for (int number = 0; number < 100000; ++number)
        values += QStringList{u"true"_s, u"1"_s, u"0"_s, u"false"_s, QString(), u" True "_s, u"-5"_s};
    static const QRegularExpression word(u"^\\s*true\\s*$"_s, QRegularExpression::CaseInsensitiveOption);
    const auto compare = [&](const char *name, const QStringList &texts) {
        report.compare(
            name,
            [&] {
                qsizetype trues = 0;
                for (const QString &line : texts)
                    trues += s3String(line).toBool();
                keepResult(trues);
            },
            [&] {
                qsizetype trues = 0;
                for (const QString &line : texts)
                    trues += word.match(line).hasMatch() || line.toInt() != 0;
                keepResult(trues);
            },
            {.bound = 1.0, .clock = RatioClock::Processor});
    };
    compare("toBool, lines of text / expression, toInt", lines);
    compare("toBool, values / expression, toInt", values);
}

void tokens(RatioReport &report, const QString &text)
{
    const auto compare = [&](const char *name, const QString &list) {
        const QRegularExpression delimiters(u'[' + list + u']');
        report.compare(
            name,
            [&] {
                qsizetype length = 0;
                s3StringTokenizer tokenizer(text, list);
                while (!tokenizer.next().isEmpty())
                    length += tokenizer.token().size();
                keepResult(length);
            },
            [&] {
                qsizetype length = 0;
                for (const QString &token : text.split(delimiters, Qt::SkipEmptyParts))
                    length += token.size();
                keepResult(length);
            },
            {.bound = 1.0, .runs = 3, .warmUp = false, .clock = RatioClock::Processor});
    };
    compare("tokenizer, lines / split by expression", u"\r\n"_s);
    compare("tokenizer, words / split by expression", u" \t\r\n.,;"_s);
    compare("tokenizer, words by a class / split by expression", u"\\s.,;"_s);
    report.compare(
        "tokenizer, lines / split by character",
        [&] {
            qsizetype length = 0;
            s3StringTokenizer tokenizer(text, u"\n"_s);
            while (!tokenizer.next().isEmpty())
                length += tokenizer.token().size();
            keepResult(length);
        },
        [&] {
            qsizetype length = 0;
            for (const QString &token : text.split(u'\n', Qt::SkipEmptyParts))
                length += token.size();
            keepResult(length);
        },
        {.bound = 1.0, .clock = RatioClock::Processor});
}

// A text with a reference every 105 characters or so, 1 MiB for 10,000.
QString referringText(const QString &text, int references)
{
    static constexpr qsizetype gap = 95;
    QString result;
    for (int number = 0; number < references; ++number) {
        result += QStringView(text).sliced(number * gap, gap);
        const QString name = u"NAME_"_s + QString::number(number % 200);
        result += number % 2 == 0 ? u'%' + name + u'%' : u"${"_s + name + u'}';
    }
    return result;
}

void expandOneAfterTheOther(QString &text, const s3EnvironmentLookup &lookup)
{
    static const QRegularExpression percentForm(u"(\\%([^\\%]+)\\%)"_s);
    static const QRegularExpression braceForm(u"(\\$\\{([^\\}]+)\\})"_s);
    for (const QRegularExpression *form : {&percentForm, &braceForm}) {
        QRegularExpressionMatchIterator matches = form->globalMatch(text);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            if (const auto value = lookup(match.captured(2)))
                text.replace(match.captured(1), *value);
        }
    }
}

void expansion(RatioReport &report, const QString &text)
{
    QHash<QString, QString> environment;
    for (int number = 0; number < 200; ++number)
        environment.insert(u"NAME_%1"_s.arg(number), u"value %1"_s.arg(number));
    const s3EnvironmentLookup lookup = [&](const QString &name) -> std::optional<QString> {
        const auto found = environment.constFind(name);
        return found == environment.cend() ? std::nullopt : std::optional(*found);
    };
    const auto expand = [&](const QString &referring) {
        QString copy = referring;
        s3ExpandEnvironmentReferences(copy, lookup);
        keepResult(copy);
    };
    const QString thousand = referringText(text, 1000);
    report.compare(
        "expansion, 1,000 references / one search for each", [&] { expand(thousand); },
        [&] {
            QString copy = thousand;
            expandOneAfterTheOther(copy, lookup);
            keepResult(copy);
        },
        {.bound = 1.0, .clock = RatioClock::Processor});
    // Growth: a text against ten of a tenth. Quadratic growth would show as a ratio of 10; caches and pages
    // that are new to the process are what remains above 1.
    const auto compareWithTenth = [&](const char *name, int references) {
        const QString whole = referringText(text, references);
        const QString tenth = referringText(text, references / 10);
        report.compare(
            name, [&] { expand(whole); },
            [&] {
                for (int time = 0; time < 10; ++time)
                    expand(tenth);
            },
            {.bound = 3.0, .runs = 9, .clock = RatioClock::Processor});
    };
    compareWithTenth("expansion, 10,000 references / 10 times 1,000", 10000);
    compareWithTenth("expansion, 100,000 references / 10 times 10,000", 100000);
}

}

int main(int argc, char **argv)
{
    const QByteArray part = argc > 1 ? argv[1] : "all";
    const QString folder = argc > 2 ? QString::fromLocal8Bit(argv[2]) : u"/usr/share/common-licenses"_s;
    const QString text = realText(folder);
    if (text.isEmpty()) {
        std::fprintf(stderr, "No text in %s. Usage: %s [part [folder with texts]]\n", qPrintable(folder),
                     argv[0]);
        return EXIT_FAILURE;
    }
    static constexpr struct {
        const char *name;
        void (*run)(RatioReport &report, const QString &text);
    } parts[] = {{"percent", percentCoding}, {"lines", lineEnds},     {"escape", escaping}, {"bool", bools},
                 {"tokenizer", tokens},      {"expansion", expansion}};
    RatioReport report;
    bool known = false;
    for (const auto &[name, run] : parts) {
        if (part == name || part == "all") {
            run(report, text);
            known = true;
        }
    }
    if (!known)
        std::fprintf(stderr, "There is no part \"%s\".\n", part.constData());
    return known ? report.exitCode() : EXIT_FAILURE;
}
