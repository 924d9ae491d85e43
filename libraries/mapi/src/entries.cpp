#include "failure.h"
#include "mapilog.h"
#include "message.h"
#include "submission.h"

#include <new>
#include <string>

// The two entries of the library. Nothing of C++ leaves them: every failure is a result code, and its
// reason a line of the log.

namespace
{

template <typename Read> ULONG resultOf(const Read &read, FLAGS flags) noexcept
{
    try {
        mapi::submit(read(), flags);
        mapi::logLine("result 0");
        return SUCCESS_SUCCESS;
    } catch (const mapi::Failure &failure) {
        mapi::logLine("result " + std::to_string(failure.code()) + ": " + failure.what());
        return failure.code();
    } catch (const std::bad_alloc &) {
        return MAPI_E_INSUFFICIENT_MEMORY;
    } catch (...) {
        return MAPI_E_FAILURE;
    }
}

}

extern "C" {

__attribute__((visibility("default"))) ULONG MAPISendMailW(LHANDLE, ULONG_PTR, lpMapiMessageW message,
                                                           FLAGS flags, ULONG)
{
    return resultOf([message] { return mapi::messageFromWide(message); }, flags);
}

__attribute__((visibility("default"))) ULONG MAPISendMail(LHANDLE, ULONG_PTR, lpMapiMessage message,
                                                          FLAGS flags, ULONG)
{
    return resultOf([message] { return mapi::messageFromNarrow(message); }, flags);
}
}
