#include "sendmail.h"

#include "childprocess.h"
#include "environment.h"
#include "mimewriter.h"
#include "resultcodes.h"
#include "signals.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>

namespace mapi
{

namespace
{

constexpr std::chrono::seconds defaultTimeLimit = std::chrono::minutes(10);
constexpr long longestTimeLimit = 24L * 60 * 60;

// Up to its first empty line: behind that, some commands give the mail back.
std::string complaint(const std::string &standardError)
{
    for (std::size_t start = 0; start < standardError.size();) {
        const std::size_t end = std::min(standardError.find('\n', start), standardError.size());
        const std::string_view line = std::string_view(standardError).substr(start, end - start);
        if (line.find_first_not_of(" \t\r") == std::string_view::npos)
            return standardError.substr(0, start);
        start = end + 1;
    }
    return standardError;
}

FileDescriptor unnamedFile()
{
    const std::string directory = temporaryDirectory();
    FileDescriptor file(::open(directory.c_str(), O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, 0600));
    if (file.isOpen())
        return file;
    // Not every file system makes files without a name.
    std::string path = directory + "/ostrelle-mail-XXXXXX";
    file = FileDescriptor(::mkostemp(path.data(), O_CLOEXEC));
    if (!file.isOpen())
        throw systemFailure("create", path, errno);
    ::unlink(path.c_str());
    return file;
}

}

std::optional<std::string> findSendmail()
{
    if (auto configured = environmentVariable("OSTRELLE_SENDMAIL")) {
        if (configured->empty())
            return {};
        if (configured->front() != '/' || !isExecutableFile(*configured))
            throw Failure(MAPI_E_FAILURE,
                          "OSTRELLE_SENDMAIL is not the absolute path of a command: " + *configured);
        return configured;
    }
    std::vector<std::string> candidates{"/usr/sbin/sendmail", "/usr/lib/sendmail"};
    for (const std::string &directory : commandDirectories())
        candidates.push_back(directory + "/sendmail");
    for (const std::string &candidate : candidates) {
        if (isExecutableFile(candidate))
            return candidate;
    }
    return {};
}

std::chrono::seconds sendmailTimeLimit()
{
    const std::string text = environmentVariable("OSTRELLE_SENDMAIL_TIMEOUT").value_or(std::string());
    long seconds = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, seconds);
    const bool valid
        = parsed.ec == std::errc() && parsed.ptr == end && seconds >= 1 && seconds <= longestTimeLimit;
    return valid ? std::chrono::seconds(seconds) : defaultTimeLimit;
}

void sendThroughSendmail(const Mail &mail, const std::string &program, std::chrono::seconds timeLimit)
{
    if (!mail.hasRecipients())
        throw Failure(MAPI_E_UNKNOWN_RECIPIENT, "a mail without recipients cannot be sent");

    const FileDescriptor message = unnamedFile();
    FileSink sink(message.get());
    writeMime(mail, {.draft = false, .lineEnd = LineEnd::Unix}, sink);
    if (::lseek(message.get(), 0, SEEK_SET) != 0)
        throw systemFailure("lseek", "the message", errno);

    // "-t": the recipients are those of the header. "-i": a line with a single dot is text.
    const ChildResult result = runChild({program, "-t", "-i"}, message.get(), timeLimit);
    const std::string words = complaint(result.standardError);
    switch (result.end) {
    case ChildResult::End::Exited:
        if (const ULONG code = resultFromSendmailExit(result.status); code != SUCCESS_SUCCESS)
            throw Failure(code, program + " ended with " + std::to_string(result.status) + ": " + words);
        return;
    case ChildResult::End::TimedOut:
        throw Failure(MAPI_E_NETWORK_FAILURE, program + " did not end in time: " + words);
    case ChildResult::End::Signalled:
        throw Failure(MAPI_E_FAILURE,
                      program + " died of signal " + std::to_string(result.status) + ": " + words);
    case ChildResult::End::Unknown:
        break;
    }
    throw Failure(MAPI_E_FAILURE, program + ": its end cannot be known");
}

}
