#pragma once

#include "protocol/s3crashhandler.h"

#include <QString>

// One assertion site: ends the process by s3CrashHandler::assertFailed when `holds` is false.
//
//     s3Assert(size > 0, "size > 0", sourceFile, "vs_query_info");
//
// `condition` is the text that the developers know the failure by; it is written out because it is read in
// reports and must not follow the formatting of the source. `file` is the module's path in the source
// tree without extension, `function` the qualified name. `text` is an explanation in German, usually
// none. The line is the caller's own.
inline void s3Assert(bool holds, const char *condition, const char *file, const char *function,
                     const QString &text = QString(), int line = __builtin_LINE())
{
    if (holds) [[likely]]
        return;
    (void)s3CrashHandler::instance();
    s3CrashHandler::assertFailed(s3CrashHandler::AssertionFailed, condition, text, file, line, function);
}
