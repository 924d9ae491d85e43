#pragma once

#include <QtGlobal>

// The number of the last failed call into the operating system on this thread: GetLastError of Windows,
// errno of POSIX. It is only meaningful right after the failure; the words for it are qt_error_string's.
[[nodiscard]] quint32 lastSystemError();

// Sets that number, to keep it across other calls.
void setLastSystemError(quint32 code);
