#include "compose/clients.h"

#include "compose/mailto.h"
#include "compose/mozilla.h"
#include "headertext.h"
#include "text.h"

#include <algorithm>

namespace mapi
{

namespace
{

std::string joined(const std::vector<Mailbox> &mailboxes)
{
    std::string out;
    for (const Mailbox &mailbox : mailboxes)
        out.append(out.empty() ? "" : ", ").append(mailboxText(mailbox));
    return out;
}

// Evolution and Geary read files from the link.
Arguments linkWithFiles(const Mail &mail, const std::vector<std::string> &files)
{
    return {mailtoLink(mail, {.names = true, .files = files})};
}

// Claws Mail and Sylpheed: the list of files ends at the first that begins with "-", which an absolute path
// does not.
Arguments composeOption(const Mail &mail, const std::vector<std::string> &files)
{
    Arguments arguments{"--compose", mailtoLink(mail, {.names = true})};
    if (!files.empty())
        arguments.emplace_back("--attach");
    for (const std::string &file : files)
        arguments.emplace_back(file);
    return arguments;
}

Arguments balsaArguments(const Mail &mail, const std::vector<std::string> &files)
{
    Argument link = mailtoLink(mail, {.names = true});
    Arguments arguments{Argument("--compose=" + link.text, "--compose=" + link.shown)};
    for (const std::string &file : files)
        arguments.emplace_back("--attach=" + fileUri(file));
    return arguments;
}

// Always "--option=value": values of their own are examined before the options are, and "--attach" there
// would take what follows for files. KMail decodes a link twice, so the fields go as options.
Arguments kmailArguments(const Mail &mail, const std::vector<std::string> &files)
{
    Arguments arguments{"--composer"};
    if (mail.subject == "ession") // the rest of "-session" to KMail, which then ignores what follows
        arguments.emplace_back("mailto:?subject=ession");
    else if (!mail.subject.empty())
        arguments.emplace_back("--subject=" + mail.subject);
    if (!mail.cc.empty())
        arguments.emplace_back("--cc=" + joined(mail.cc));
    if (!mail.bcc.empty())
        arguments.emplace_back("--bcc=" + joined(mail.bcc));
    if (!mail.noteText.empty())
        arguments.emplace_back("--body=" + mail.noteText, "--body=" + hiddenText(mail.noteText));
    for (const std::string &file : files)
        arguments.emplace_back("--attach=" + fileUri(file));
    for (const Mailbox &mailbox : mail.to)
        arguments.emplace_back(mailboxText(mailbox));
    return arguments;
}

// Claws Mail and Sylpheed, when they run already, are told by a line that they read into a buffer of 8192
// bytes; the rest of a longer one would be lost without a word.
constexpr std::size_t longestRemoteLine = 8000;

constexpr std::array clientTable{
    MailClient{.name = "thunderbird",
               .programs = {"thunderbird", "thunderbird-esr", "thunderbird-bin", "mozilla-thunderbird"},
               .entries
               = {"thunderbird", "mozilla-thunderbird", "thunderbird-esr", "net.thunderbird.Thunderbird",
                  "org.mozilla.Thunderbird", "org.mozilla.thunderbird", "org.mozilla.thunderbird_esr",
                  "thunderbird_thunderbird"},
               .keptOptions = {"-P", "--P", "-profile", "--profile"},
               .arguments = mozillaArguments,
               .longestArgument = longestKernelArgument,
               .attachments = false,
               .drafts = true,
               .needsDraft = mozillaNeedsDraft},
    MailClient{.name = "betterbird",
               .programs = {"betterbird", "betterbird-bin"},
               .entries = {"betterbird", "eu.betterbird.Betterbird", "betterbird_betterbird"},
               .keptOptions = {"-P", "--P", "-profile", "--profile"},
               .arguments = mozillaArguments,
               .longestArgument = longestKernelArgument,
               .attachments = false,
               .drafts = true,
               .needsDraft = mozillaNeedsDraft},
    MailClient{.name = "evolution",
               .programs = {"evolution"},
               .entries = {"org.gnome.Evolution", "evolution"},
               .keptOptions = {},
               .arguments = linkWithFiles,
               .longestArgument = longestKernelArgument,
               .attachments = true,
               .drafts = false,
               .needsDraft = nullptr},
    MailClient{.name = "kmail",
               .programs = {"kmail"},
               .entries = {"org.kde.kmail2", "org.kde.kmail", "kmail", "KMail2"},
               .keptOptions = {},
               .arguments = kmailArguments,
               .longestArgument = longestKernelArgument,
               .attachments = true,
               .drafts = false,
               .needsDraft = nullptr},
    MailClient{.name = "geary",
               .programs = {"geary"},
               .entries = {"org.gnome.Geary", "geary"},
               .keptOptions = {},
               .arguments = linkWithFiles,
               .longestArgument = longestKernelArgument,
               .attachments = true,
               .drafts = false,
               .needsDraft = nullptr},
    MailClient{.name = "claws-mail",
               .programs = {"claws-mail"},
               .entries = {"claws-mail", "org.claws_mail.Claws-Mail"},
               .keptOptions = {},
               .arguments = composeOption,
               .longestArgument = longestRemoteLine,
               .attachments = true,
               .drafts = false,
               .needsDraft = nullptr},
    MailClient{.name = "sylpheed",
               .programs = {"sylpheed"},
               .entries = {"sylpheed"},
               .keptOptions = {},
               .arguments = composeOption,
               .longestArgument = longestRemoteLine,
               .attachments = true,
               .drafts = false,
               .needsDraft = nullptr},
    MailClient{.name = "balsa",
               .programs = {"balsa"},
               .entries = {"balsa", "balsa-mailto-handler", "org.desktop.Balsa"},
               .keptOptions = {},
               .arguments = balsaArguments,
               .longestArgument = longestKernelArgument,
               .attachments = true,
               .drafts = false,
               .needsDraft = nullptr},
};

template <typename Texts> bool contains(const Texts &texts, std::string_view text)
{
    return !text.empty() && std::find(texts.begin(), texts.end(), text) != texts.end();
}

template <typename Matches> const MailClient *firstClient(const Matches &matches)
{
    const auto *row = std::find_if(clientTable.begin(), clientTable.end(), matches);
    return row != clientTable.end() ? row : nullptr;
}

}

bool MailClient::hasProgram(std::string_view program) const
{
    return contains(programs, program);
}

bool MailClient::hasEntry(std::string_view entry) const
{
    return contains(entries, entry);
}

const MailClient *clientByName(std::string_view name)
{
    return firstClient([name](const MailClient &row) { return row.name == name; });
}

const MailClient *clientByProgram(std::string_view program)
{
    return firstClient([program](const MailClient &row) { return row.hasProgram(program); });
}

const MailClient *clientByEntry(std::string_view entry)
{
    return firstClient([entry](const MailClient &row) { return row.hasEntry(entry); });
}

}
