#pragma once

#include <QtGlobal>

namespace platform
{

// The number of the last failed call into the operating system on this thread: GetLastError of Windows,
// errno of POSIX. It is only meaningful right after the failure; the words for it are qt_error_string's.
[[nodiscard]] quint32 lastSystemError();

// Sets that number, to keep it across other calls.
void setLastSystemError(quint32 code);

// Whether the system has words for `code`. For a number that it does not know qt_error_string makes some up
// ("Unknown error 1234").
[[nodiscard]] bool knowsSystemError(quint32 code);

}
