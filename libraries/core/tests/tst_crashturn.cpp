#include "error/crashturn.h"

#include "ostrelletest/semaphore.h"

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

class TestCrashTurn final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mineUntilGiven();
    void anotherThreadWaits();
    void givenByTheOwnerOnly();
    void oneAtATime();
};

void TestCrashTurn::mineUntilGiven()
{
    QVERIFY(!s3CrashTurn::wasTaken());
    QVERIFY(!s3CrashTurn::isMine());
    s3CrashTurn::give(); // nothing to give
    s3CrashTurn::take();
    QVERIFY(s3CrashTurn::isMine());
    s3CrashTurn::take(); // a failure within a failure
    QVERIFY(s3CrashTurn::isMine());
    s3CrashTurn::give();
    QVERIFY(!s3CrashTurn::isMine());
    QVERIFY(s3CrashTurn::wasTaken());
}

void TestCrashTurn::anotherThreadWaits()
{
    Semaphore isHere(0);
    std::atomic<bool> isGiven = false;
    bool wasGivenBefore = false;
    s3CrashTurn::take();
    std::thread other([&] {
        isHere.release();
        s3CrashTurn::take();
        wasGivenBefore = isGiven;
        s3CrashTurn::give();
    });
    isHere.acquire();
    isGiven = true;
    s3CrashTurn::give();
    other.join();
    QVERIFY(wasGivenBefore);
    s3CrashTurn::take(); // as after a box
    QVERIFY(s3CrashTurn::isMine());
    s3CrashTurn::give();
}

void TestCrashTurn::givenByTheOwnerOnly()
{
    s3CrashTurn::take();
    bool isOthers = true;
    std::thread other([&] {
        s3CrashTurn::give();
        isOthers = s3CrashTurn::isMine();
    });
    other.join();
    QVERIFY(!isOthers);
    QVERIFY(s3CrashTurn::isMine());
    s3CrashTurn::give();
}

void TestCrashTurn::oneAtATime()
{
    constexpr int threads = 8;
    constexpr int rounds = 20;
    int count = 0; // unguarded but for the turn
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                s3CrashTurn::take();
                const int now = ++inside;
                if (now > most)
                    most = now;
                ++count;
                --inside;
                s3CrashTurn::give();
            }
        });
    }
    for (std::thread &worker : workers)
        worker.join();
    QCOMPARE(count, threads * rounds);
    QCOMPARE(most, 1);
}

QTEST_GUILESS_MAIN(TestCrashTurn)
#include "tst_crashturn.moc"
