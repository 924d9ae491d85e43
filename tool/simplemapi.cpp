#include "simplemapi.h"

#include "mapihandles.h"
#include "mapinarrow.h"
#include "mapiprovider.h"
#include "widetext.h"

namespace
{

// Calls the wide entry of the user's mail client. False if there is none. `useUtf8` tells what its narrow
// entry takes.
bool sendThroughProvider(MapiPlatform &platform, LHANDLE session, ULONG_PTR uiParam, MapiMessageW *message,
                         FLAGS flags, ULONG reserved, bool &useUtf8, ULONG &result)
{
    const MapiLibrary provider(platform, static_cast<HMODULE>(loadMapiProvider(platform, useUtf8)));
    if (provider.get() == nullptr)
        return false;
    const auto sendMail = provider.entry<LPMAPISENDMAILW>("MAPISendMailW");
    if (sendMail == nullptr)
        return false;
    result = sendMail(session, uiParam, message, flags, reserved);
    return true;
}

// Calls the narrow entry of the system's library with a converted message. The result is
// MAPI_E_FAILURE if the conversion fails or the entry is missing.
ULONG sendNarrow(MapiPlatform &platform, const MapiLibrary &mapi, LHANDLE session, ULONG_PTR uiParam,
                 const MapiMessageW *message, FLAGS flags, ULONG reserved, bool useUtf8)
{
    ULONG result = MAPI_E_FAILURE;
    MapiMessage *narrow = nullptr;
    if (convertMessageToNarrow(platform, message, &narrow, useUtf8) < 0)
        return result;
    const auto sendMail = mapi.entry<LPMAPISENDMAIL>("MAPISendMail");
    if (sendMail != nullptr)
        result = sendMail(session, uiParam, narrow, flags, reserved);
    freeNarrowMessage(platform, narrow);
    return result;
}

}

ULONG sendThroughSimpleMapi(LHANDLE session, ULONG_PTR uiParam, MapiMessageW *message, FLAGS flags,
                            ULONG reserved)
{
    return sendThroughMapiPlatform(systemMapiPlatform(), session, uiParam, message, flags, reserved);
}

ULONG sendThroughMapiPlatform(MapiPlatform &platform, LHANDLE session, ULONG_PTR uiParam,
                              MapiMessageW *message, FLAGS flags, ULONG reserved)
{
    const MapiLibrary mapi(platform, platform.loadLibrary("mapi32.dll"_w));
    if (mapi.get() == nullptr)
        return MAPI_E_FAILURE;
    const auto sendMail = mapi.entry<LPMAPISENDMAILW>("MAPISendMailW");
    if (sendMail != nullptr)
        return sendMail(session, uiParam, message, flags, reserved);

    bool useUtf8 = false;
    ULONG result = MAPI_E_FAILURE;
    if (sendThroughProvider(platform, session, uiParam, message, flags, reserved, useUtf8, result))
        return result;
    if ((flags & MAPI_FORCE_UNICODE) != 0)
        return result;
    return sendNarrow(platform, mapi, session, uiParam, message, flags, reserved, useUtf8);
}
