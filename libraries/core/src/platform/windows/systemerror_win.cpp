#include "platform/systemerror.h"

#include <windows.h>

namespace platform
{

quint32 lastSystemError()
{
    return GetLastError();
}

bool knowsSystemError(quint32)
{
    return true; // its text is empty for a number that it does not know
}

}
