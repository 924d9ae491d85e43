#pragma once

#include "addresses.h"
#include "attachment.h"
#include "message.h"

#include <optional>
#include <string>
#include <vector>

namespace mapi
{

// A mail that has been checked and can be written. What every route takes.
struct Mail {
    std::optional<Mailbox> from; // only where the caller named an originator
    std::vector<Mailbox> to;
    std::vector<Mailbox> cc;
    std::vector<Mailbox> bcc;
    std::string subject; // one line
    std::string noteText; // plain text, lines end with "\n", the last one too
    std::vector<Attachment> attachments;
    bool receiptRequested = false;

    [[nodiscard]] bool hasRecipients() const { return !to.empty() || !cc.empty() || !bcc.empty(); }
};

// Checks a message. Throws Failure: MAPI_E_BAD_RECIPTYPE for a recipient class other than TO, CC and BCC,
// MAPI_E_INVALID_RECIPS for a text that is no address (the originator's too), MAPI_E_INVALID_MESSAGE for a
// line break in the subject or in the name of a file, and what Attachment throws.
[[nodiscard]] Mail prepareMail(const Message &message);

}
