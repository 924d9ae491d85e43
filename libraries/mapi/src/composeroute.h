#pragma once

#include "compose/settings.h"
#include "mail.h"

namespace mapi
{

// Opens the compose window of a mail client of the desktop with the whole mail filled in.
//
// True when a client, or the portal, has taken the mail over; false when there is no desktop, no client, or
// the settings do not want one: then nothing was done, and the caller goes on to the next route. A client
// that would take only part of a mail is not asked; names of recipients and the wish for a receipt go where
// a route can carry them, and do not count as a part.
//
// Throws Failure, and the mail is nowhere then: MAPI_USER_ABORT; MAPI_E_NOT_SUPPORTED when there is a client
// but no way to give it the attachments, or no portal where one is needed; MAPI_E_TEXT_TOO_LARGE when the
// text is too long for the only way; MAPI_E_FAILURE when a client ends with a failure, and for wrong
// settings; what StagedMail, composeByPortal, exportDocuments and startDetached throw.
[[nodiscard]] bool composeInMailClient(const Mail &mail, const Settings &settings);

}
