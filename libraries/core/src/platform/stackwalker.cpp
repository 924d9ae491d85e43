#include "platform/stackwalker_p.h"

#include "lasting.h"

namespace platform
{

namespace
{

constinit s3Lasting<SystemStackWalker> systemWalker;

}

StackWalker &stackWalker()
{
    return systemWalker.object;
}

}
