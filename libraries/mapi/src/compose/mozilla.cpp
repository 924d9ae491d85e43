#include "compose/mozilla.h"

#include "headertext.h"
#include "text.h"

#include <algorithm>

namespace mapi
{

namespace
{

std::string mailboxList(const std::vector<Mailbox> &mailboxes)
{
    std::string out;
    for (const Mailbox &mailbox : mailboxes)
        out.append(out.empty() ? "" : ",").append(mailboxText(mailbox));
    return percentEncoded(out);
}

bool startsWithFileScheme(std::string_view text)
{
    constexpr std::string_view scheme = "file:";
    return text.size() >= scheme.size()
        && std::equal(scheme.begin(), scheme.end(), text.begin(),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); });
}

// "file:///a", "/a", "C:\\a": one word that may name a file. A whole sentence does not.
bool looksLikeFile(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return false;
    text = text.substr(first, text.find_last_not_of(blanks) - first + 1);
    return startsWithFileScheme(text)
        || (text.find_first_of(blanks) == std::string_view::npos
            && text.find_first_of(":/\\") != std::string_view::npos);
}

}

Arguments mozillaArguments(const Mail &mail, const std::vector<std::string> &)
{
    Argument pairs("");
    const auto add = [&pairs](const char *key, const std::string &encoded, const std::string &shown) {
        if (encoded.empty())
            return;
        const std::string start = std::string(pairs.text.empty() ? "" : ",").append(key).append("=");
        pairs.text += start + encoded;
        pairs.shown += start + shown;
    };
    const auto addShown = [&add](const char *key, const std::string &encoded) {
        add(key, encoded, encoded);
    };
    addShown("to", mailboxList(mail.to));
    addShown("cc", mailboxList(mail.cc));
    addShown("bcc", mailboxList(mail.bcc));
    addShown("subject", percentEncoded(mail.subject));
    add("body", percentEncoded(mail.noteText), hiddenText(mail.noteText));
    // Otherwise a user who writes HTML would see markup in a plain text vanish.
    addShown("format", "text");
    return {"-compose", pairs};
}

bool mozillaNeedsDraft(const Mail &mail)
{
    return !mail.attachments.empty() || mail.receiptRequested || mail.from || looksLikeFile(mail.noteText);
}

}
