#pragma once

#include "addresses.h"

#include <string>
#include <string_view>
#include <vector>

namespace mapi
{

// Header field values, folded, with "\n" as line end and no line end after the last line. GMime's own
// writer is not used for these: it trims blanks, lets text that looks encoded through as it stands, makes
// encoded words longer than the 75 characters of RFC 2047, and cuts parameters inside a character.

// Free text such as a subject. What is not plain ASCII, or would not survive folding, becomes encoded
// words in UTF-8. The text must have no line break.
[[nodiscard]] std::string encodeText(std::string_view text);

// A parameter of a field, with the ";" before it and on a line of its own: `;` fold `name=value`. A value
// that is not plain goes in pieces by RFC 2231, none of which ends inside a character: receivers that
// decode piece by piece are common.
[[nodiscard]] std::string encodeParameter(std::string_view name, std::string_view value);

// A mailbox as a person would type it into an address field, in UTF-8 and on one line. A name always stands
// in quotes, so the text never begins with a character that a command line could take for an option.
[[nodiscard]] std::string mailboxText(const Mailbox &mailbox);

// A list of mailboxes, one per line.
[[nodiscard]] std::string encodeMailboxes(const std::vector<Mailbox> &mailboxes);

}
