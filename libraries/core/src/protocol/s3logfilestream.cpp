#include "protocol/s3logfilestream.h"

bool s3LogFileStream::isOpen(const QString &)
{
    return false;
}
