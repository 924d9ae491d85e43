#include "platform/debugger.h"

#include <csignal>

namespace platform
{

void breakIntoDebugger()
{
    std::raise(SIGTRAP);
}

}
