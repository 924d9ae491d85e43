#pragma once

#include "addresses.h"

#include <string>
#include <string_view>
#include <vector>

namespace mapi
{

// Header field values, folded, with "\n" as line end and no line end after the last line. GMime's own
// writer is not used for these: it trims blanks, lets text that looks encoded through as it stands, and
// makes encoded words longer than the 75 characters of RFC 2047.

// Free text such as a subject. What is not plain ASCII, or would not survive folding, becomes encoded
// words in UTF-8. The text must have no line break.
[[nodiscard]] std::string encodeText(std::string_view text);

// A list of mailboxes, one per line.
[[nodiscard]] std::string encodeMailboxes(const std::vector<Mailbox> &mailboxes);

}
