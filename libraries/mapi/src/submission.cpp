#include "submission.h"

#include "composeroute.h"
#include "mail.h"
#include "mimewriter.h"
#include "outbox.h"
#include "sendmail.h"
#include "signals.h"

namespace mapi
{

namespace
{

void storeInOutbox(const Mail &mail, bool draft)
{
    Outbox outbox(Outbox::defaultDirectory());
    outbox.store([&](FileSink &sink) { writeMime(mail, {.draft = draft, .lineEnd = LineEnd::Dos}, sink); });
}

}

void submit(const Message &message, FLAGS flags)
{
    const ScopedNoFileSizeSignal noSignal;
    const Mail mail = prepareMail(message);
    if ((flags & MAPI_DIALOG) != 0) {
        if (!composeInMailClient(mail))
            storeInOutbox(mail, true);
    } else if (const auto sendmail = findSendmail()) {
        sendThroughSendmail(mail, *sendmail, sendmailTimeLimit());
    } else {
        storeInOutbox(mail, false);
    }
}

}
