#include "failures.h"

#include "error/s3exceptionhandlerwin.h"
#include "ostrelletest/failingthread.h"
#include "platform/filelock.h"
#include "platform/library.h"
#include "protocol/diagnosticreport.h"
#include "protocol/reportfilename.h"
#include "protocol/s3assert.h"
#include "s3tempdir.h"
#include "s3threadbase.h"

#include <QFile>
#include <QFileInfo>
#include <QString>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

using namespace Qt::StringLiterals;

QByteArray foreignLibrary;

// In assembler: neither the optimiser nor a sanitizer is to notice what these do.
[[gnu::noinline]] void writeTo(void *address)
{
    asm volatile("movl $1, (%0)" : : "r"(address) : "memory");
}

[[gnu::noinline]] int readFrom(const void *address)
{
    int value = 0;
    asm volatile("movl (%1), %0" : "=r"(value) : "r"(address) : "memory");
    return value;
}

void *foreignSymbol(const char *name)
{
    const platform::LibraryHandle library = platform::openLibrary(QFile::decodeName(foreignLibrary));
    void *symbol = library != nullptr ? platform::librarySymbol(library, name) : nullptr;
    if (symbol == nullptr) {
        std::fprintf(stderr, "no %s in %s\n", name, foreignLibrary.constData());
        std::exit(99);
    }
    return symbol;
}

void assertion()
{
    s3Assert(false, "1 == 2", "file", "f", QString(), 7);
}

namespace
{

class Worker final : public s3ThreadBase
{
public:
    explicit Worker(void (*fail)()) : s3ThreadBase(false), m_fail(fail) { }

protected:
    void run() override
    {
        m_fail();
        runFinish();
    }

private:
    void (*m_fail)();
};

}

void runOnWorker(void (*fail)())
{
    Worker worker(fail);
    worker.start();
    waitForFailingThread(worker);
}

namespace
{

[[gnu::noinline]] void nullWrite()
{
    writeTo(nullptr);
}

[[gnu::noinline]] void nullRead()
{
    std::exit(readFrom(nullptr));
}

[[gnu::noinline]] void jumpToNull()
{
    asm volatile("xorl %%eax, %%eax\n\tcall *%%rax" : : : "rax", "memory");
}

[[gnu::noinline]] void illegalInstruction()
{
    asm volatile("ud2");
}

[[gnu::noinline]] void privilegedInstruction()
{
    asm volatile("hlt");
}

[[gnu::noinline]] void divisionByZero()
{
    int quotient = 1;
    asm volatile("cltd\n\tidivl %1" : "+a"(quotient) : "r"(0) : "rdx", "cc");
    std::exit(quotient);
}

[[gnu::noinline]] void breakpoint()
{
    asm volatile("int3");
}

// With the processor's trap flag on, which it clears by the fault. The first step keeps off what the compiler
// may have stored below the stack pointer.
[[gnu::noinline]] void singleStep()
{
    asm volatile("leaq -128(%%rsp), %%rsp\n\tpushfq\n\torl $0x100, (%%rsp)\n\tpopfq\n\t"
                 "nop\n\tnop\n\tleaq 128(%%rsp), %%rsp"
                 :
                 :
                 : "memory", "cc");
}

// Divides with one of the processor's six exceptions of floating point numbers let through, by its bit.
[[gnu::noipa]] void divide(unsigned int exception, double dividend, double divisor)
{
    constexpr unsigned int allMasked = 0x1F80;
    const unsigned int control = allMasked & ~(1U << (exception + 7));
    asm volatile("ldmxcsr %1\n\tdivsd %2, %0" : "+x"(dividend) : "m"(control), "x"(divisor));
    std::printf("%g\n", dividend);
}

void floatInvalidOperation()
{
    divide(0, 0, 0);
}

void floatDivisionByZero()
{
    divide(2, 1, 0);
}

void floatOverflow()
{
    divide(3, 1e308, 1e-308);
}

void floatUnderflow()
{
    divide(4, 1e-308, 1e308);
}

void floatInexactResult()
{
    divide(5, 1, 3);
}

// Each frame is used behind the call, so that no call becomes a jump.
[[gnu::noinline]] int recurse(int depth)
{
    volatile char room[4096] = {};
    room[0] = static_cast<char>(depth);
    return depth == 0 ? room[1] : recurse(depth - 1) + room[0];
}

[[gnu::noinline]] void stackOverflow()
{
    std::exit(recurse(1 << 30));
}

class Abstract
{
public:
    Abstract() { callBeforeItIsThere(this); }
    virtual ~Abstract() = default;
    virtual void notYet() = 0;

private:
    // The optimiser is not to know which type the object will have.
    [[gnu::noipa]] static void callBeforeItIsThere(Abstract *object) { object->notYet(); }
};

class Concrete final : public Abstract
{
public:
    void notYet() override { }
};

[[gnu::noinline]] void pureCall()
{
    const Concrete object;
}

void invalidParameter()
{
    s3ExceptionHandlerWinPrivate::invalidParameterHandler(L"size > 0", L"fopen", L"größe.c", 12, 0);
}

void invalidParameterWithoutTexts()
{
    s3ExceptionHandlerWinPrivate::invalidParameterHandler(nullptr, nullptr, nullptr, 0, 0);
}

[[gnu::noinline]] void badAlloc()
{
    throw std::bad_alloc();
}

struct OwnException : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[gnu::noinline]] void ownException()
{
    throw OwnException("words that nobody reads");
}

[[gnu::noinline]] void thrownNumber()
{
    throw 42;
}

void assertionWithText()
{
    s3Assert(false, "1 == 2", "file", "f", u"Größe\n"_s, 7);
}

void notReached()
{
    s3CrashHandler::assertFailed(s3CrashHandler::NotReached, "false", u"try/catch"_s, "file", 8, nullptr);
}

void faultInReport()
{
    reportHook = []() -> QString {
        writeTo(nullptr);
        return QString();
    };
    assertion();
}

void throwInReport()
{
    reportHook = []() -> QString {
        throw std::runtime_error("report");
    };
    assertion();
}

void abortInReport()
{
    reportHook = []() -> QString {
        std::abort();
    };
    assertion();
}

// Each failure in here comes while the one before is being told, so this goes on until the report says no.
void failsAgainInReport()
{
    reportHook = []() -> QString {
        assertion();
        return QString();
    };
    assertion();
}

// Fails again behind each record, twice more than records are written. Without an end it would be the end of
// the stack.
void failsAgainAtExit()
{
    exitHook = [] {
        constexpr int mostFailures = 8;
        static int failures = 0;
        if (++failures <= mostFailures)
            assertion();
    };
    assertion();
}

void exitAlone()
{
    exitProgram(5);
}

void faultAtExit()
{
    exitHook = [] {
        writeTo(nullptr);
    };
    exitProgram(5);
}

void secondFailure()
{
    Worker worker([] {
        waitForBox();
        s3Assert(false, "second", "other", "g", QString(), 8);
    });
    worker.start();
    s3Assert(false, "first", "file", "f", QString(), 7);
}

// Two threads in the same moment.
void twoAtOnce()
{
    static std::atomic<int> ready = 0;
    const auto fail = [] {
        ++ready;
        while (ready < 2) { }
        s3Assert(false, "both", "file", "f", QString(), 7);
    };
    Worker worker(fail);
    worker.start();
    fail();
}

// The fault is in the first frame behind ours, so it may come from our argument.
[[gnu::noinline]] void foreignNear()
{
    foreign<void (*)(int *)>("foreignWrite")(nullptr);
    std::fflush(stdout);
}

// With so many more frames between.
template <int frames> [[gnu::noinline]] void foreignDeep()
{
    foreign<void (*)(int)>("foreignFar")(frames - 1);
    std::fflush(stdout);
}

[[gnu::noinline]] void foreignIllegal()
{
    foreign<void (*)()>("foreignIllegal")();
    std::fflush(stdout);
}

// Somebody has written behind the ends of blocks that are never given back.
void damagedBlocks()
{
    constexpr std::size_t size = 1000;
    constexpr std::size_t overrun = 16;
    std::array<char *, 8> blocks = {};
    for (char *&block : blocks) {
        block = static_cast<char *>(std::malloc(size));
        asm volatile("" : "+r"(block)); // forget its size
    }
    bool isDamaged = false;
    for (std::size_t i = 0; i + 1 < blocks.size(); ++i) {
        const std::ptrdiff_t distance = blocks[i + 1] - blocks[i];
        if (distance < 0 || distance > static_cast<std::ptrdiff_t>(size + 2 * overrun))
            continue;
        std::memset(blocks[i + 1] - overrun, 0x7F, overrun);
        isDamaged = true;
    }
    if (!isDamaged)
        std::exit(97);
    nullWrite();
}

void brokenHeap()
{
    // Overwrites what the heap keeps in front of and behind its blocks.
    for (int i = 0; i < 64; ++i) {
        char *block = static_cast<char *>(std::malloc(static_cast<std::size_t>(16 + i * 16)));
        asm volatile("" : "+r"(block)); // forget its size
        std::memset(block - 16, 0x7F, 16);
        std::memset(block + 16 + i * 16, 0x7F, 256);
    }
    nullWrite();
}

// Somebody else appends to the report file and does not come to an end.
void lockedReport()
{
    const QString fileName = reportFileName(true);
    static platform::FileLock lock(s3MakePath(QFileInfo(fileName).path(), nullptr) ? fileName : QString());
    if (lock.tryLock() != platform::FileLock::Result::Taken)
        std::exit(97);
    nullWrite();
}

// Anything that dies while nobody looks after it: the message of a broken assumption of Qt, for example.
void giveUp()
{
    std::abort();
}

void giveUpWithoutException()
{
    std::terminate();
}

}

const QList<Failure> &commonFailures()
{
    static const QList<Failure> failures{
        {"nullWrite", nullWrite},
        {"nullRead", nullRead},
        {"jumpToNull", jumpToNull},
        {"stackOverflow", stackOverflow},
        {"stackOverflowOnWorker", onWorker<stackOverflow>},
        {"illegalInstruction", illegalInstruction},
        {"privilegedInstruction", privilegedInstruction},
        {"divisionByZero", divisionByZero},
        {"breakpoint", breakpoint},
        {"singleStep", singleStep},
        {"floatInvalidOperation", floatInvalidOperation},
        {"floatDivisionByZero", floatDivisionByZero},
        {"floatOverflow", floatOverflow},
        {"floatUnderflow", floatUnderflow},
        {"floatInexactResult", floatInexactResult},
        {"pureCall", pureCall},
        {"invalidParameter", invalidParameter},
        {"invalidParameterWithoutTexts", invalidParameterWithoutTexts},
        {"badAlloc", badAlloc},
        {"ownException", ownException},
        {"ownExceptionOnWorker", onWorker<ownException>},
        {"thrownNumber", thrownNumber},
        {"assertion", assertion},
        {"assertionWithText", assertionWithText},
        {"assertionOnWorker", onWorker<assertion>},
        {"notReached", notReached},
        {"nullWriteOnWorker", onWorker<nullWrite>},
        {"abort", giveUp},
        {"terminate", giveUpWithoutException},
        {"faultInReport", faultInReport},
        {"throwInReport", throwInReport},
        {"abortInReport", abortInReport},
        {"failsAgainInReport", failsAgainInReport},
        {"failsAgainAtExit", failsAgainAtExit},
        {"faultAtExit", faultAtExit},
        {"exitAlone", exitAlone},
        {"secondFailure", secondFailure},
        {"twoAtOnce", twoAtOnce},
        {"foreignNear", foreignNear},
        {"foreignStillNear", foreignDeep<2>},
        {"foreignJustFar", foreignDeep<3>},
        {"foreignFar", foreignDeep<11>},
        {"foreignIllegal", foreignIllegal},
        {"damagedBlocks", damagedBlocks},
        {"brokenHeap", brokenHeap},
        {"brokenHeapOnWorker", onWorker<brokenHeap>},
        {"lockedReport", lockedReport},
    };
    return failures;
}
