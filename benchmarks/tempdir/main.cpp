// Making and removing the temporary directory against a QTemporaryDir with the same two subdirectories.

#include "ratio.h"
#include "s3tempdir.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

constexpr int rounds = 200;

// Ends the program: a benchmark of failures would say nothing.
void require(bool condition)
{
    if (condition)
        return;
    std::fputs("cannot make or remove a directory\n", stderr);
    std::exit(EXIT_FAILURE);
}

void makeAndRemoveOurs()
{
    for (int round = 0; round != rounds; ++round) {
        require(s3TestTempDir(nullptr));
        s3TempDirCleanup();
    }
    require(!s3TempDirExists(nullptr));
}

void makeAndRemovePeers()
{
    for (int round = 0; round != rounds; ++round) {
        QTemporaryDir dir;
        require(dir.isValid() && QDir().mkpath(dir.filePath(u"cache"_s))
                && QDir().mkpath(dir.filePath(u"var"_s)));
    }
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    // A temporary path of its own: what others keep in the system's takes no part.
    const QTemporaryDir path;
    const QByteArray name = QDir::toNativeSeparators(path.path()).toLocal8Bit();
    for (const char *variable : {"TMPDIR", "TMP", "TEMP"})
        qputenv(variable, name);
    RatioReport report;
    report.compare("temporary directory / QTemporaryDir", makeAndRemoveOurs, makeAndRemovePeers,
                   {.bound = 1.5});
    return report.exitCode();
}
