#include "failure.h"
#include "message.h"
#include "submission.h"

#include <glib.h>

#include <new>

// The two entries of the library. Nothing of C++ leaves them: every failure is a result code. The reason of
// a failure is written to the log of GLib at debug level, which G_MESSAGES_DEBUG=ostrelle-mapi shows on
// standard error.

namespace
{

template <typename Read> ULONG resultOf(const Read &read, FLAGS flags) noexcept
{
    try {
        mapi::submit(read(), flags);
        return SUCCESS_SUCCESS;
    } catch (const mapi::Failure &failure) {
        g_log("ostrelle-mapi", G_LOG_LEVEL_DEBUG, "%s [%u]", failure.what(),
              static_cast<unsigned>(failure.code()));
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
