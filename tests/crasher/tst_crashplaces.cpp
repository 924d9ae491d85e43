// Real crashes where the record has no place, or not enough of it: the box, the exit code and the end in time
// are the same as ever.

#include "crash.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/lockedfile.h"
#include "ostrelletest/smallvolume.h"
#include "record.h"
#include "rights.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{

const QString failure = isSanitized ? u"badAlloc"_s : u"nullWrite"_s;
const QString failureText
    = isSanitized ? u"Exception: std::bad_alloc[^\n]*"_s : u"Exception: ACCESS_VIOLATION[^\n]*"_s;
constexpr int failureCode = isSanitized ? 329 : 1123;

constexpr qint64 smallDisk = 4096; // less than any record
const QByteArray earlier = "an earlier record\n"_ba;

QString reports(const QString &folder)
{
    return folder + u"/errorReports"_s;
}

QString report(const QString &folder)
{
    return reports(folder) + u"/SYS.FEHL"_s;
}

bool writeEarlierReport(const QString &folder)
{
    return QDir().mkpath(reports(folder)) && writeFile(report(folder), earlier);
}

void useTemporaryDirectory(Crash &crash, const QString &directory)
{
    for (const QString &name : isWindows ? QStringList{u"TMP"_s, u"TEMP"_s} : QStringList{u"TMPDIR"_s})
        crash.environment.insert(name, QDir::toNativeSeparators(directory));
}

QString reasonNotToMount()
{
    if (isWindows)
        return u"not to be had on this platform"_s;
    const QTemporaryDir folder;
    return SmallVolume(folder.path(), smallDisk).isMounted()
        ? QString()
        : u"A small file system of its own needs the right to mount."_s;
}

void nothingWasWritten(const QString &folder)
{
    QVERIFY(!QFile::exists(report(folder)));
}

void earlierReportIsAsItWas(const QString &folder)
{
    QCOMPARE(readFile(report(folder)), earlier);
}

}

// Where the record would go.
struct Place {
    // Prepares `folder`. What it gives lives until the crash is over; null when that failed.
    std::function<std::shared_ptr<void>(const QString &folder, Crash &crash)> make;
    // Looks at what the crash has left.
    std::function<void(const QString &folder)> look;
};
Q_DECLARE_METATYPE(Place)

// A crash there, over when this is made.
struct PlacedCrash {
    PlacedCrash(const Place &place, int limit) : crash(folder.path()), kept(place.make(folder.path(), crash))
    {
        if (kept)
            crash.run(failure, limit);
    }

    QTemporaryDir folder;
    Crash crash;
    std::shared_ptr<void> kept; // null when the place is not to be had
};

class TestCrashPlaces final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void boxAndExitCode_data();
    void boxAndExitCode();
    void endsWithinTenSeconds_data();
    void endsWithinTenSeconds();
};

void TestCrashPlaces::initTestCase()
{
    QVERIFY(!waysToFail().isEmpty());
}

void TestCrashPlaces::boxAndExitCode_data()
{
    QTest::addColumn<Place>("place");
    QTest::addColumn<QString>("missing"); // why this platform does not have it

    const QString none;
    const QString onlyLinux = isWindows ? u"not to be had on this platform"_s : none;
    const QString onlyWindows = isWindows ? none : u"a file that is open elsewhere refuses nobody here"_s;
    const QString needsMount = reasonNotToMount();
    const auto nothingToKeep = [] {
        return std::make_shared<int>();
    };

    QTest::newRow("a file in place of the directory")
        << Place{[=](const QString &folder, Crash &) -> std::shared_ptr<void> {
                     return writeFile(reports(folder), earlier) ? nothingToKeep() : nullptr;
                 },
                 [](const QString &folder) {
                     QCOMPARE(readFile(reports(folder)), earlier);
                 }}
        << none;
    QTest::newRow("read-only directory") << Place{
        [=](const QString &folder, Crash &crash) -> std::shared_ptr<void> {
            obeyPermissions(crash.process);
            return QDir().mkdir(reports(folder))
                    && QFile::setPermissions(reports(folder), QFileDevice::ReadOwner | QFileDevice::ExeOwner)
                ? nothingToKeep()
                : nullptr;
        },
        nothingWasWritten} << onlyLinux;
    QTest::newRow("read-only file") << Place{
        [=](const QString &folder, Crash &crash) -> std::shared_ptr<void> {
            obeyPermissions(crash.process);
            return writeEarlierReport(folder) && QFile::setPermissions(report(folder), QFileDevice::ReadOwner)
                ? nothingToKeep()
                : nullptr;
        },
        earlierReportIsAsItWas} << (isWindows ? u"Wine lets the superuser write it all the same"_s : none);
    QTest::newRow("open elsewhere") << Place{[](const QString &folder, Crash &) -> std::shared_ptr<void> {
                                                 if (!writeEarlierReport(folder))
                                                     return nullptr;
                                                 const auto file
                                                     = std::make_shared<ScopedUnreadableFile>(report(folder));
                                                 return file->isLocked() ? file : nullptr;
                                             },
                                             // Nor can it be read until then.
                                             [](const QString &folder) {
                                                 QCOMPARE(QFileInfo(report(folder)).size(), earlier.size());
                                             }}
                                    << onlyWindows;
    QTest::newRow("no place for temporary files")
        << Place{[=](const QString &folder, Crash &crash) -> std::shared_ptr<void> {
                     // A directory that is not there would not be used at all.
                     const QString file = folder + u"/file"_s;
                     useTemporaryDirectory(crash, file);
                     return writeFile(file, earlier) ? nothingToKeep() : nullptr;
                 },
                 nothingWasWritten}
        << none;
    QTest::newRow("full device") << Place{
        [=](const QString &folder, Crash &) -> std::shared_ptr<void> {
            return QDir().mkdir(reports(folder)) && QFile::link(u"/dev/full"_s, report(folder))
                ? nothingToKeep()
                : nullptr;
        },
        [](const QString &folder) {
            QCOMPARE(QFile::symLinkTarget(report(folder)), u"/dev/full"_s);
        }} << onlyLinux;
    QTest::newRow("full disk") << Place{
        [](const QString &folder, Crash &) -> std::shared_ptr<void> {
            if (!QDir().mkdir(reports(folder)))
                return nullptr;
            const auto disk = std::make_shared<SmallVolume>(reports(folder), smallDisk);
            return disk->isMounted() ? disk : nullptr;
        },
        [](const QString &folder) {
            const QString location = locationOf(failureCode, filterPlace());
            const QString content = readReport(report(folder));
            QCOMPARE(QFileInfo(report(folder)).size(), smallDisk);
            QCOMPARE(recordsOf(content), QStringList(content));
            QVERIFY(matches(content,
                            errorBlock(failureText, failureCode, location) + u'\n' + historyLine(location)));
        }} << needsMount;
    QTest::newRow("full disk for temporary files")
        << Place{[](const QString &folder, Crash &crash) -> std::shared_ptr<void> {
                     const QString directory = folder + u"/temporary"_s;
                     if (!QDir().mkdir(directory))
                         return nullptr;
                     const auto disk = std::make_shared<SmallVolume>(directory, smallDisk);
                     useTemporaryDirectory(crash, directory);
                     return disk->isMounted() && writeFile(directory + u"/rest"_s, QByteArray(smallDisk, 'x'))
                         ? disk
                         : nullptr;
                 },
                 [](const QString &folder) {
                     QCOMPARE(readFile(report(folder)), QByteArray());
                 }}
        << needsMount;
    QTest::newRow("nothing there yet") << Place{
        [=](const QString &folder, Crash &) -> std::shared_ptr<void> {
            return QDir().rmdir(folder) ? nothingToKeep() : nullptr;
        },
        [](const QString &folder) {
            const QString location = locationOf(failureCode, filterPlace());
            const QString content = readReport(report(folder));
            QVERIFY2(recordForm(errorBlock(failureText, failureCode, location), historyLine(location), true)
                         .match(content)
                         .hasMatch(),
                     content.toUtf8().constData());
        }} << none;
}

void TestCrashPlaces::boxAndExitCode()
{
    QFETCH(Place, place);
    QFETCH(QString, missing);
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    const PlacedCrash placed(place, generousLimit);
    const Crash &crash = placed.crash;
    QVERIFY(placed.kept);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 1);
    QVERIFY2(
        matches(crash.texts[0], boxForm(failureText, locationOf(failureCode, filterPlace()), registerRows())),
        crash.told().constData());
    place.look(placed.folder.path());
}

void TestCrashPlaces::endsWithinTenSeconds_data()
{
    boxAndExitCode_data();
}

void TestCrashPlaces::endsWithinTenSeconds()
{
    QFETCH(Place, place);
    QFETCH(QString, missing);
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    const PlacedCrash placed(place, productLimit);
    const Crash &crash = placed.crash;
    QVERIFY(placed.kept);
    QVERIFY2(crash.endedWith(-1) && crash.hasFailed, crash.told().constData());
    QVERIFY2(crash.timeToEnd() <= timeToBeGone, crash.told().constData());
}

QTEST_GUILESS_MAIN(TestCrashPlaces)
#include "tst_crashplaces.moc"
