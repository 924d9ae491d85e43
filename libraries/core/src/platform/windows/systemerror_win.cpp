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

bool knowsSystemError(quint32 code)
{
    wchar_t *text = nullptr;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM
                                            | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, code, 0, reinterpret_cast<wchar_t *>(&text), 0, nullptr);
    LocalFree(text);
    return length != 0;
}

}
