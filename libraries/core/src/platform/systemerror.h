#pragma once

#include <QtGlobal>

namespace platform
{

// The number of the calling thread's last failed system call: GetLastError() on Windows, errno on Linux.
[[nodiscard]] quint32 lastSystemError();

// Whether the system has words for the number. Qt's qt_error_string gives "Unknown error ..." on Linux
// where Windows gives nothing.
[[nodiscard]] bool knowsSystemError(quint32 number);

}
