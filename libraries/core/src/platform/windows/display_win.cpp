#include "platform/display.h"

namespace platform
{

// A Windows process always has a window station to put its boxes on.
bool prepareDisplay()
{
    return true;
}

bool screenAvailable()
{
    return true;
}

}
