#include "failures.h"

#include "platform/library.h"
#include "protocol/diagnosticreport.h"
#include "protocol/s3assert.h"
#include "s3threadbase.h"

#include <QFile>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

#include "error/s3exceptionhandlerwin.h"

using namespace Qt::StringLiterals;

QByteArray boxFolder;
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

void assertion()
{
    s3Assert(false, "1 == 2", "file", "f", QString(), 7);
}

void assertionWithText()
{
    s3Assert(false, "1 == 2", "file", "f", u"Größe\n"_s, 7);
}

void notReached()
{
    s3CrashHandler::assertFailed(s3CrashHandler::NotReached, "false", u"try/catch"_s, "file", 8, nullptr);
}

// Runs one failure on a thread of the library.
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

template <void (*fail)()> void onWorker()
{
    Worker worker(fail);
    worker.start();
    worker.wait();
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

void hangInReport()
{
    reportHook = []() -> QString {
        volatile bool goesOn = true;
        while (goesOn) { }
        return QString();
    };
    assertion();
}

// The clean-up is the last of the own steps that may hang.
void hangAtExit()
{
    exitHook = [] {
        volatile bool goesOn = true;
        while (goesOn) { }
    };
    exitProgram(5);
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

template <class Function> Function foreign(const char *name)
{
    const platform::LibraryHandle library = platform::openLibrary(QFile::decodeName(foreignLibrary));
    void *symbol = library != nullptr ? platform::librarySymbol(library, name) : nullptr;
    if (symbol == nullptr) {
        std::fprintf(stderr, "no %s in %s\n", name, foreignLibrary.constData());
        std::exit(99);
    }
    return reinterpret_cast<Function>(symbol);
}

// The fault is in the first frame behind ours, so it may come from our argument.
[[gnu::noinline]] void foreignNear()
{
    foreign<void (*)(int *)>("foreignWrite")(nullptr);
    std::fflush(stdout);
}

[[gnu::noinline]] void foreignFar()
{
    foreign<void (*)(int)>("foreignFar")(10);
    std::fflush(stdout);
}

[[gnu::noinline]] void foreignIllegal()
{
    foreign<void (*)()>("foreignIllegal")();
    std::fflush(stdout);
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
        {"hangInReport", hangInReport},
        {"hangAtExit", hangAtExit},
        {"faultAtExit", faultAtExit},
        {"exitAlone", exitAlone},
        {"secondFailure", secondFailure},
        {"twoAtOnce", twoAtOnce},
        {"foreignNear", foreignNear},
        {"foreignFar", foreignFar},
        {"foreignIllegal", foreignIllegal},
        {"brokenHeap", brokenHeap},
    };
    return failures;
}
