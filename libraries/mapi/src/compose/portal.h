#pragma once

#include "compose/sessionbus.h"
#include "mail.h"

#include <chrono>
#include <string>
#include <vector>

namespace mapi
{

// The arguments of org.freedesktop.portal.Email.ComposeEmail for a mail, checked by the portal's own rules.
struct PortalMail {
    std::vector<std::string> to;
    std::vector<std::string> cc;
    std::vector<std::string> bcc;
    std::string subject;
    std::string body;
};

// The first version of the portal that takes more than one recipient, and Cc and Bcc.
inline constexpr unsigned portalWithLists = 3;
// Of a subject, in characters: the portal refuses longer ones.
inline constexpr std::size_t portalSubjectLength = 200;
// Of attachments: the kernel passes at most 253 descriptors with a message.
inline constexpr std::size_t portalFiles = 250;

// What the portal of that version is given. It takes bare addresses in ASCII with a domain. Throws Failure
// for a mail that it would refuse or deliver in part: MAPI_E_INVALID_RECIPS for other addresses,
// MAPI_E_TOO_MANY_RECIPIENTS where it takes only one, MAPI_E_TOO_MANY_FILES beyond portalFiles,
// MAPI_E_TEXT_TOO_LARGE for a long subject.
[[nodiscard]] PortalMail portalMail(const Mail &mail, unsigned version);
// The same as the a{sv} of the call, a floating reference. `fileCount` descriptors follow with the call.
[[nodiscard]] GVariant *portalOptions(const PortalMail &mail, unsigned version, const std::string &token,
                                      int fileCount);

// The version of the portal. Throws busFailure.
[[nodiscard]] unsigned portalVersion(const SessionBus &bus);

// The user may be asked to choose a client first.
inline constexpr std::chrono::minutes portalTimeLimit(30);

// Has the portal open a compose window and waits for its response. `files` are absolute paths, kept open
// until then. Throws Failure: MAPI_USER_ABORT when the user cancelled, MAPI_E_TOO_MANY_FILES
// when the bus passes no message with so many, MAPI_E_FAILURE when the portal could
// not, went away, or gave no response within `timeLimit`; busFailure; what portalMail throws; systemFailure
// for a file.
void composeByPortal(const SessionBus &bus, const Mail &mail, const std::vector<std::string> &files,
                     std::chrono::milliseconds timeLimit = portalTimeLimit);

}
