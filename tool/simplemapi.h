#pragma once

#include "mapiplatform.h"
#include "mapitypes.h"

// The call of MAPISendMailW: hands `message` to a mail client. The one and only way from the tool into
// MAPI; it decides which entry of which library really gets the call: the wide entry of the system's library
// wins wherever it exists. Only without it the library of the user's mail client is searched for its wide
// entry (mapiprovider.h), and as the last resort the system library's narrow entry gets a converted message
// (mapinarrow.h), unless `flags` has MAPI_FORCE_UNICODE.
//
// `session` and `uiParam` may be 0. `message` and everything it points to stays the caller's and must
// live until the call returns; with MAPI_DIALOG in `flags` that is when the compose window is closed.
// The result is a Simple MAPI result code, MAPI_E_FAILURE when no entry could be called. Main thread.
[[nodiscard]] ULONG sendThroughSimpleMapi(LHANDLE session, ULONG_PTR uiParam, MapiMessageW *message,
                                          FLAGS flags, ULONG reserved);

// The same with the system behind `platform`.
[[nodiscard]] ULONG sendThroughMapiPlatform(MapiPlatform &platform, LHANDLE session, ULONG_PTR uiParam,
                                            MapiMessageW *message, FLAGS flags, ULONG reserved);
