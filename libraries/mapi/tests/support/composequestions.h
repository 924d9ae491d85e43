#pragma once

#include "receivingrules.h"

#include "compose/clients.h"
#include "compose/mailto.h"
#include "compose/mozilla.h"
#include "compose/portal.h"
#include "failure.h"
#include "mail.h"
#include "mimewriter.h"
#include "text.h"

#include <array>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <sys/mman.h>

// Reads what the builders made of a mail by the rules of the receivers and compares it with the mail. Each
// function gives an empty text when nothing is wrong, otherwise what is.
namespace questions
{

using receiving::Fields;
using receiving::TypedMailbox;

inline std::vector<TypedMailbox> typed(const std::vector<mapi::Mailbox> &mailboxes, bool names)
{
    std::vector<TypedMailbox> out;
    for (const mapi::Mailbox &mailbox : mailboxes)
        out.push_back({names ? mailbox.name : std::string(), mailbox.address});
    return out;
}

inline std::string onlyKeys(const Fields &fields, const std::set<std::string> &several,
                            const std::set<std::string> &once)
{
    for (const auto &[key, value] : fields) {
        if (several.count(key) == 0 && once.count(key) == 0)
            return "an additional key: " + key;
        if (once.count(key) != 0 && fields.count(key) != 1)
            return "a key more than once: " + key;
    }
    return {};
}

// The values of `key`, each an address field, together.
inline std::string sameMailboxes(const Fields &fields, const std::string &key,
                                 const std::vector<mapi::Mailbox> &expected, bool names)
{
    std::vector<TypedMailbox> read;
    for (const std::string &value : receiving::valuesOf(fields, key)) {
        const auto mailboxes = receiving::readAddressField(value);
        if (!mailboxes)
            return "an address field that cannot be read: " + value;
        read.insert(read.end(), mailboxes->begin(), mailboxes->end());
    }
    return read == typed(expected, names) ? "" : "other recipients in " + key;
}

inline std::string sameFields(const Fields &fields, const mapi::Mail &mail, bool names,
                              const std::vector<std::string> &files, std::string_view lineEnd)
{
    std::string fault = onlyKeys(fields, {"to", "cc", "bcc", "attach"}, {"subject", "body", "format"});
    for (const auto &[key, list] : {std::pair("to", &mail.to), {"cc", &mail.cc}, {"bcc", &mail.bcc}})
        fault = fault.empty() ? sameMailboxes(fields, key, *list, names) : fault;
    if (!fault.empty())
        return fault;
    if (receiving::valueOf(fields, "subject") != mail.subject)
        return "another subject";
    if (receiving::valueOf(fields, "body") != mapi::withLineEnds(mail.noteText, lineEnd))
        return "another text";
    return receiving::valuesOf(fields, "attach") == files ? "" : "other files";
}

inline std::string judgeLink(const mapi::Mail &mail, const std::vector<std::string> &files, bool names)
{
    const mapi::Argument link = mapi::mailtoLink(mail, {.names = names, .files = files});
    const auto fields = receiving::readMailto(link.text);
    return fields ? sameFields(*fields, mail, names, files, "\r\n") : "no link: " + link.text;
}

// The arguments of a row of the table, read as that client reads them.
inline std::string judgeClient(const mapi::MailClient &client, const mapi::Mail &mail,
                               const std::vector<std::string> &allFiles)
{
    const std::vector<std::string> files = client.attachments ? allFiles : std::vector<std::string>();
    std::vector<std::string> arguments;
    for (const mapi::Argument &argument : client.arguments(mail, files)) {
        arguments.push_back(argument.text);
        if (argument.text.find('\0') != std::string::npos)
            return "a NUL";
        if (mail.noteText.size() > 20 && argument.shown.find(mail.noteText) != std::string::npos)
            return "the text is shown";
    }
    const std::string_view name = client.name;
    if (name == "thunderbird" || name == "betterbird") {
        if (arguments.size() != 2 || arguments[0] != "-compose")
            return "other arguments than -compose and one more";
        Fields fields = receiving::readMozilla(arguments[1]);
        if (receiving::valueOf(fields, "format") != "text")
            return "another format";
        return sameFields(fields, mail, true, {}, "\n");
    }
    std::optional<Fields> fields;
    std::string_view lineEnd = "\r\n";
    if (name == "kmail") {
        fields = receiving::readKMail(arguments);
        lineEnd = "\n";
        if (fields) {
            // A file is given by its URI.
            Fields decoded;
            for (const auto &[key, value] : *fields)
                decoded.emplace(key, key == "attach" ? receiving::pathOfUri(value).value_or(value) : value);
            fields = decoded;
        }
    } else if (name == "claws-mail" || name == "sylpheed") {
        fields = receiving::readComposeOption(arguments);
    } else if (name == "balsa") {
        fields = receiving::readBalsa(arguments);
    } else if (name == "evolution" || name == "geary") {
        fields = arguments.size() == 1 ? receiving::readMailto(arguments[0]) : std::nullopt;
    } else {
        return "no rule for " + std::string(name);
    }
    return fields ? sameFields(*fields, mail, true, files, lineEnd) : "the client refuses the arguments";
}

inline std::string draftOf(const mapi::Mail &mail)
{
    const mapi::FileDescriptor file(memfd_create("draft", MFD_CLOEXEC));
    mapi::FileSink sink(file.get());
    mapi::writeMime(mail, {.draft = true, .lineEnd = mapi::LineEnd::Dos}, sink);
    std::string bytes(static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END)), '\0');
    if (pread(file.get(), bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        return {};
    return bytes;
}

inline std::string sameHeaderMailboxes(const Fields &fields, const std::string &key,
                                       const std::vector<mapi::Mailbox> &expected)
{
    auto read = receiving::readAddressField(receiving::valueOf(fields, key));
    if (!read)
        return "a field that cannot be read: " + key;
    for (TypedMailbox &mailbox : *read)
        mailbox.name = receiving::wordsDecoded(mailbox.name);
    return *read == typed(expected, true) ? "" : "other recipients in " + key;
}

inline std::string judgeDraft(const mapi::Mail &mail)
{
    const std::string draft = draftOf(mail);
    const auto header = receiving::readHeader(draft);
    if (!header)
        return "no header";
    std::string fault = onlyKeys(*header, {},
                                 {"from", "to", "cc", "bcc", "subject", "disposition-notification-to",
                                  "x-mozilla-draft-info", "x-unsent", "mime-version", "content-type",
                                  "content-transfer-encoding", "content-disposition"});
    if (fault.empty() && receiving::wordsDecoded(receiving::valueOf(*header, "subject")) != mail.subject)
        fault = "another subject";
    for (const auto &[key, list] : {std::pair("to", &mail.to), {"cc", &mail.cc}, {"bcc", &mail.bcc}})
        fault = fault.empty() ? sameHeaderMailboxes(*header, key, *list) : fault;
    if (fault.empty() && receiving::valueOf(*header, "x-unsent") != "1")
        fault = "no draft";
    if (!fault.empty() || mail.attachments.empty())
        return fault;

    // The heads of the parts.
    const std::string type = receiving::valueOf(*header, "content-type");
    constexpr std::string_view parameter = "boundary=\"";
    const std::size_t start = type.find(parameter);
    if (start == std::string::npos)
        return "no parts";
    const std::string boundary = "\r\n--"
        + type.substr(start + parameter.size(), type.rfind('"') - start - parameter.size()) + "\r\n";
    std::size_t parts = 0;
    for (std::size_t at = draft.find(boundary); at != std::string::npos; at = draft.find(boundary, at + 2)) {
        ++parts;
        const auto part = receiving::readHeader(std::string_view(draft).substr(at + boundary.size()));
        if (!part)
            return "no head of a part";
        fault = onlyKeys(*part, {}, {"content-type", "content-disposition", "content-transfer-encoding"});
        if (!fault.empty())
            return fault;
    }
    return parts == mail.attachments.size() + 1 ? "" : "other parts";
}

inline std::vector<std::string> textsOf(GVariant *list)
{
    std::vector<std::string> texts;
    for (gsize i = 0; i < g_variant_n_children(list); ++i) {
        const mapi::GVariantPtr child(g_variant_get_child_value(list, i));
        texts.emplace_back(g_variant_get_string(child.get(), nullptr));
    }
    return texts;
}

inline std::string judgePortal(const mapi::Mail &mail, unsigned version)
{
    mapi::PortalMail arguments;
    try {
        arguments = mapi::portalMail(mail, version);
    } catch (const mapi::Failure &failure) {
        const bool expected = failure.code() == MAPI_E_INVALID_RECIPS
            || failure.code() == MAPI_E_TEXT_TOO_LARGE
            || (failure.code() == MAPI_E_TOO_MANY_RECIPIENTS && version < mapi::portalWithLists);
        return expected ? "" : "another result code";
    }
    const mapi::GVariantPtr options(g_variant_ref_sink(mapi::portalOptions(arguments, version, "token", 2)));
    Fields fields;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, options.get());
    const char *key = nullptr;
    GVariant *value = nullptr;
    while (g_variant_iter_next(&iterator, "{&sv}", &key, &value) != FALSE) {
        const mapi::GVariantPtr owner(value);
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING_ARRAY) != FALSE) {
            for (const std::string &text : textsOf(value))
                fields.emplace(key, text);
        } else if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) != FALSE) {
            fields.emplace(key, g_variant_get_string(value, nullptr));
        } else {
            fields.emplace(key, "");
        }
    }
    const std::string fault
        = onlyKeys(fields, {"addresses", "cc", "bcc"},
                   {"handle_token", "address", "subject", "body", "activation_token", "attachment_fds"});
    if (!fault.empty())
        return fault;
    const char *to = version < mapi::portalWithLists ? "address" : "addresses";
    for (const auto &[name, list] : {std::pair(to, &mail.to), {"cc", &mail.cc}, {"bcc", &mail.bcc}}) {
        std::vector<std::string> expected;
        for (const mapi::Mailbox &mailbox : *list)
            expected.push_back(mailbox.address);
        const std::vector<std::string> given = receiving::valuesOf(fields, name);
        if (given != expected)
            return std::string("other recipients in ") + name;
        for (const std::string &address : given) {
            if (address.find_first_of(" <>,\"") != std::string::npos || !mapi::isAscii(address))
                return "an address that the portal refuses";
        }
    }
    if (receiving::valueOf(fields, "subject") != mail.subject
        || receiving::valueOf(fields, "subject").find('\n') != std::string::npos)
        return "another subject";
    return receiving::valueOf(fields, "body") == mail.noteText ? "" : "another text";
}

inline constexpr std::array clientNames{"thunderbird", "betterbird", "evolution", "kmail",
                                        "geary",       "claws-mail", "sylpheed",  "balsa"};

// Asks all of them.
inline std::string judgeAll(const mapi::Mail &mail, const std::vector<std::string> &files)
{
    const auto named = [](const std::string &who, const std::string &fault) {
        return fault.empty() ? fault : who + ": " + fault;
    };
    std::string fault;
    for (const char *name : clientNames)
        fault += named(name, judgeClient(*mapi::clientByName(name), mail, files));
    fault += named("link", judgeLink(mail, {}, false));
    fault += named("draft", judgeDraft(mail));
    for (const unsigned version : {1U, 2U, 3U, 4U})
        fault += named("portal", judgePortal(mail, version));
    return fault;
}

// A small file to attach, the same for all.
inline std::string smallFile()
{
    static const std::string path = [] {
        static const mapi::FileDescriptor file(memfd_create("attached", MFD_CLOEXEC));
        if (write(file.get(), "x", 1) != 1)
            std::abort();
        return "/proc/self/fd/" + std::to_string(file.get());
    }();
    return path;
}

// A message out of any bytes: pieces between NULs. The first is the subject, the second the text; then "t",
// "c", "b" begin a recipient, "n" one with a name of its own, whose address is the next piece, "o" an
// originator, "f" a file's name, "p" a file's path, and "r" asks for a receipt. False when something is
// wrong.
inline bool askBuilders(std::string_view data)
{
    std::vector<std::string> pieces;
    while (!data.empty()) {
        const std::size_t end = std::min(data.find('\0'), data.size());
        pieces.push_back(mapi::utf8FromBytes(std::string(data.substr(0, end)).c_str()));
        data.remove_prefix(std::min(end + 1, data.size()));
    }
    mapi::Message message;
    std::vector<std::string> paths;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i < 2) {
            (i == 0 ? message.subject : message.noteText) = pieces[i];
            continue;
        }
        const std::string rest = pieces[i].empty() ? "" : pieces[i].substr(1);
        switch (pieces[i].empty() ? '\0' : pieces[i].front()) {
        case 't':
            message.recipients.push_back({MAPI_TO, rest, rest});
            break;
        case 'c':
            message.recipients.push_back({MAPI_CC, rest, rest});
            break;
        case 'b':
            message.recipients.push_back({MAPI_BCC, rest, rest});
            break;
        case 'n':
            if (++i < pieces.size())
                message.recipients.push_back({MAPI_TO, rest, pieces[i]});
            break;
        case 'o':
            message.originator = mapi::Message::Recipient{MAPI_ORIG, rest, rest};
            break;
        case 'f':
            names.push_back(rest);
            break;
        case 'p':
            // A staged file's path has no line break: its name was checked, and its directory too.
            if (!mapi::hasLineBreak(rest) && !rest.empty())
                paths.push_back("/" + rest);
            break;
        case 'r':
            message.receiptRequested = true;
            break;
        default:
            break;
        }
    }
    mapi::Mail mail;
    try {
        mail = mapi::prepareMail(message);
        for (const std::string &name : names)
            mail.attachments.emplace_back(smallFile(), name);
    } catch (const mapi::Failure &failure) {
        return failure.code() == MAPI_E_INVALID_RECIPS || failure.code() == MAPI_E_INVALID_MESSAGE;
    }
    return judgeAll(mail, paths).empty();
}

}
