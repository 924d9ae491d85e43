#include "platform/systemerror.h"

#include <windows.h>

namespace platform
{

int lastSystemError()
{
    return static_cast<int>(GetLastError());
}

void setLastSystemError(int number)
{
    SetLastError(static_cast<DWORD>(number));
}

bool knowsSystemError(int)
{
    return true; // its text is empty for a number that it does not know
}

}
