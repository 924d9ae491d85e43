#include "simplemapi.h"

#include "platform/library.h"

#include <QString>

using namespace Qt::StringLiterals;

ULONG sendThroughSimpleMapi(LHANDLE session, ULONG_PTR uiParam, MapiMessageW *message, FLAGS flags,
                            ULONG reserved)
{
    ULONG result = MAPI_E_FAILURE;
    const platform::LibraryHandle mapi = platform::openLibrary(u"mapi32.dll"_s);
    if (mapi == nullptr)
        return result;
    const auto sendMail = reinterpret_cast<LPMAPISENDMAILW>(platform::librarySymbol(mapi, "MAPISendMailW"));
    if (sendMail != nullptr)
        result = sendMail(session, uiParam, message, flags, reserved);
    platform::closeLibrary(mapi);
    return result;
}
