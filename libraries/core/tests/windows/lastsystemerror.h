#pragma once

#include <QtGlobal>

#include <windows.h>

// Sets what the platform tells as the thread's last error.
inline void setLastSystemError(quint32 number)
{
    SetLastError(number);
}

// A number with words in every language, and one without: its bit 29 marks it as a program's own.
inline constexpr quint32 knownSystemError = ERROR_FILE_NOT_FOUND;
inline constexpr quint32 unknownSystemError = 0xE0001234;
