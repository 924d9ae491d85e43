#include "platform/systemerror.h"

#include <cerrno>
#include <cstring>

namespace platform
{

quint32 lastSystemError()
{
    return quint32(errno);
}

void setLastSystemError(quint32 code)
{
    errno = int(code);
}

bool knowsSystemError(quint32 code)
{
    return strerrordesc_np(int(code)) != nullptr;
}

}
