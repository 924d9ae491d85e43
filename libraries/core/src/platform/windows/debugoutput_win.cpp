#include "platform/debugoutput.h"

#include <windows.h>

namespace platform
{

void debugOutput(const QString &text)
{
    OutputDebugStringW(reinterpret_cast<const wchar_t *>(text.utf16()));
}

}
