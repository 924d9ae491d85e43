#include "error/s3exception.h"

s3Exception::s3Exception(const QString &text) : message(text.toUtf8()) { }

const char *s3Exception::what() const noexcept
{
    return message.constData();
}
