#pragma once

#include "mail.h"

#include <chrono>
#include <optional>
#include <string>

namespace mapi
{

// The system's sendmail command, by its absolute path; nothing when there is none. OSTRELLE_SENDMAIL names
// another one, and, when it is set but empty, says that none is to be used. Otherwise the first that can be
// executed of "/usr/sbin/sendmail", "/usr/lib/sendmail" and "sendmail" in the directories of PATH.
// Throws Failure(MAPI_E_FAILURE) when OSTRELLE_SENDMAIL is not the absolute path of an executable file:
// falling back to another way would hide the mistake.
[[nodiscard]] std::optional<std::string> findSendmail();

// How long a sendmail command may take: OSTRELLE_SENDMAIL_TIMEOUT in whole seconds from 1 to 86400,
// otherwise 600. Queueing takes no time, but a relaying command delivers while we wait.
[[nodiscard]] std::chrono::seconds sendmailTimeLimit();

// Runs "`program` -t -i" with the message on its standard input and waits for its end.
//
// The message is written whole into an unnamed file first, which becomes the standard input. So nothing is
// sent when an attachment cannot be read or the disk is full, a command that does not read cannot block
// us, and the command gets the whole mail even if this process is killed.
// Standard output is dropped; the start of standard error, up to an empty line, becomes part of the
// failure's text.
//
// Throws Failure: MAPI_E_UNKNOWN_RECIPIENT without recipients, MAPI_E_NETWORK_FAILURE when the time is over
// (the command and what it started are ended then), MAPI_E_FAILURE when it dies of a signal,
// what resultFromErrno says when it cannot be started, what resultFromSendmailExit says of its status.
void sendThroughSendmail(const Mail &mail, const std::string &program, std::chrono::seconds timeLimit);

}
