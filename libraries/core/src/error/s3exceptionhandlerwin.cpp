#include "error/s3exceptionhandlerwin.h"

#include "error/crashpath.h"
#include "error/crashturn.h"
#include "error/systemcrashsteps.h"
#include "platform/crashdeadline.h"
#include "platform/faultcontext.h"
#include "protocol/s3crashhandler.h"
#include "s3testflags.h"

#include <cstdlib>

namespace
{

constexpr qint32 throwingFlag = 191;

constexpr int executeHandler = 1; // EXCEPTION_EXECUTE_HANDLER

constexpr int failureExitCode = -1;

// Takes what comes while this thread is on the crash path already. An abort and an uncaught exception cannot
// be taken by a catch-all; a machine fault in their place can.
void takeFault(const platform::Fault &fault)
{
    const bool isMachineFault = fault.code != platform::abortCode && fault.code != platform::thrownObjectCode;
    if (s3CrashTurn::isMine() && !isMachineFault)
        s3ExceptionHandlerWinPrivate::pureCallHandler();
    s3ExceptionHandlerWinPrivate::unhandledExceptionFilter(fault);
}

void takeInvalidParameter(const wchar_t *expression, const wchar_t *function, const wchar_t *file,
                          unsigned int line, uintptr_t reserved)
{
    s3ExceptionHandlerWinPrivate::invalidParameterHandler(expression, function, file, line, reserved);
}

}

std::atomic<bool> reportFrozen = false;
std::atomic<int> reportEntries = 0;
void (*exitHook)() = nullptr;
int debugFrameLimit = 0;

s3ExceptionHandlerWinPrivate::s3ExceptionHandlerWinPrivate()
{
    platform::prepareCrashDeadline();
    const bool isThrowing = s3TestFlagsInstance()->contains(throwingFlag);
    platform::installFaultHandlers({isThrowing ? nullptr : takeFault, takeInvalidParameter, pureCallHandler});
}

s3ExceptionHandlerWinPrivate::~s3ExceptionHandlerWinPrivate()
{
    // The exit of a failing process is still guarded.
    if (s3CrashTurn::wasTaken())
        platform::finishFailedProcess();
    else
        platform::removeFaultHandlers();
}

void s3ExceptionHandlerWinPrivate::unhandledExceptionFilter(const platform::Fault &fault)
{
    unhandledExceptionFilterBy(systemCrashSteps(), fault);
}

void s3ExceptionHandlerWinPrivate::invalidParameterHandler(const wchar_t *expression, const wchar_t *function,
                                                           const wchar_t *file, unsigned int line, quintptr)
{
    s3CrashHandler::assertFailed(s3CrashHandler::NotReached, "false",
                                 invalidParameterText(expression, function, file, line),
                                 "libraries/core/src/error/s3exceptionhandlerwin", __LINE__,
                                 "s3ExceptionHandlerWinPrivate::invalidParameterHandler");
}

void s3ExceptionHandlerWinPrivate::pureCallHandler()
{
    // Written in assembler, since a compiler may drop or replace a write through a known null pointer.
    asm volatile("movl $1, (%0)" : : "r"(nullptr) : "memory");
}

int captureContext(const s3FaultContext *context)
{
    s3SaveContext(context);
    return executeHandler;
}

const s3FaultContext *savedContext()
{
    return s3SavedContext();
}

void handleFault(quint32 code, const QString &text, const QString &file, int line)
{
    handleFaultBy(systemCrashSteps(), code, text, file, line);
}

void ErrorAndExit(bool withRegisters, quint32 code, const QString &text, const QString &file, int line,
                  const QString &function)
{
    errorAndExitBy(systemCrashSteps(), withRegisters, code, text, file, line, function);
    std::_Exit(failureExitCode);
}

void exitProgram(int exitCode)
{
    exitProgramBy(systemCrashSteps(), exitCode);
    std::_Exit(exitCode);
}
