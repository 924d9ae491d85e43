#pragma once

#include <QtGlobal>

#include <windows.h>

// A number of the system's with words in every language, and one without: its bit 29 marks it as a program's
// own.
inline constexpr quint32 knownSystemError = ERROR_FILE_NOT_FOUND;
inline constexpr quint32 unknownSystemError = 0xE0001234;
