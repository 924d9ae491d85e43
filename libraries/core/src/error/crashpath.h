#pragma once

#include <QString>
#include <QtGlobal>

namespace platform
{
struct Fault;
}
class s3CrashSteps;

// The decisions of the crash path over given steps. In a process none of them returns but the filter's and
// handleFault's, and these only when the steps do not end the process; over a test's steps all return once
// exitProgramBy has gone through. See error/s3exceptionhandlerwin.h for what each is.

void unhandledExceptionFilterBy(s3CrashSteps &steps, const platform::Fault &fault);
void handleFaultBy(s3CrashSteps &steps, quint32 code, const QString &text, const QString &file, int line);
void errorAndExitBy(s3CrashSteps &steps, bool withRegisters, quint32 code, const QString &text,
                    const QString &file, int line, const QString &function);
void exitProgramBy(s3CrashSteps &steps, int exitCode);

// The place of a failure as boxes, reports and assertions tell it; `function` may be empty.
[[nodiscard]] QString failureLocation(quint32 code, const QString &file, int line, const QString &function);

// The words of the assertion for a parameter that the C run-time library refused.
[[nodiscard]] QString invalidParameterText(const wchar_t *expression, const wchar_t *function,
                                           const wchar_t *file, unsigned int line);
