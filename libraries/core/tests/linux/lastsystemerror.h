#pragma once

#include <QtGlobal>

#include <cerrno>

// Sets what the platform tells as the thread's last error.
inline void setLastSystemError(quint32 number)
{
    errno = static_cast<int>(number);
}

// A number with words in every language, and one without.
inline constexpr quint32 knownSystemError = ENOENT;
inline constexpr quint32 unknownSystemError = 123456;
