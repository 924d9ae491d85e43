#include "platform/debugger.h"

#include <windows.h>

namespace platform
{

void breakIntoDebugger()
{
    DebugBreak();
}

}
