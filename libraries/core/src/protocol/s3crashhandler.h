#pragma once

#include <QString>

// The library's way out when an assumption is broken.
class s3CrashHandler
{
public:
    // The codes of failures, each shown negated.
    enum Code : quint32 {
        NotReached = 201, // a place that must not be reached, its condition is "false"
        AssertionFailed = 1111, // a condition does not hold
    };

    virtual ~s3CrashHandler() = default;
    Q_DISABLE_COPY_MOVE(s3CrashHandler)

    // The process's handler, never null, made at the first call without a lock and never destroyed.
    [[nodiscard]] static s3CrashHandler *instance();

    // Stops in the debugger when there is one; whether there is. Any thread.
    virtual bool debugBreak() = 0;

    // Tells a developer of an exception that is being swallowed at this place: debugBreak(), and a line in
    // the trace with test flag 400 or 55. With test flag 198 the place is a failed assertion instead. Sites
    // use DEBUG_TRYCATCH (protocol/s3debugtrycatch.h). Any thread.
    void debugTryCatch(const char *file, int line, const char *function);
    void debugTryCatch(const QString &file, int line, const QString &function);

    // Ends the process because an assumption does not hold. `code` is shown negated; `condition` is the
    // source text of what did not hold, or "false" for a place that must not be reached; `text` may be
    // empty; `file` is the module's source and `function` its qualified name. C strings are UTF-8, a null
    // one counts as empty. Any thread, no lock is taken.
    //
    // With test flag 191 on it throws s3Exception instead. Sites use s3Assert (protocol/s3assert.h).
    [[noreturn]] static void assertFailed(quint32 code, const char *condition, const QString &text,
                                          const char *file, int line, const char *function);

protected:
    s3CrashHandler() = default;
};
