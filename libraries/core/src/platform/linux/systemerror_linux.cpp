#include "platform/systemerror.h"

#include <cerrno>

quint32 lastSystemError()
{
    return quint32(errno);
}

void setLastSystemError(quint32 code)
{
    errno = int(code);
}
