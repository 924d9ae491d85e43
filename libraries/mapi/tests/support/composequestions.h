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

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
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

inline bool hasLoneLineFeed(std::string_view text)
{
    for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
        if (at == 0 || text[at - 1] != '\r')
            return true;
    }
    return false;
}

// What is shown of arguments must not depend on the text of the mail, only on its length.
template <typename Builder> bool showsText(const mapi::Mail &mail, const Builder &builder)
{
    mapi::Mail other = mail;
    for (char &c : other.noteText)
        c = c == '\n' ? '\n' : 'x';
    const mapi::Arguments own = builder(mail);
    const mapi::Arguments changed = builder(other);
    return !std::equal(own.begin(), own.end(), changed.begin(), changed.end(),
                       [](const mapi::Argument &a, const mapi::Argument &b) { return a.shown == b.shown; });
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
    const std::string text = receiving::valueOf(fields, "body");
    if (lineEnd == "\n" ? text != mail.noteText
                        : receiving::withLineFeeds(text) != mail.noteText || hasLoneLineFeed(text))
        return "another text";
    return receiving::valuesOf(fields, "attach") == files ? "" : "other files";
}

inline std::string judgeLink(const mapi::Mail &mail, const std::vector<std::string> &files, bool names)
{
    const mapi::Argument link = mapi::mailtoLink(mail, {.names = names, .files = files});
    if (showsText(mail, [&](const mapi::Mail &one) {
            return mapi::Arguments{mapi::mailtoLink(one, {.names = names, .files = files})};
        }))
        return "the text is shown";
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
        if (argument.text.size() > client.longestArgument)
            return ""; // goes another way
    }
    if (showsText(mail, [&](const mapi::Mail &one) { return client.arguments(one, files); }))
        return "the text is shown";
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

inline std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A part: the note text when `attachment` is null.
inline std::string samePart(const Fields &head, std::string_view content, const mapi::Mail &mail,
                            const mapi::Attachment *attachment)
{
    const auto decoded
        = receiving::transferDecoded(content, receiving::valueOf(head, "content-transfer-encoding"));
    if (!decoded)
        return "a content that cannot be decoded";
    const std::string type = receiving::valueOf(head, "content-type");
    if (attachment == nullptr) {
        if (type.rfind("text/plain;", 0) != 0 || receiving::parameterOf(type, "charset") != "utf-8")
            return "no plain text in UTF-8";
        return receiving::withLineFeeds(*decoded) == mail.noteText ? "" : "another text";
    }
    const std::string disposition = receiving::valueOf(head, "content-disposition");
    if (disposition.rfind("attachment;", 0) != 0
        || receiving::parameterOf(disposition, "filename") != attachment->name()
        || receiving::parameterOf(type, "name") != attachment->name())
        return "another name of a file";
    return *decoded == contentOf(attachment->path()) ? "" : "another file";
}

inline std::string samePartsOfDraft(const Fields &header, std::string_view body, const mapi::Mail &mail)
{
    const auto boundary = receiving::parameterOf(receiving::valueOf(header, "content-type"), "boundary");
    if (!boundary)
        return "no parts";
    const std::string separator = "\r\n--" + *boundary;
    // The first one stands at the start of a line, with nothing or a blank text before it.
    const std::string all = "\r\n" + std::string(body);
    std::size_t at = all.find(separator);
    std::size_t parts = 0;
    while (at != std::string::npos && all.compare(at + separator.size(), 2, "--") != 0) {
        const std::size_t start = at + separator.size() + 2;
        const std::size_t next = all.find(separator, start);
        if (next == std::string::npos || all.compare(start - 2, 2, "\r\n") != 0
            || parts > mail.attachments.size())
            return "other parts";
        std::string_view content;
        const std::string part = all.substr(start, next - start) + "\r\n";
        const auto head = receiving::readHeader(part, &content);
        if (!head)
            return "no head of a part";
        std::string fault
            = onlyKeys(*head, {}, {"content-type", "content-disposition", "content-transfer-encoding"});
        // The line end before the separator is no part of the content.
        content.remove_suffix(std::min<std::size_t>(content.size(), 2));
        if (fault.empty())
            fault = samePart(*head, content, mail, parts == 0 ? nullptr : &mail.attachments[parts - 1]);
        if (!fault.empty())
            return fault;
        ++parts;
        at = next;
    }
    return parts == mail.attachments.size() + 1 ? "" : "other parts";
}

inline std::string judgeDraft(const mapi::Mail &mail)
{
    const std::string draft = draftOf(mail);
    if (hasLoneLineFeed(draft))
        return "a line end of another kind";
    std::string_view body;
    const auto header = receiving::readHeader(draft, &body);
    if (!header)
        return "no header";
    std::string fault = onlyKeys(*header, {},
                                 {"from", "to", "cc", "bcc", "subject", "disposition-notification-to",
                                  "x-mozilla-draft-info", "x-unsent", "mime-version", "content-type",
                                  "content-transfer-encoding", "content-disposition"});
    if (fault.empty() && receiving::wordsDecoded(receiving::valueOf(*header, "subject")) != mail.subject)
        fault = "another subject";
    const std::vector<mapi::Mailbox> from
        = mail.from ? std::vector<mapi::Mailbox>{*mail.from} : std::vector<mapi::Mailbox>{};
    const std::vector<mapi::Mailbox> notified = mail.receiptRequested ? from : std::vector<mapi::Mailbox>{};
    for (const auto &[key, list] : {std::pair("to", &mail.to),
                                    {"cc", &mail.cc},
                                    {"bcc", &mail.bcc},
                                    {"from", &from},
                                    {"disposition-notification-to", &notified}})
        fault = fault.empty() ? sameHeaderMailboxes(*header, key, *list) : fault;
    if (fault.empty() && receiving::valueOf(*header, "x-unsent") != "1")
        fault = "no draft";
    const std::string info = receiving::valueOf(*header, "x-mozilla-draft-info");
    if (fault.empty() && (info.find("receipt=1") != std::string::npos) != mail.receiptRequested)
        fault = "another wish for a receipt";
    if (!fault.empty())
        return fault;
    return mail.attachments.empty() ? samePart(*header, body, mail, nullptr)
                                    : samePartsOfDraft(*header, body, mail);
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

// What the portal itself would refuse, or take in part.
inline ULONG expectedOfPortal(const mapi::Mail &mail, unsigned version)
{
    const bool lists = version >= 3;
    if (!lists && (mail.to.size() > 1 || !mail.cc.empty() || !mail.bcc.empty()))
        return MAPI_E_TOO_MANY_RECIPIENTS;
    if (mail.attachments.size() > 250)
        return MAPI_E_TOO_MANY_FILES;
    if (!receiving::portalTakesSubject(mail.subject))
        return MAPI_E_TEXT_TOO_LARGE;
    for (const auto *list : {&mail.to, &mail.cc, &mail.bcc}) {
        for (const mapi::Mailbox &mailbox : *list) {
            if (!receiving::portalTakesAddress(mailbox.address))
                return MAPI_E_INVALID_RECIPS;
        }
    }
    return SUCCESS_SUCCESS;
}

inline std::string judgePortal(const mapi::Mail &mail, unsigned version)
{
    mapi::PortalMail arguments;
    ULONG code = SUCCESS_SUCCESS;
    try {
        arguments = mapi::portalMail(mail, version);
    } catch (const mapi::Failure &failure) {
        code = failure.code();
    }
    if (code != expectedOfPortal(mail, version))
        return "result code " + std::to_string(code);
    if (code != SUCCESS_SUCCESS)
        return {};
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
    const char *to = version < 3 ? "address" : "addresses";
    for (const auto &[name, list] : {std::pair(to, &mail.to), {"cc", &mail.cc}, {"bcc", &mail.bcc}}) {
        std::vector<std::string> expected;
        for (const mapi::Mailbox &mailbox : *list)
            expected.push_back(mailbox.address);
        const std::vector<std::string> given = receiving::valuesOf(fields, name);
        if (given != expected)
            return std::string("other recipients in ") + name;
    }
    if (receiving::valueOf(fields, "subject") != mail.subject)
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
