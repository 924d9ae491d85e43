#pragma once

#include "mail.h"

namespace mapi
{

// The place of the mail clients of the desktop: opens the compose window of the user's default client with
// the whole mail filled in.
//
// True when a client has taken the mail over; false when no client is known that could take it, and then
// nothing was done and the caller goes on to the next route. A client that takes only part of a mail is
// none. Throws Failure, MAPI_USER_ABORT among others, when a client was asked and the mail did not get
// there.
//
// CMake picks the implementation (OSTRELLE_MAPI_COMPOSE): composeroute_none.cpp knows no client.
[[nodiscard]] bool composeInMailClient(const Mail &mail);

}
