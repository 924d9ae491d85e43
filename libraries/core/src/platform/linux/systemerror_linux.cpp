#include "platform/systemerror.h"

#include <cerrno>
#include <cstring>

namespace platform
{

quint32 lastSystemError()
{
    return static_cast<quint32>(errno);
}

bool knowsSystemError(quint32 number)
{
    return strerrordesc_np(static_cast<int>(number)) != nullptr;
}

}
