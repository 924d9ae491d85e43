// The whole process, from its start to its end, with a mail client that only writes down what it gets:
// the tool against the floor program, in turns.

#include "childusage.h"
#include "ratio.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const int runs = argc > 1 ? atoi(argv[1]) : 30;
    const QDir here(QCoreApplication::applicationDirPath());
    const QTemporaryDir directory;
    QFile zml(directory.filePath(u"mail.zml"_s));
    if (!zml.open(QIODevice::WriteOnly)
        || zml.write("[ZERKMAIL]\nSUBJECT=Rechnung 4711\nTO1=a@example.org\nBODY=a;b\nSEND=1\n") <= 0)
        return EXIT_FAILURE;
    zml.close();
    qputenv("OSTRELLE_RECORD", QDir::toNativeSeparators(directory.filePath(u"record.json"_s)).toLocal8Bit());

    const QString tool = QDir::cleanPath(here.filePath(QString::fromUtf8(OSTRELLE_TOOL)));
    const QString floor = here.filePath(QString::fromUtf8(OSTRELLE_FLOOR));
    qint64 toolPeak = 0;
    qint64 floorPeak = 0;
    const auto measured = [](qint64 &peak, const QString &program, const QStringList &arguments) {
        const ChildUsage usage = runChild(program, arguments);
        if (usage.exitCode != 0) {
            std::fprintf(stderr, "%s ended with %d\n", qPrintable(program), usage.exitCode);
            std::exit(EXIT_FAILURE);
        }
        peak = std::max(peak, usage.peakBytes);
    };

    RatioReport report;
    report.compare(
        "hand-over, whole process / floor", [&] { measured(toolPeak, tool, {zml.fileName()}); },
        [&] { measured(floorPeak, floor, {}); }, {.bound = 1.10, .runs = runs});
    const double ratio = double(toolPeak) / double(floorPeak);
    std::printf("hand-over, peak memory: %lld KiB, floor %lld KiB, ratio %.3f, bound 1.10 %s\n",
                (long long)toolPeak / 1024, (long long)floorPeak / 1024, ratio,
                ratio > 1.10 ? "EXCEEDED" : "kept");
    return ratio > 1.10 ? EXIT_FAILURE : report.exitCode();
}
