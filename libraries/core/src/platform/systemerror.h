#pragma once

// The operating system's error number of the calling thread: GetLastError() on Windows, errno on Linux.
namespace platform
{

// The number of the last failed call. It is only meaningful right after the failure; the words for it
// are qt_error_string's.
[[nodiscard]] int lastSystemError();

// Sets that number, to keep it across other calls.
void setLastSystemError(int number);

// Whether the system has words for the number. Qt's qt_error_string gives "Unknown error ..." on Linux
// where Windows gives nothing.
[[nodiscard]] bool knowsSystemError(int number);

}
