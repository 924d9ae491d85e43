// Places of a report and memory for it that only this system has.

#include "error/crashstate.h"
#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/ordinaryuser.h"
#include "platform/faultcontext.h"
#include "platform/modules.h"
#include "protocol/diagnosticreport.h"
#include "protocol/reportmemory.h"
#include "s3tempdir.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <array>

#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int noPrivileges = 77;
constexpr int unexpected = 78;
constexpr qsizetype diskSize = 32768;
constexpr int patience = 250000; // records take their time on a slow machine, and more with sanitizers

}

class TestReportPlaces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { reportEntries = 0; }
    void cleanup() { glob_file_localSettingsDir.clear(); }
    void fullDevice();
    void fullDisk_data();
    void fullDisk();
    void readOnlyDirectory();
    void memoryEndsAtThePage();
    void mappedDataIsNoModule();
    void brokenStackPointer();
};

// A disk that takes nothing.
void TestReportPlaces::fullDevice()
{
    const QTemporaryDir dir;
    const QString directory = dir.path() + u"/errorReports"_s;
    QVERIFY(QDir().mkpath(directory));
    QVERIFY(QFile::link(u"/dev/full"_s, directory + u"/SYS.FEHL"_s));
    glob_file_localSettingsDir = dir.path();
    writeDiagnosticReport(true);
    writeDiagnosticReport(false);
    QCOMPARE(reportEntries.load(), 2);
    QCOMPARE(QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
             QStringList(u"SYS.FEHL"_s));
}

void TestReportPlaces::fullDisk_data()
{
    QTest::addColumn<QString>("part"); // the child's
    QTest::addColumn<QString>("directory"); // where its small disk is
    QTest::newRow("of the report") << u"disk"_s << u"errorReports"_s;
    QTest::newRow("of the temporary file") << u"temporary"_s << u"temporary"_s;
}

void TestReportPlaces::fullDisk()
{
    QFETCH(QString, part);
    QFETCH(QString, directory);
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(directory));
    const ChildRun run = runChild(part, dir.path(), patience);
    QVERIFY(run.ended);
    if (run.exitCode == noPrivileges)
        QSKIP("A small file system of its own needs the right to mount.");
    QVERIFY2(run.exitCode == 0, run.standardError.constData());
}

void TestReportPlaces::readOnlyDirectory()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    glob_file_localSettingsDir = dir.path();
    writeDiagnosticReport(true);
    QCOMPARE(reportEntries.load(), 1);
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QVERIFY(QFile::setPermissions(dir.path(),
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
}

void TestReportPlaces::memoryEndsAtThePage()
{
    const auto page = size_t(sysconf(_SC_PAGESIZE));
    void *pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    QVERIFY(pages != MAP_FAILED);
    auto *bytes = static_cast<uchar *>(pages);
    QCOMPARE(mprotect(bytes + page, page, PROT_NONE), 0);
    bytes[page - 2] = 'a';
    bytes[page - 1] = 'b';
    std::array<uchar, 16> copy = {};
    const auto address = quint64(reinterpret_cast<quintptr>(bytes + page));
    QCOMPARE(readMemoryGuarded(address - 2, copy.data(), 16), 2);
    QCOMPARE(copy[0], uchar('a'));
    QCOMPARE(copy[1], uchar('b'));
    QCOMPARE(copy[2], uchar(0));

    s3FaultContext context;
    context.rip = address + 30;
    context.rsp = address - 16;
    const auto hex16 = [](quint64 value) {
        return u"%1"_s.arg(value, 16, 16, QChar(u'0'));
    };
    QCOMPARE(reportMemory(&context),
             u'\n' + hex16(address - 2) + u":  61 62\n\n"_s + hex16(address - 16)
                 + u":  00 00 00 00 00 00 00 00 00 00 00 00 00 00 61 62  ..............ab\n"_s
                 + hex16(address) + u": \n"_s);
    QCOMPARE(reportFrameWords(address),
             u'\n' + hex16(address - 16) + u":  0000000000000000 6261000000000000\n"_s);
    QCOMPARE(munmap(pages, 2 * page), 0);
}

void TestReportPlaces::mappedDataIsNoModule()
{
    const QTemporaryDir dir;
    QFile data(dir.filePath(u"größe data"_s));
    QVERIFY(writeFile(data.fileName(), QByteArray(100000, 'x')));
    QVERIFY(data.open(QIODevice::ReadOnly));
    uchar *mapped = data.map(0, 100000);
    QVERIFY(mapped != nullptr);
    QVERIFY(!platform::loadedModules().contains(data.fileName()));
    void *runnable = mmap(nullptr, 100000, PROT_READ | PROT_EXEC, MAP_PRIVATE, data.handle(), 0);
    if (runnable == MAP_FAILED)
        QSKIP("The temporary directory's file system has no programs (noexec).");
    QVERIFY(platform::loadedModules().contains(data.fileName()));
    QCOMPARE(munmap(runnable, 100000), 0);
}

// No memory and no stack is where the registers point to. (Wine's walker does not come back from this.)
void TestReportPlaces::brokenStackPointer()
{
    const QTemporaryDir dir;
    glob_file_localSettingsDir = dir.path();
    s3FaultContext context;
    context.rip = 0x40;
    context.rsp = 0x8000'0000'0000'0000;
    context.rbp = 0x10;
    s3SaveContext(&context);
    writeDiagnosticReport(true);
    s3SaveContext(nullptr);
    const QByteArray record = readFile(dir.path() + u"/errorReports/SYS.FEHL"_s);
    QVERIFY(record.contains("RIP=0000000000000040  RSP=8000000000000000  "));
    QVERIFY(record.contains("\n0000000000000020: \n\n8000000000000000: \n\nImageHlpApiVersion: "));
    QVERIFY(record.endsWith("\nfinished.\n\n"));
    // The walk has a reason of its own for its end; that there is no symbol was the frame's.
    const QRegularExpression frames(u"failed: Image file not found\\.\n +RIP=40, StackFrame=[0-9a-f]+\n"
                                    "\nComplete\\(1\\) {8}(?!no symbol)[^\n]+\n"_s);
    QVERIFY2(frames.match(QString::fromLatin1(record)).hasMatch(), record.constData());
}

namespace
{

// A small file system of this process's own, gone with it.
bool mountSmallDisk(const char *directory)
{
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && ::mount("tmpfs", directory, "tmpfs", 0, "size=32k") == 0;
}

// Fills the disk with records. Each is there as far as there was room.
int fillDisk()
{
    glob_file_localSettingsDir = QDir::currentPath();
    const QString name = glob_file_localSettingsDir + u"/errorReports/SYS.FEHL"_s;
    QByteArray before;
    for (int i = 0; i < 50 && before.size() < diskSize; ++i) {
        reportEntries = 0;
        writeDiagnosticReport(true);
        const QByteArray now = readFile(name);
        if (!now.startsWith(before) || now.size() <= before.size())
            return unexpected;
        before = now;
    }
    if (before.size() != diskSize)
        return unexpected;
    reportEntries = 0;
    writeDiagnosticReport(true);
    return readFile(name) == before ? 0 : unexpected;
}

// The record is put together on a disk that has no room.
int fillTemporaryDisk()
{
    const QString directory = QDir::currentPath() + u"/temporary"_s;
    qputenv("TMPDIR", QFile::encodeName(directory));
    QFile rest(directory + u"/rest"_s);
    if (!rest.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        || rest.write(QByteArray(diskSize, 'x')) != diskSize)
        return unexpected;
    glob_file_localSettingsDir = QDir::currentPath();
    writeDiagnosticReport(true);
    return reportEntries == 1 ? 0 : unexpected;
}

}

int main(int argc, char **argv)
{
    const QString part = childPart(argc, argv);
    // In front of the application object: a process with threads keeps the mounts that it has.
    if (part == u"disk"_s && !mountSmallDisk("errorReports"))
        return noPrivileges;
    if (part == u"temporary"_s && !mountSmallDisk("temporary"))
        return noPrivileges;
    QCoreApplication application(argc, argv);
    if (part == u"disk"_s)
        return fillDisk();
    if (part == u"temporary"_s)
        return fillTemporaryDisk();
    TestReportPlaces test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reportplaces.moc"
