#pragma once

#include "message.h"

#include <string>
#include <string_view>
#include <vector>

namespace mapi
{

// One address as it goes into a header.
struct Mailbox {
    std::string name; // UTF-8, may be empty
    std::string address; // the domain in its ASCII form; the local part may be UTF-8

    friend bool operator==(const Mailbox &, const Mailbox &) = default;
};

// Reads one address text: "max@example.org", "Max Müller <max@example.org>", also with a comma in a name
// that is not quoted ("Müller, Max <max@example.org>"), "SMTP:max@example.org", "max@example.org (Max)",
// a user of this machine ("root"), or several addresses between commas when each has a domain. Nothing is
// dropped on the way: a text of which only a part can be read as addresses is refused, because a mail that
// reaches only some of its recipients must not look like success.
// Throws Failure(MAPI_E_INVALID_RECIPS) for every other text, among them an empty one, a display name
// without an address, a group, an address that starts with "-", and a text with a line break.
[[nodiscard]] std::vector<Mailbox> parseAddresses(std::string_view text);

// The mailboxes of a recipient. Where name and address are the same text, or one of the two is empty, that
// text is parsed whole; otherwise the address must be exactly one mailbox and the name is shown with it.
[[nodiscard]] std::vector<Mailbox> mailboxesOf(const Message::Recipient &recipient);

}
