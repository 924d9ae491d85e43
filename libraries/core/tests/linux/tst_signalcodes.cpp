#include "platform/fault.h"

#include <QTest>

#include <array>
#include <csignal>
#include <cstdint>

#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr std::array handledSignals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT};

constexpr quint32 nothing = 0;
quint32 codeOfFault = nothing;

void keepCode(const platform::Fault &fault)
{
    codeOfFault = fault.code;
}

void doNothing(int, siginfo_t *, void *) { }

// Sends this thread a signal as the system would; `offset` places its address relative to the stack pointer,
// 0 for the address 16.
bool send(int signal, int code, qint64 offset)
{
    siginfo_t info = {};
    info.si_signo = signal;
    info.si_code = code;
    const auto here = reinterpret_cast<std::intptr_t>(__builtin_frame_address(0));
    info.si_addr = reinterpret_cast<void *>(offset == 0 ? std::intptr_t{16} : here + offset);
    return syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, &info) == 0;
}

}

class TestSignalCodes final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void codes_data();
    void codes();
    void messages_data();
    void messages();
};

// What is there before takes the signal behind the library's handler, and lets the program go on.
void TestSignalCodes::initTestCase()
{
    platform::removeFaultHandlers();
    for (const int signal : handledSignals) {
        struct sigaction action = {};
        action.sa_sigaction = doNothing;
        action.sa_flags = SA_SIGINFO;
        QCOMPARE(sigaction(signal, &action, nullptr), 0);
    }
    platform::installFaultHandlers({keepCode, nullptr, nullptr});
}

void TestSignalCodes::cleanupTestCase()
{
    platform::removeFaultHandlers();
    for (const int signal : handledSignals)
        std::signal(signal, SIG_DFL);
}

void TestSignalCodes::codes_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("code");
    QTest::addColumn<qint64>("offset");
    QTest::addColumn<quint32>("exceptionCode");
    constexpr qint64 far = 0;
    constexpr qint64 belowTheStack = -4096;
    const auto row = [](const char *name, int signal, int code, qint64 offset, quint32 exceptionCode) {
        QTest::newRow(name) << signal << code << offset << exceptionCode;
    };

    row("no such address", SIGSEGV, SEGV_MAPERR, far, 0xC0000005);
    row("no right to an address", SIGSEGV, SEGV_ACCERR, far, 0xC0000005);
    row("an address that is none", SIGSEGV, SI_KERNEL, far, 0xC0000005);
    row("sent violation", SIGSEGV, SI_USER, far, 0xC0000005);
    row("stack overflow", SIGSEGV, SEGV_MAPERR, belowTheStack, 0xC00000FD);
    row("stack overflow to a guard page", SIGSEGV, SEGV_ACCERR, belowTheStack, 0xC00000FD);
    row("stack overflow by a large frame", SIGSEGV, SEGV_MAPERR, -60000, 0xC00000FD);
    row("far below the stack", SIGSEGV, SEGV_MAPERR, -70000, 0xC0000005);
    row("above the stack", SIGSEGV, SEGV_MAPERR, 100000, 0xC0000005);
    row("sent, with an address of the stack", SIGSEGV, SI_USER, belowTheStack, 0xC0000005);
    row("misaligned", SIGBUS, BUS_ADRALN, far, 0x80000002);
    row("no memory behind an address", SIGBUS, BUS_ADRERR, far, 0xC0000006);
    row("broken memory", SIGBUS, BUS_OBJERR, far, 0xC0000006);
    row("bus error by the stack", SIGBUS, BUS_ADRERR, belowTheStack, 0xC0000006);
    row("illegal instruction", SIGILL, ILL_ILLOPC, far, 0xC000001D);
    row("illegal operand", SIGILL, ILL_ILLOPN, far, 0xC000001D);
    row("privileged instruction", SIGILL, ILL_PRVOPC, far, 0xC0000096);
    row("privileged register", SIGILL, ILL_PRVREG, far, 0xC0000096);
    row("integer division by zero", SIGFPE, FPE_INTDIV, far, 0xC0000094);
    row("integer overflow", SIGFPE, FPE_INTOVF, far, 0xC0000095);
    row("division by zero", SIGFPE, FPE_FLTDIV, far, 0xC000008E);
    row("overflow", SIGFPE, FPE_FLTOVF, far, 0xC0000091);
    row("underflow", SIGFPE, FPE_FLTUND, far, 0xC0000093);
    row("inexact result", SIGFPE, FPE_FLTRES, far, 0xC000008F);
    row("invalid operation", SIGFPE, FPE_FLTINV, far, 0xC0000090);
    row("subscript out of range", SIGFPE, FPE_FLTSUB, far, 0xC000008C);
    row("sent arithmetic error", SIGFPE, SI_USER, far, 0xC0000090);
    row("breakpoint", SIGTRAP, TRAP_BRKPT, far, 0x80000003);
    row("breakpoint instruction", SIGTRAP, SI_KERNEL, far, 0x80000003);
    row("single step", SIGTRAP, TRAP_TRACE, far, 0x80000004);
    row("abort", SIGABRT, SI_TKILL, far, 0x40000015);
}

void TestSignalCodes::codes()
{
    QFETCH(int, signal);
    QFETCH(int, code);
    QFETCH(qint64, offset);
    QFETCH(quint32, exceptionCode);
    codeOfFault = nothing;
    QVERIFY(send(signal, code, offset));
    QCOMPARE(codeOfFault, exceptionCode);
}

void TestSignalCodes::messages_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("message");

    QTest::newRow("violation") << 0xC0000005u << u"Segmentation fault"_s;
    QTest::newRow("page") << 0xC0000006u << u"Bus error"_s;
    QTest::newRow("instruction") << 0xC000001Du << u"Illegal instruction"_s;
    QTest::newRow("arithmetic") << 0xC0000094u << u"Floating point exception"_s;
    QTest::newRow("breakpoint") << 0x80000003u << u"Trace/breakpoint trap"_s;
    QTest::newRow("abort") << 0x40000015u << u"Aborted"_s;
    QTest::newRow("thrown object") << 0xE06D7363u << QString();
    QTest::newRow("none") << 0u << QString();
}

void TestSignalCodes::messages()
{
    QFETCH(quint32, code);
    QTEST(platform::faultMessage(code), "message");
}

QTEST_APPLESS_MAIN(TestSignalCodes)

#include "tst_signalcodes.moc"
