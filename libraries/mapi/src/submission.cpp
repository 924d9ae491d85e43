#include "submission.h"

#include "compose/settings.h"
#include "composeroute.h"
#include "mail.h"
#include "mapilog.h"
#include "mimewriter.h"
#include "outbox.h"
#include "sendmail.h"
#include "signals.h"

namespace mapi
{

namespace
{

void storeInOutbox(const Mail &mail, bool draft, const Settings &settings)
{
    Outbox outbox(Outbox::defaultDirectory(settings.outbox));
    logLine("outbox: " + outbox.store([&](FileSink &sink) {
        writeMime(mail, {.draft = draft, .lineEnd = LineEnd::Dos}, sink);
    }));
}

std::string summary(const Mail &mail, bool dialog)
{
    return std::string(dialog ? "to be shown: " : "to be sent: ") + std::to_string(mail.to.size()) + " to, "
        + std::to_string(mail.cc.size()) + " cc, " + std::to_string(mail.bcc.size()) + " bcc, "
        + std::to_string(mail.attachments.size()) + " attachments, " + std::to_string(mail.noteText.size())
        + " bytes of text";
}

}

void submit(const Message &message, FLAGS flags)
{
    const ScopedNoFileSizeSignal noSignal;
    const Mail mail = prepareMail(message);
    const bool dialog = (flags & MAPI_DIALOG) != 0;
    logLine(summary(mail, dialog));
    if (dialog) {
        const Settings settings = readSettings();
        if (!composeInMailClient(mail, settings))
            storeInOutbox(mail, true, settings);
    } else if (const auto sendmail = findSendmail()) {
        logLine("sendmail: " + *sendmail);
        sendThroughSendmail(mail, *sendmail, sendmailTimeLimit());
    } else {
        storeInOutbox(mail, false, readSettings());
    }
}

}
