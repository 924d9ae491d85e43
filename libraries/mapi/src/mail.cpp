#include "mail.h"

#include "text.h"

namespace mapi
{

namespace
{

std::vector<Mailbox> &listFor(Mail &mail, ULONG recipientClass)
{
    switch (recipientClass) {
    case MAPI_TO:
        return mail.to;
    case MAPI_CC:
        return mail.cc;
    case MAPI_BCC:
        return mail.bcc;
    default:
        throw Failure(MAPI_E_BAD_RECIPTYPE, "recipient class " + std::to_string(recipientClass));
    }
}

}

Mail prepareMail(const Message &message)
{
    Mail mail;
    if (hasLineBreak(message.subject))
        throw Failure(MAPI_E_INVALID_MESSAGE, "the subject has a line break");
    mail.subject = message.subject;
    mail.noteText = withLineEnds(message.noteText, "\n");
    // A message is made of whole lines.
    if (!mail.noteText.empty() && mail.noteText.back() != '\n')
        mail.noteText.push_back('\n');
    mail.receiptRequested = message.receiptRequested;
    if (message.originator) {
        const std::vector<Mailbox> from = mailboxesOf(*message.originator);
        if (from.size() != 1)
            throw Failure(MAPI_E_INVALID_RECIPS, "more than one originator");
        mail.from = from.front();
    }
    for (const Message::Recipient &recipient : message.recipients) {
        std::vector<Mailbox> &list = listFor(mail, recipient.recipientClass);
        for (Mailbox &mailbox : mailboxesOf(recipient))
            list.push_back(std::move(mailbox));
    }
    for (const Message::File &file : message.files)
        mail.attachments.emplace_back(file.path, file.name);
    return mail;
}

}
