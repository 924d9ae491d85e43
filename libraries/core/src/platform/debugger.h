#pragma once

namespace platform
{

// Stops in the debugger that this process runs under (isDebuggerAttached() of platform/process.h): DebugBreak
// on Windows, SIGTRAP on Linux. Without a debugger it ends the process. Any thread.
void breakIntoDebugger();

}
