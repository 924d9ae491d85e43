#pragma once

#include "protocol/s3crashhandler.h"

// The mark in a `catch (...)` that swallows: under a debugger it stops there, and otherwise it leaves a line
// in the trace, see s3CrashHandler::debugTryCatch. `file` is the module's path in the source tree without
// extension, `function` the qualified name.
inline void DEBUG_TRYCATCH(const char *file, const char *function, int line = __builtin_LINE())
{
    s3CrashHandler::instance()->debugTryCatch(file, line, function);
}
