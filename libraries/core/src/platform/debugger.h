#pragma once

// The debugger that this process may run under. Any thread.
namespace platform
{

// Whether one is attached: IsDebuggerPresent on Windows, a tracing process on Linux.
[[nodiscard]] bool isDebuggerPresent();

// Stops there: DebugBreak on Windows, SIGTRAP on Linux. Without a debugger it ends the process.
void breakIntoDebugger();

}
