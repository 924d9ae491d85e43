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
    writeFile(text, line.repeated(bodyLines));
    writeFile(zml, "[ZERKMAIL]\nBODYFILE=text.txt\n");
    writeFile(emptyZml, "[ZERKMAIL]\n");

    RatioReport report;
    report.compare(
        "body file of 64 MiB / reading its lines", [&] { keepResult(compose(zml)); },
        [&] { keepResult(readLines(text)); }, {.bound = 1.3});

    const qint64 base
        = runChild(QCoreApplication::applicationFilePath(), {u"--compose"_s, emptyZml}).peakBytes;
    const qint64 peak
        = runChild(QCoreApplication::applicationFilePath(), {u"--compose"_s, zml}).peakBytes - base;
    const qint64 decoded = compose(zml) * qint64(sizeof(QChar));
    const double memory = double(peak) / double(decoded);
    const bool memoryExceeded = memory > 3;
    std::printf("body file, peak memory: %lld MiB for %lld MiB of text, ratio %.2f, bound 3.00 %s\n",
                (long long)peak >> 20, (long long)decoded >> 20, memory,
                memoryExceeded ? "EXCEEDED" : "kept");

    double firstCost = 0;
    double lastCost = 0;
    for (const int count : {1000, 10000, 100000}) {
        writeFile(zml, numberedKeys(count));
        const double time = RatioReport::medianTime([&] {
            const MailParameters parameters(zml);
            QString error;
            keepResult(parameters.to());
            keepResult(parameters.body(error));
        });
        lastCost = time / count;
        if (firstCost == 0)
            firstCost = lastCost;
        std::printf("%6d recipients and body lines: %8.2f ms, %6.3f us each\n", count, time, lastCost * 1000);
    }
    const bool growthExceeded = lastCost > 2 * firstCost;
    std::printf("each of 100000 / each of 1000: ratio %.2f, bound 2.00 %s\n", lastCost / firstCost,
                growthExceeded ? "EXCEEDED" : "kept");
    return memoryExceeded || growthExceeded ? EXIT_FAILURE : report.exitCode();
}
