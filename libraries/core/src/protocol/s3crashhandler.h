#pragma once

#include <QString>

// The library's way out when an assumption is broken.
class s3CrashHandler
{
public:
    virtual ~s3CrashHandler() = default;

    // Ends the process because an assumption does not hold. `code` is shown negated; `condition` is the
    // source text of what did not hold, or "false" for a place that must not be reached; `text` may be
    // empty; a null C string counts as empty. Any thread.
    [[noreturn]] static void assertFailed(quint32 code, const char *condition, const QString &text,
                                          const char *file, int line, const char *function);
};
