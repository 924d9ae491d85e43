#include "platform/systemerror.h"

#include <cerrno>
#include <cstring>

namespace platform
{

int lastSystemError()
{
    return errno;
}

void setLastSystemError(int number)
{
    errno = number;
}

bool knowsSystemError(int number)
{
    return strerrordesc_np(number) != nullptr;
}

}
