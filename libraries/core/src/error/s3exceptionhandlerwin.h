#pragma once

#include "error/crashstate.h"
#include "platform/fault.h"

#include <QString>
#include <QtGlobal>

struct s3FaultContext;

// The orderly end of a program that cannot go on: a box, the diagnostic report, the exit.
//
// Everything here runs on the failing thread and takes no lock. Each step stands under a catch-all that takes
// machine faults too, so that a step that fails is given up and the next one follows. Threads that fail at
// the same time take turns, see error/crashturn.h; the whole path has a limit of time, see
// platform/crashdeadline.h.

// What installs the handlers of faults; one object, made with the other process-wide ones.
class s3ExceptionHandlerWinPrivate
{
public:
    // Installs unhandledExceptionFilter, unless test flag 191 is on, invalidParameterHandler and
    // pureCallHandler.
    s3ExceptionHandlerWinPrivate();

    // Puts back the filter that was there before, if there was one.
    ~s3ExceptionHandlerWinPrivate();
    Q_DISABLE_COPY_MOVE(s3ExceptionHandlerWinPrivate)

    // Takes a fault that nothing else took: keeps its context, names it and calls handleFault. When that
    // returns, the platform goes on with what was there before. Any thread.
    static void unhandledExceptionFilter(const platform::Fault &fault);

    // A parameter that the C run-time library refused, a failed assertion of the code 201. The three texts
    // may be null, and then none of them is shown. Any thread.
    [[noreturn]] static void invalidParameterHandler(const wchar_t *expression, const wchar_t *function,
                                                     const wchar_t *file, unsigned int line,
                                                     quintptr reserved);

    // A call of a pure virtual function: faults by writing through a null pointer, so that the filter gets
    // the registers of the place. Any thread.
    static void pureCallHandler();
};

// The filter of every forced fault: makes `context` the saved one, null for none, and forgets the address of
// the first frame. The answer is 1, that is: go on behind the block (EXCEPTION_EXECUTE_HANDLER).
int captureContext(const s3FaultContext *context);

// The context of the last fault, null when none is saved. Overwritten by the next fault.
[[nodiscard]] const s3FaultContext *savedContext();

// A fault with its exception code and its name: decides whose fault it was, which ends with a box of its
// own for a foreign component, and otherwise goes the way of ErrorAndExit. `file` and `line` are the place
// that tells of the fault. Any thread.
void handleFault(quint32 code, const QString &text, const QString &file, int line);

// The one fatal exit: box, diagnostic report and exit with -1. `withRegisters` when the saved context is
// that of the failure; `code` is shown negated; `file`, `line` and `function` (may be empty) are the place.
// Any thread.
[[noreturn]] void ErrorAndExit(bool withRegisters, quint32 code, const QString &text, const QString &file,
                               int line, const QString &function);

// Ends the process with `exitCode`: the application's exit, exitHook or the clean-up of the temporary
// directory, the application's destruction, the run-time library's exit; each at most tried. Any thread.
[[noreturn]] void exitProgram(int exitCode);
