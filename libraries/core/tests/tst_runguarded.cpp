#include "platform/faultcontext.h"
#include "platform/runguarded.h"

#include <QTest>

#include <atomic>
#include <functional>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

using Failure = void (*)();

// Machine faults are made in assembly: what a compiler or a sanitizer thinks of them does not matter.
void readNull()
{
    asm volatile("movq 0, %%rax" ::: "rax", "memory");
}

void writeNull()
{
    asm volatile("movl $1, 0" ::: "memory");
}

void readFirstPages()
{
    asm volatile("movq $0x8000, %%rax\n\tmovq (%%rax), %%rax" ::: "rax", "memory");
}

void readNonCanonical()
{
    asm volatile("movabsq $0x8000000000000000, %%rax\n\tmovq (%%rax), %%rax" ::: "rax", "memory");
}

void illegalInstruction()
{
    asm volatile("ud2");
}

void divideByZero()
{
    asm volatile("movl $1, %%eax\n\txorl %%edx, %%edx\n\txorl %%ecx, %%ecx\n\tidivl %%ecx" ::
                     : "rax", "rcx", "rdx", "cc");
}

void privilegedInstruction()
{
    asm volatile("hlt");
}

void breakpoint()
{
    asm volatile("int3");
}

// The compiler must not see that it is null.
void callNull()
{
    Failure nowhere = nullptr;
    asm volatile("" : "+r"(nowhere));
    nowhere();
}

void throwBadAlloc()
{
    throw std::bad_alloc();
}

void throwInt()
{
    throw 42;
}

void throwNullPointer()
{
    throw static_cast<const char *>(nullptr);
}

struct Tidy {
    explicit Tidy(int &count) : m_count(count) { }
    ~Tidy() { ++m_count; }
    Q_DISABLE_COPY_MOVE(Tidy)

private:
    int &m_count;
};

void addFailures()
{
    QTest::addColumn<Failure>("failure");
    QTest::addColumn<bool>("isFault");

    QTest::newRow("null read") << Failure(readNull) << true;
    QTest::newRow("null write") << Failure(writeNull) << true;
    QTest::newRow("read of the first pages") << Failure(readFirstPages) << true;
    QTest::newRow("non-canonical read") << Failure(readNonCanonical) << true;
    QTest::newRow("jump to null") << Failure(callNull) << true;
    QTest::newRow("illegal instruction") << Failure(illegalInstruction) << true;
    QTest::newRow("division by zero") << Failure(divideByZero) << true;
    QTest::newRow("privileged instruction") << Failure(privilegedInstruction) << true;
    QTest::newRow("breakpoint") << Failure(breakpoint) << true;
    QTest::newRow("std::bad_alloc") << Failure(throwBadAlloc) << false;
    QTest::newRow("no exception class") << Failure(throwInt) << false;
    QTest::newRow("thrown null") << Failure(throwNullPointer) << false;
}

}

Q_DECLARE_METATYPE(Failure)

class TestRunGuarded final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { s3SaveContext(nullptr); }

    void aStepThatRuns();
    void aStepThatFails_data() { addFailures(); }
    void aStepThatFails();
    void againAndAgain_data() { addFailures(); }
    void againAndAgain();
    void theInnermostGuardTakesIt_data() { addFailures(); }
    void theInnermostGuardTakesIt();
    void theOuterGuardTakesWhatComesLater_data() { addFailures(); }
    void theOuterGuardTakesWhatComesLater();
    void exceptionsTidyUp();
    void exceptionsInsideStayInside();
    void aFaultInACatchBlock();
    void everyThreadHasItsOwn();
    void savedContext();
    void forcedFaultSavesItsCaller();
    void forcedFaultIsNobodysFailure();
    void forcedFaultReplacesTheContext();
    void forcedFaultsOnThreads();
};

void TestRunGuarded::aStepThatRuns()
{
    int runs = 0;
    QVERIFY(s3RunGuarded([&] { ++runs; }));
    const auto constant = [&runs]() {
        ++runs;
    };
    QVERIFY(s3RunGuarded(constant));
    std::function<void()> function = [&runs] {
        ++runs;
    };
    QVERIFY(s3RunGuarded(function));
    QCOMPARE(runs, 3);
}

void TestRunGuarded::aStepThatFails()
{
    QFETCH(Failure, failure);
    int before = 0;
    volatile bool isBehind = false;
    QVERIFY(!s3RunGuarded([&] {
        ++before;
        failure();
        isBehind = true;
    }));
    QCOMPARE(before, 1);
    QVERIFY(!isBehind);
    QVERIFY(s3SavedContext() == nullptr); // only forced faults are kept
}

void TestRunGuarded::againAndAgain()
{
    QFETCH(Failure, failure);
    for (int i = 0; i < 200; ++i)
        QVERIFY(!s3RunGuarded(failure));
    QVERIFY(s3RunGuarded([] {}));
}

void TestRunGuarded::theInnermostGuardTakesIt()
{
    QFETCH(Failure, failure);
    QStringList order;
    const bool hasRun = s3RunGuarded([&] {
        const bool hasMiddleRun = s3RunGuarded([&] {
            const bool hasInnerRun = s3RunGuarded([&] { failure(); });
            order += hasInnerRun ? u"inner ran"_s : u"inner failed"_s;
        });
        order += hasMiddleRun ? u"middle ran"_s : u"middle failed"_s;
    });
    order += hasRun ? u"outer ran"_s : u"outer failed"_s;
    QCOMPARE(order, QStringList({u"inner failed"_s, u"middle ran"_s, u"outer ran"_s}));
}

void TestRunGuarded::theOuterGuardTakesWhatComesLater()
{
    QFETCH(Failure, failure);
    bool hasInnerRun = true;
    const bool hasRun = s3RunGuarded([&] {
        hasInnerRun = s3RunGuarded([&] { failure(); });
        failure();
    });
    QVERIFY(!hasInnerRun);
    QVERIFY(!hasRun);
}

void TestRunGuarded::exceptionsTidyUp()
{
    int tidied = 0;
    QVERIFY(!s3RunGuarded([&] {
        const Tidy tidy(tidied);
        throwBadAlloc();
    }));
    QCOMPARE(tidied, 1);
}

void TestRunGuarded::exceptionsInsideStayInside()
{
    bool isCaught = false;
    QVERIFY(s3RunGuarded([&] {
        try {
            throw std::runtime_error("mine");
        } catch (const std::runtime_error &) {
            isCaught = true;
        }
    }));
    QVERIFY(isCaught);
}

void TestRunGuarded::aFaultInACatchBlock()
{
    QVERIFY(!s3RunGuarded([] {
        try {
            throwInt();
        } catch (int) {
            writeNull();
        }
    }));
    QVERIFY(!s3RunGuarded(throwInt));
}

void TestRunGuarded::everyThreadHasItsOwn()
{
    constexpr int threadCount = 4;
    constexpr int rounds = 200;
    std::atomic<int> failed = 0;
    std::atomic<int> ran = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < rounds; ++round) {
                const Failure failure = (i + round) % 2 == 0 ? writeNull : divideByZero;
                if (!s3RunGuarded([&] {
                        if (!s3RunGuarded(failure))
                            ++failed;
                        readNull();
                    }))
                    ++failed;
                if (s3RunGuarded([] {}))
                    ++ran;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(failed.load(), 2 * threadCount * rounds);
    QCOMPARE(ran.load(), threadCount * rounds);
}

void TestRunGuarded::savedContext()
{
    QVERIFY(s3SavedContext() == nullptr);
    QCOMPARE(s3FirstFrameAddress(), 0U);

    s3FaultContext context;
    context.rip = 0x1234;
    context.r15 = 15;
    context.eflags = 0x202;
    s3SaveContext(&context);
    context.rip = 1;
    QVERIFY(s3SavedContext() != nullptr);
    QCOMPARE(s3SavedContext()->rip, 0x1234U);
    QCOMPARE(s3SavedContext()->r15, 15U);
    QCOMPARE(s3SavedContext()->eflags, 0x202U);

    s3SetFirstFrameAddress(77);
    QCOMPARE(s3FirstFrameAddress(), 77U);
    s3SaveContext(s3SavedContext());
    QCOMPARE(s3FirstFrameAddress(), 0U); // a new context has not been walked
    QCOMPARE(s3SavedContext()->rip, 0x1234U);

    s3SetFirstFrameAddress(78);
    s3SaveContext(nullptr);
    QVERIFY(s3SavedContext() == nullptr);
    QCOMPARE(s3FirstFrameAddress(), 0U);
}

namespace
{

struct ForcedPlace {
    quint64 stackPointer = 0;
    quint64 behind = 0; // the instruction behind the call
};

// Gives the registers values of their own and forces the fault right there.
void forceWithKnownRegisters(ForcedPlace &place)
{
    asm volatile("movq %%rsp, %%r14\n\t"
                 "subq $256, %%rsp\n\t"
                 "andq $-16, %%rsp\n\t"
                 "pushq %%rbp\n\t"
                 "pushq %%rbp\n\t"
                 "movq %%rsp, (%%rdi)\n\t"
                 "leaq 1f(%%rip), %%rax\n\t"
                 "movq %%rax, 8(%%rdi)\n\t"
                 "movq $0x101, %%rax\n\t"
                 "movq $0x102, %%rbx\n\t"
                 "movq $0x103, %%rcx\n\t"
                 "movq $0x104, %%rdx\n\t"
                 "movq $0x105, %%rsi\n\t"
                 "movq $0x106, %%rbp\n\t"
                 "movq $0x108, %%r8\n\t"
                 "movq $0x109, %%r9\n\t"
                 "movq $0x110, %%r10\n\t"
                 "movq $0x111, %%r11\n\t"
                 "movq $0x112, %%r12\n\t"
                 "movq $0x113, %%r13\n\t"
                 "movq $0x115, %%r15\n\t"
                 "call s3ForceFault\n\t"
                 "1: popq %%rbp\n\t"
                 "popq %%rbp\n\t"
                 "movq %%r14, %%rsp\n\t"
                 :
                 : "D"(&place)
                 : "rax", "rbx", "rcx", "rdx", "rsi", "r8", "r9", "r10", "r11", "r12", "r13", "r14", "r15",
                   "memory", "cc");
}

}

void TestRunGuarded::forcedFaultSavesItsCaller()
{
    ForcedPlace place;
    forceWithKnownRegisters(place);
    const s3FaultContext *context = s3SavedContext();
    QVERIFY(context != nullptr);
    QCOMPARE(context->rip, place.behind);
    QCOMPARE(context->rsp, place.stackPointer);
    QCOMPARE(context->rdi, reinterpret_cast<quint64>(&place));
    QCOMPARE(context->rax, 0x101U);
    QCOMPARE(context->rbx, 0x102U);
    QCOMPARE(context->rcx, 0x103U);
    QCOMPARE(context->rdx, 0x104U);
    QCOMPARE(context->rsi, 0x105U);
    QCOMPARE(context->rbp, 0x106U);
    QCOMPARE(context->r8, 0x108U);
    QCOMPARE(context->r9, 0x109U);
    QCOMPARE(context->r10, 0x110U);
    QCOMPARE(context->r11, 0x111U);
    QCOMPARE(context->r12, 0x112U);
    QCOMPARE(context->r13, 0x113U);
    QVERIFY(context->r14 > context->rsp); // the stack pointer of before
    QCOMPARE(context->r15, 0x115U);
    QVERIFY(context->eflags != 0);
}

void TestRunGuarded::forcedFaultIsNobodysFailure()
{
    bool isBehind = false;
    QVERIFY(s3RunGuarded([&] {
        s3ForceFault();
        isBehind = true;
    }));
    QVERIFY(isBehind);
    QVERIFY(s3SavedContext() != nullptr);
    QVERIFY(!s3RunGuarded([] {
        s3ForceFault();
        writeNull();
    }));
}

void TestRunGuarded::forcedFaultReplacesTheContext()
{
    s3FaultContext context;
    context.rip = 1;
    s3SaveContext(&context);
    s3SetFirstFrameAddress(5);
    s3ForceFault();
    QVERIFY(s3SavedContext()->rip != 1);
    QCOMPARE(s3FirstFrameAddress(), 0U);
    const quint64 first = s3SavedContext()->rip;
    s3ForceFault();
    QVERIFY(s3SavedContext()->rip != first);
}

// One after the other: the saved context is one for the process.
void TestRunGuarded::forcedFaultsOnThreads()
{
    for (int i = 0; i < 20; ++i) {
        quint64 local = 0;
        std::thread([&local] {
            quint64 onThisStack = 0;
            s3ForceFault();
            local = reinterpret_cast<quint64>(&onThisStack);
        }).join();
        const quint64 stackPointer = s3SavedContext()->rsp;
        QVERIFY(local >= stackPointer);
        QVERIFY(local - stackPointer < 65536);
        s3SaveContext(nullptr);
    }
}

QTEST_APPLESS_MAIN(TestRunGuarded)

#include "tst_runguarded.moc"
