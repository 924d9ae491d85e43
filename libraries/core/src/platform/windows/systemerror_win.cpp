#include "platform/systemerror.h"

#include <windows.h>

namespace platform
{

int lastSystemError()
{
    return static_cast<int>(GetLastError());
}

bool knowsSystemError(int)
{
    return true; // its text is empty for a number that it does not know
}

}
