#pragma once

#include <mapitypes.h>

#include <exception>
#include <string>
#include <utility>

namespace mapi
{

// Ends the submission of a mail. Thrown anywhere below the two entries and turned into the result of the
// call there; it never leaves the library and never crosses a frame of a C library.
class Failure final : public std::exception
{
public:
    // `code` is the Simple MAPI result the caller gets, never SUCCESS_SUCCESS. `reason` is for diagnosis:
    // what was attempted, on what, and the system's words.
    Failure(ULONG code, std::string reason) : m_code(code), m_reason(std::move(reason)) { }

    [[nodiscard]] ULONG code() const noexcept { return m_code; }
    [[nodiscard]] const char *what() const noexcept override { return m_reason.c_str(); }

private:
    ULONG m_code;
    std::string m_reason;
};

}
