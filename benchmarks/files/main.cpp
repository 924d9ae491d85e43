// Files and the message log against what one would write with Qt alone.
//
//     bench_files [DIRECTORY]
//
// DIRECTORY (default: the system's place for temporary files) needs 2 GiB and shows the file system that
// it lies on; the ratios of a file system in memory are the hardest, since nothing waits for a disk.

#include "ratio.h"

#include "protocol/messagelog.h"
#include "s3dir.h"
#include "s3file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "bench_files: %s\n", what);
    std::exit(2);
}

void require(bool done, const char *what)
{
    if (!done)
        fail(what);
}

void makeFile(const QString &path, qint64 size)
{
    static const QByteArray block = [] {
        QByteArray bytes(1024 * 1024, '\0');
        quint32 value = 0;
        for (char &byte : bytes)
            byte = static_cast<char>((value += 2654435761U) >> 24);
        return bytes;
    }();
    QFile file(path);
    require(file.open(QIODevice::WriteOnly), "cannot make a file");
    for (; size > 0; size -= block.size()) {
        const qint64 part = qMin<qint64>(size, block.size());
        require(file.write(block.constData(), part) == part, "cannot fill a file");
    }
}

void copyOneGibibyte(RatioReport &report, const QString &directory)
{
    const QString from = directory + u"/from"_s;
    const QString to = directory + u"/to"_s;
    makeFile(from, 1024 * 1024 * 1024);
    report.compare(
        "static copy of 1 GiB, against QFile::copy",
        [&] {
            QFile::remove(to);
            require(s3File::copy(from, to, false), "s3File::copy failed");
        },
        [&] {
            QFile::remove(to);
            require(QFile::copy(from, to), "QFile::copy failed");
        },
        {.bound = 1.05, .runs = 11});
    QFile::remove(from);
    QFile::remove(to);
}

// Trees that are made before anything is measured; each run takes the next one.
class Trees
{
public:
    Trees(const QString &directory, int count, int directories, int filesEach)
    {
        for (int i = 0; i < count; ++i) {
            const QString tree = directory + u"/tree%1"_s.arg(i);
            for (int k = 0; k < directories; ++k) {
                const QString path = tree + u"/%1"_s.arg(k);
                require(QDir().mkpath(path), "cannot make a directory");
                for (int file = 0; file < filesEach; ++file)
                    makeFile(path + u"/file %1.txt"_s.arg(file), 100);
            }
            m_left += tree;
        }
    }

    [[nodiscard]] QString next()
    {
        require(!m_left.isEmpty(), "too few trees");
        return m_left.takeFirst();
    }

private:
    QStringList m_left;
};

void removeTenThousandFiles(RatioReport &report, const QString &directory, const char *name, int directories)
{
    constexpr int runs = 9;
    Trees trees(directory, 2 * (runs + 1), directories, 10000 / directories);
    report.compare(
        name, [&] { require(s3Dir(trees.next()).removeTree(true), "removeTree failed"); },
        [&] { require(QDir(trees.next()).removeRecursively(), "removeRecursively failed"); },
        {.bound = 1.2, .runs = runs});
}

void discard(QtMsgType, const QMessageLogContext &, const QString &) { }

void logLines(RatioReport &report, const QString &directory)
{
    constexpr int lines = 10000;
    const QString text = u"Reading parameter from file C:/Users/jörg/AppData/Local/Temp/mail 4711.zml"_s;
    // What the former handler does with a message is not the log's time.
    qInstallMessageHandler(discard);
    initLogFile(directory, u"ours.log"_s, true);
    setLogCategory("gui.ostrelle");
    setDebugEnabled(true);
    QFile plain(directory + u"/plain.log"_s);
    report.compare(
        "10000 lines of the log, against open, append, close",
        [&] {
            for (int i = 0; i < lines; ++i)
                logDebug() << text;
        },
        [&] {
            for (int i = 0; i < lines; ++i) {
                require(plain.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Append),
                        "cannot open the plain log");
                plain.write(u"gui.ostrelle: %1\n"_s.arg(text).toUtf8());
                plain.close();
            }
        },
        {.bound = 1.2, .runs = 15});
    require(QFile(directory + u"/ours.log"_s).size() == plain.size(), "the two logs differ");
}

}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QString place = QCoreApplication::arguments().value(1, QDir::tempPath());
    const QTemporaryDir directory(place + u"/bench_files_XXXXXX"_s);
    require(directory.isValid(), "cannot make a directory");
    RatioReport report;
    copyOneGibibyte(report, directory.path());
    removeTenThousandFiles(report, directory.path(), "removeTree, 100 directories of 100 files", 100);
    removeTenThousandFiles(report, directory.path(), "removeTree, 1 directory of 10000 files", 1);
    logLines(report, directory.path());
    return report.exitCode();
}
