// Every failing process comes to its end in time, with the limits of the product.

#include "crash.h"

#include <QList>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr int ownFailure = -1;
constexpr int foreignFailure = 1;
constexpr int exitCodeOfExit = 5; // what the crash program exits with

// From here on a process may have been ended by the limit.
constexpr std::chrono::milliseconds almostTheLimit{8500};

struct Way {
    const char *failure;
    int exitCode = ownFailure;
    bool hangs = false;
};

constexpr bool onlyByLimit = true;

// None of them is a fault of the machine.
constexpr Way harmless[] = {
    {"invalidParameter"},
    {"invalidParameterWithoutTexts"},
    {"badAlloc"},
    {"ownException"},
    {"ownExceptionOnWorker"},
    {"thrownNumber"},
    {"assertion"},
    {"assertionWithText"},
    {"assertionOnWorker"},
    {"notReached"},
    {"abort"},
    {"terminate"},
    {"throwInReport"},
    {"failsAgainInReport"},
    {"failsAgainAtExit"},
    {"secondFailure"},
    {"twoAtOnce"},
    {"exitAlone", exitCodeOfExit},
    {"hangInReport", ownFailure, onlyByLimit},
    {"hangInCleanUp", exitCodeOfExit, onlyByLimit},
    {"hangInApplication", ownFailure, onlyByLimit},
    {"hangAtExit", ownFailure, onlyByLimit},
};

constexpr Way faults[] = {
    {"nullWrite"},
    {"nullWriteOnWorker"},
    {"nullRead"},
    {"jumpToNull"},
    {"illegalInstruction"},
    {"privilegedInstruction"},
    {"divisionByZero"},
    {"breakpoint"},
    {"singleStep"},
    {"floatInvalidOperation"},
    {"floatDivisionByZero"},
    {"floatOverflow"},
    {"floatUnderflow"},
    {"floatInexactResult"},
    {"pureCall"},
    {"foreignNear"},
    {"foreignStillNear"},
    {"foreignJustFar", foreignFailure},
    {"foreignFar", foreignFailure},
    {"foreignIllegal", foreignFailure},
    {"faultInReport"},
    {"abortInReport"},
    {"faultAtExit", exitCodeOfExit},
    {"damagedBlocks"},
    {"brokenHeap"},
    {"brokenHeapOnWorker"},
    {"lockedReport"},
    {"loaderIsBusy"},
};

struct Row {
    Way way;
    bool isFault; // of the machine
    QString missing; // why this platform does not have it
};

QList<Row> rows()
{
    QList<Row> result;
    for (const Way &way : harmless)
        result += {way, false, QString()};
    for (const Way &way : faults)
        result += {way, true, QString()};
    // Windows: a failed process does not ask its libraries any more.
    result += {{"hangInLibrary", ownFailure, !isWindows}, false, QString()};

    const QString wineCannot = isWindows ? u"Wine ends the process without asking anybody"_s : QString();
    for (const char *failure : {"stackOverflow", "stackOverflowOnWorker"})
        result += {{failure}, true, wineCannot};
    const QString onlyLinux = isWindows ? u"not to be had on this platform"_s : QString();
    for (const char *failure : {"misalignment", "bus", "sentSignal"})
        result += {{failure}, true, onlyLinux};
    const QString onlyWindows = isWindows ? QString() : u"Windows alone has it"_s;
    for (const char *failure : {"raiseUnknown", "raiseNameless", "guardPage", "refusedParameter"})
        result += {{failure}, true, onlyWindows};
    result += {{"heapIsBusy", ownFailure, onlyByLimit}, true, onlyWindows};
    return result;
}

}

class TestCrashEnd final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void endsWithinTenSeconds_data();
    void endsWithinTenSeconds();
    void everyWayHasARow();
    void boxMayStand();

private:
    QStringList m_ways;
};

void TestCrashEnd::initTestCase()
{
    m_ways = waysToFail();
    QVERIFY(m_ways.contains(u"nullWrite"_s));
}

void TestCrashEnd::endsWithinTenSeconds_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("hangs"); // without the limit it would never end
    QTest::addColumn<bool>("isFault");
    QTest::addColumn<QString>("missing");

    for (const Row &row : rows()) {
        QTest::newRow(row.way.failure) << QString::fromLatin1(row.way.failure) << row.way.exitCode
                                       << row.way.hangs << row.isFault << row.missing;
    }
}

void TestCrashEnd::endsWithinTenSeconds()
{
    QFETCH(QString, failure);
    QFETCH(int, exitCode);
    QFETCH(bool, hangs);
    QFETCH(bool, isFault);
    QFETCH(QString, missing);
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    if (isFault && isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(failure, productLimit);
    QVERIFY2(crash.ended && crash.hasFailed, crash.told().constData());
    QVERIFY2(crash.timeToEnd() <= timeToBeGone, crash.told().constData());
    const bool isLate = crash.timeToEnd() >= almostTheLimit;
    QVERIFY2(isLate || !hangs, crash.told().constData());
    // On a machine that is busy with something else the limit may end any of them.
    QVERIFY2(crash.endedWith(exitCode) || (isLate && crash.endedWith(-1)), crash.told().constData());
    QVERIFY2(crash.standardOutput.isEmpty(), crash.told().constData());
}

// No way is forgotten but those that are left to the system, and those of other platforms are none here.
void TestCrashEnd::everyWayHasARow()
{
    QStringList tested;
    for (const Row &row : rows()) {
        if (row.missing.isEmpty() || m_ways.contains(QLatin1StringView(row.way.failure)))
            tested += QString::fromLatin1(row.way.failure);
    }
    QStringList expected = m_ways;
    expected.removeIf([](const QString &way) { return way.endsWith("Handler"_L1); });
    tested.sort();
    expected.sort();
    QCOMPARE(tested, expected);
}

// The user's time is not the program's.
void TestCrashEnd::boxMayStand()
{
    Crash crash;
    const bool isThere
        = crash.outlivesBox(u"assertion"_s, productLimit, timeToBeGone + std::chrono::seconds(1));
    QVERIFY2(isThere, crash.told().constData());
    QVERIFY2(crash.endedWith(-1) && crash.hasFailed, crash.told().constData());
    QVERIFY2(crash.timeToEnd() <= timeToBeGone, crash.told().constData());
}

QTEST_GUILESS_MAIN(TestCrashEnd)
#include "tst_crashend.moc"
