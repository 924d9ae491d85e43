#include "platform/systemerror.h"

#include <windows.h>

namespace platform
{

quint32 lastSystemError()
{
    return GetLastError();
}

void setLastSystemError(quint32 code)
{
    SetLastError(code);
}

bool knowsSystemError(quint32)
{
    return true; // its text is empty otherwise
}

}
