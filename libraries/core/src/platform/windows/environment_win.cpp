#include "platform/environment.h"

#include <windows.h>

#include <cstdlib>

namespace platform
{

namespace
{

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

}

std::optional<QString> environmentVariable(const QString &name)
{
    // The size counts the terminating null, so it is 0 only for a variable that is not set.
    DWORD size = GetEnvironmentVariableW(wide(name), nullptr, 0);
    while (size != 0) {
        QString value(qsizetype(size), Qt::Uninitialized);
        const DWORD length
            = GetEnvironmentVariableW(wide(name), reinterpret_cast<wchar_t *>(value.data()), size);
        if (length < size) {
            value.truncate(qsizetype(length));
            return value;
        }
        size = length;
    }
    return std::nullopt;
}

void setEnvironmentVariable(const QString &name, const QString &value)
{
    // The run time takes a "=" for an invalid parameter, which a process may have made fatal.
    if (!name.contains(u'='))
        _wputenv_s(wide(name), wide(value));
}

}
