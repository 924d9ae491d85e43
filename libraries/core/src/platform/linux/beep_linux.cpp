#include "platform/beep.h"

namespace platform
{

bool beepTone(quint32, quint32)
{
    return false;
}

bool beepInformation()
{
    return false;
}

}
