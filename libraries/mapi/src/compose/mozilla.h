#pragma once

#include "compose/argument.h"
#include "mail.h"

namespace mapi
{

// Thunderbird and Betterbird: "-compose" with one argument of key=value pairs between commas. Each value
// is percent-encoded down to letters, digits, ".", "-" and "_", and never quoted, so it cannot end early:
// the receiver splits at commas and quotes and knows no escape. Attachments are not among the pairs; they
// need a draft file.
[[nodiscard]] Arguments mozillaArguments(const Mail &mail, const std::vector<std::string> &files);

// Whether these clients need a draft file for a mail: with attachments, a receipt or an originator, and for
// a text that they would take for the name of a file to be read in.
[[nodiscard]] bool mozillaNeedsDraft(const Mail &mail);

}
