#include "platform/beep.h"

#include <windows.h>

namespace platform
{

bool beepTone(quint32 frequency, quint32 duration)
{
    return Beep(frequency, duration) != FALSE;
}

bool beepInformation()
{
    static_assert(MB_ICONINFORMATION == 64);
    return MessageBeep(MB_ICONINFORMATION) != FALSE;
}

}
