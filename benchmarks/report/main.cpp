// A diagnostic report of a process with 200 more modules and a stack of more than 100 frames: against the two
// seconds that it may take, and against writing the same bytes.

#include "error/crashstate.h"
#include "platform/faultcontext.h"
#include "platform/library.h"
#include "protocol/diagnosticreport.h"
#include "protocol/reportfilename.h"
#include "ratio.h"
#include "s3tempdir.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

constexpr int modules = 200;
constexpr int frames = 120; // the record shows 100
constexpr double limit = 2000; // milliseconds
constexpr int runs = 5;
constexpr QByteArrayView lastFrame = "too many stack frames\n";

// Ends the program: a benchmark of failures would say nothing.
void require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(EXIT_FAILURE);
}

void loadModules(const QString &directory)
{
    const QString name = QString::fromLatin1(OSTRELLE_MODULE);
    const QString source = QCoreApplication::applicationDirPath() + u'/' + name;
    for (int i = 0; i < modules; ++i) {
        const QString copy = directory + u"/%1_"_s.arg(i) + name;
        require(QFile::copy(source, copy), "copying a module");
        require(platform::openLibrary(copy) != nullptr, "loading a module");
    }
}

// Writes a record from the depth of `depth` frames.
[[gnu::noinline]] void reportFromBelow(int depth)
{
    if (depth > 0) {
        reportFromBelow(depth - 1);
    } else {
        s3ForceFault();
        writeDiagnosticReport(true);
    }
    asm volatile("" : : : "memory"); // keeps the call from becoming a jump
}

QByteArray content(const QString &fileName)
{
    QFile file(fileName);
    require(file.open(QIODevice::ReadOnly), "reading the record");
    return file.readAll();
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    require(directory.isValid(), "a temporary directory");
    glob_file_localSettingsDir = directory.path();
    loadModules(directory.path());

    const auto writeRecord = [] {
        reportEntries = 0;
        reportFromBelow(frames);
    };
    writeRecord();
    const QByteArray record = content(reportFileName(true));
    require(record.count("_" OSTRELLE_MODULE) >= modules, "a record of all modules");
    require(record.contains(lastFrame), "a record of 100 frames");

    const auto writeBytes = [&] {
        QFile file(directory.filePath(u"floor"_s));
        require(file.open(QIODevice::WriteOnly | QIODevice::Append) && file.write(record) == record.size(),
                "writing the same bytes");
    };
    RatioReport report;
    report.report("record of 200 modules, 100 frames / limit of 2 s",
                  RatioReport::medianTime(writeRecord, runs), limit, 1.0);
    report.compare("the same record / writing the same bytes", writeRecord, writeBytes, {.runs = runs});
    const QByteArray all = content(reportFileName(true));
    require(all.count(lastFrame) > 2 * runs && all.size() > 2 * runs * record.size() * 9 / 10,
            "records that are whole each time");
    return report.exitCode();
}
