#pragma once

#include "compose/argument.h"
#include "mail.h"

#include <string_view>

namespace mapi
{

struct MailtoOptions {
    // With the names of the recipients. RFC 6068 knows addresses only, but many clients read names too.
    bool names = false;
    // The key for a file, "attach" for the clients that know it.
    std::string_view fileKey = "attach";
    // Absolute paths of files to be attached; clients that do not know the key drop them silently.
    std::vector<std::string> files = {};
};

// The mailto: link (RFC 6068) with recipients, subject and text. Everything that comes from the mail is
// percent-encoded, "+" and "&" included, so nothing can add a key; line ends of the text are "%0D%0A".
// Keys that would be empty are left out, and no key comes twice but the one for files.
[[nodiscard]] Argument mailtoLink(const Mail &mail, const MailtoOptions &options = {});

}
