#pragma once

#include "message.h"

namespace mapi
{

// Brings a message on its way and returns when it is handed over. With MAPI_DIALOG in `flags` a person is
// to see it before it goes: to the compose window of a mail client, otherwise as a draft to the outbox, and
// never to sendmail. Without it: to the system's sendmail command, otherwise to the outbox.
// Other flags have no meaning here. Throws Failure.
void submit(const Message &message, FLAGS flags);

}
