#pragma once

#include "failure.h"

#include <string_view>

namespace mapi
{

// The Simple MAPI result for an error number of the system, for everything but attachments: no room 4,
// no memory 5, no permission 6, anything else 2.
[[nodiscard]] ULONG resultFromErrno(int error) noexcept;

// The Simple MAPI result for the exit status of a sendmail command, 0 to 255, in the terms of <sysexits.h>;
// 0 is SUCCESS_SUCCESS, a status without a row is MAPI_E_FAILURE.
[[nodiscard]] ULONG resultFromSendmailExit(int status) noexcept;

// A failure of a system call: resultFromErrno(error), and "`operation` `object`: <the system's words>".
[[nodiscard]] Failure systemFailure(std::string_view operation, std::string_view object, int error);

}
