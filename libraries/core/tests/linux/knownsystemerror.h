#pragma once

#include <QtGlobal>

#include <cerrno>

// A number of the system's with words in every language, and one without.
inline constexpr quint32 knownSystemError = ENOENT;
inline constexpr quint32 unknownSystemError = 123456;
