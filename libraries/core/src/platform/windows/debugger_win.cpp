#include "platform/debugger.h"

#include <windows.h>

namespace platform
{

bool isDebuggerPresent()
{
    return IsDebuggerPresent() != FALSE;
}

void breakIntoDebugger()
{
    DebugBreak();
}

}
