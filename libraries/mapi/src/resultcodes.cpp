#include "resultcodes.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <sysexits.h>

namespace mapi
{

namespace
{

struct ExitRow {
    int status;
    ULONG result;
};

// EX_UNAVAILABLE and EX_PROTOCOL are what relaying commands answer when the next server cannot be reached
// or refuses, EX_CONFIG when no account is set up. EX_CANTCREAT and EX_IOERR do not say that a disk is
// full, and EX_USAGE blames our call and not the mail, so these stay general failures.
constexpr std::array exitTable{
    ExitRow{EX_OK, SUCCESS_SUCCESS},
    ExitRow{EX_DATAERR, MAPI_E_INVALID_MESSAGE},
    ExitRow{EX_NOUSER, MAPI_E_UNKNOWN_RECIPIENT},
    ExitRow{EX_NOHOST, MAPI_E_UNKNOWN_RECIPIENT},
    ExitRow{EX_UNAVAILABLE, MAPI_E_NETWORK_FAILURE},
    ExitRow{EX_TEMPFAIL, MAPI_E_NETWORK_FAILURE},
    ExitRow{EX_PROTOCOL, MAPI_E_NETWORK_FAILURE},
    ExitRow{EX_NOPERM, MAPI_E_ACCESS_DENIED},
    ExitRow{EX_CONFIG, MAPI_E_LOGON_FAILURE},
};

}

ULONG resultFromErrno(int error) noexcept
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return MAPI_E_DISK_FULL;
    case ENOMEM:
        return MAPI_E_INSUFFICIENT_MEMORY;
    case EACCES:
    case EPERM:
    case EROFS:
        return MAPI_E_ACCESS_DENIED;
    default:
        return MAPI_E_FAILURE;
    }
}

ULONG resultFromSendmailExit(int status) noexcept
{
    for (const ExitRow &row : exitTable) {
        if (row.status == status)
            return row.result;
    }
    return MAPI_E_FAILURE;
}

Failure systemFailure(std::string_view operation, std::string_view object, int error)
{
    std::string reason(operation);
    reason.append(" ").append(object).append(": ").append(std::generic_category().message(error));
    return {resultFromErrno(error), std::move(reason)};
}

}
