// Composing a mail: a large body file against a loop that only reads its lines, and how the time grows
// with the number of recipients and lines.

#include "childusage.h"
#include "mailparameters.h"
#include "ratio.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 bodyBytes = 64 << 20;
constexpr int bodyLines = 1000000;

void writeFile(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        std::exit(EXIT_FAILURE);
}

// Line by line, so that this process stays small.
void writeLines(const QString &name, const QByteArray &line)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        std::exit(EXIT_FAILURE);
    for (int i = 0; i < bodyLines; ++i) {
        if (file.write(line) != line.size())
            std::exit(EXIT_FAILURE);
    }
}

// Composes the body of a zml file; gives its length.
qsizetype compose(const QString &zml)
{
    QString error;
    const QString body = MailParameters(zml).body(error);
    if (!error.isEmpty())
        std::exit(EXIT_FAILURE);
    return body.size();
}

qsizetype readLines(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        std::exit(EXIT_FAILURE);
    QTextStream stream(&file);
    qsizetype length = 0;
    while (!stream.atEnd())
        length += stream.readLine().size();
    return length;
}

QByteArray numberedKeys(int count)
{
    QByteArray lines = "[ZERKMAIL]\n";
    for (int i = 1; i <= count; ++i) {
        const QByteArray number = QByteArray::number(i);
        lines += "TO" + number + "=user" + number + "@example.org\nBODYZ" + number + "=line " + number + "\n";
    }
    return lines;
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    // In a process of its own: its peak memory is looked at from outside.
    if (argc == 3 && qstrcmp(argv[1], "--compose") == 0)
        return compose(QString::fromLocal8Bit(argv[2])) >= 0 ? EXIT_SUCCESS : EXIT_FAILURE;

    const QTemporaryDir directory;
    const QByteArray line = QString(u"ü"_s + QString(bodyBytes / bodyLines - 3, u'x') + u'\n').toUtf8();
    const QString text = directory.filePath(u"text.txt"_s);
    const QString zml = directory.filePath(u"mail.zml"_s);
    const QString emptyZml = directory.filePath(u"empty.zml"_s);
    writeLines(text, line);
    writeFile(zml, "[ZERKMAIL]\nBODYFILE=text.txt\n");
    writeFile(emptyZml, "[ZERKMAIL]\n");

    // First, while this process is small: a child starts with the peak of its parent.
    const QString self = QCoreApplication::applicationFilePath();
    const qint64 base = runChild(self, {u"--compose"_s, emptyZml}).peakBytes;
    const qint64 peak = runChild(self, {u"--compose"_s, zml}).peakBytes - base;

    RatioReport report;
    report.compare(
        "body file of 64 MiB / reading its lines", [&] { keepResult(compose(zml)); },
        [&] { keepResult(readLines(text)); }, {.bound = 1.3, .runs = 11, .clock = RatioClock::Processor});

    const qint64 decoded = compose(zml) * qint64(sizeof(QChar));
    const double memory = double(peak) / double(decoded);
    const bool memoryExceeded = memory > 3;
    std::printf("body file, peak memory: %lld MiB for %lld MiB of text, ratio %.2f, bound 3.00 %s\n",
                (long long)peak >> 20, (long long)decoded >> 20, memory,
                memoryExceeded ? "EXCEEDED" : "kept");

    // Ten times as many: 1 would be linear on a machine without caches, 10 the square.
    double lastCost = 0;
    bool growthExceeded = false;
    for (const int count : {1000, 10000, 100000}) {
        writeFile(zml, numberedKeys(count));
        const double time = RatioReport::medianTime([&] {
            const MailParameters parameters(zml);
            QString error;
            keepResult(parameters.to());
            keepResult(parameters.body(error));
        });
        const double cost = time / count;
        const double growth = lastCost > 0 ? cost / lastCost : 1;
        growthExceeded = growthExceeded || growth > 3;
        lastCost = cost;
        std::printf("%6d recipients and body lines: %8.2f ms, %6.3f us each, growth %.2f, bound 3.00 %s\n",
                    count, time, cost * 1000, growth, growth > 3 ? "EXCEEDED" : "kept");
    }
    return memoryExceeded || growthExceeded ? EXIT_FAILURE : report.exitCode();
}
