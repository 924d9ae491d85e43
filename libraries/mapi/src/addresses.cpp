#include "addresses.h"

#include "failure.h"
#include "gmime.h"
#include "text.h"

#include <algorithm>
#include <optional>

namespace mapi
{

namespace
{

// A header line holds at most 998 octets (RFC 5322, 2.1.1), and an address cannot be folded.
constexpr std::size_t longestAddress = 980;

[[noreturn]] void refuse(std::string_view text)
{
    constexpr std::size_t shown = 200;
    throw Failure(MAPI_E_INVALID_RECIPS, "not an address: " + std::string(text.substr(0, shown)));
}

std::string lowerCase(std::string_view text)
{
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), &g_ascii_tolower);
    return out;
}

std::string_view withoutTransport(std::string_view text)
{
    constexpr std::string_view prefix = "SMTP:";
    text = trimmed(text);
    const bool present = text.size() >= prefix.size()
        && std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char a, char b) { return a == (b >= 'a' && b <= 'z' ? b - 'a' + 'A' : b); });
    return present ? trimmed(text.substr(prefix.size())) : text;
}

// A user of this machine, as `sendmail` delivers to without a domain. Narrow on purpose: old mail systems
// take "|command" and "/file" for programs and files.
bool isLocalUser(std::string_view address)
{
    return std::all_of(address.begin(), address.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.'
            || c == '_' || c == '-' || c == '+';
    });
}

// Where the "@" before the domain stands; one in quotes belongs to the name of a user.
std::size_t domainSign(std::string_view address)
{
    bool quoted = false;
    for (std::size_t i = 0; i < address.size(); ++i) {
        if (address[i] == '\\' && quoted)
            ++i;
        else if (address[i] == '"')
            quoted = !quoted;
        else if (address[i] == '@' && !quoted)
            return i;
    }
    return std::string_view::npos;
}

bool isSendable(std::string_view address)
{
    if (address.empty() || address.front() == '-' || address.size() > longestAddress)
        return false;
    const auto isBad = [](char c) {
        return (static_cast<unsigned char>(c) < 0x20) || c == 0x7F;
    };
    if (std::any_of(address.begin(), address.end(), isBad))
        return false;
    const std::size_t at = domainSign(address);
    return at == std::string_view::npos ? isLocalUser(address) : isAscii(address.substr(at));
}

// The bytes of the smallest unit of a charset: in the wide ones each ASCII character has a zero byte.
std::size_t unitSize(std::string_view charset)
{
    const std::string name = lowerCase(charset.substr(0, charset.find('*')));
    if (name.substr(0, 6) == "utf-16")
        return 2;
    return name.substr(0, 6) == "utf-32" ? 4 : 1;
}

bool hasZeroUnit(std::string_view bytes, std::size_t unit)
{
    const std::string zero(unit, '\0');
    for (std::size_t i = 0; i + unit <= bytes.size(); i += unit) {
        if (bytes.substr(i, unit) == zero)
            return true;
    }
    return false;
}

// Whether an encoded word (RFC 2047) stands for a zero character, at which the parser would stop.
bool hidesZeroByte(std::string_view text)
{
    while (true) {
        const std::size_t start = text.find("=?");
        if (start == std::string_view::npos)
            return false;
        text.remove_prefix(start + 2);
        const std::size_t encoding = text.find('?');
        if (encoding == std::string_view::npos || encoding + 2 >= text.size() || text[encoding + 2] != '?')
            continue;
        std::string_view data = text.substr(encoding + 3);
        data = data.substr(0, data.find("?="));
        const char kind = text[encoding + 1];
        if ((kind == 'Q' || kind == 'q') && data.find("=00") != std::string_view::npos)
            return true;
        if (kind == 'B' || kind == 'b') {
            gsize size = 0;
            const std::unique_ptr<guchar, decltype(&g_free)> decoded(
                g_base64_decode(std::string(data).c_str(), &size), &g_free);
            if (hasZeroUnit({reinterpret_cast<const char *>(decoded.get()), size},
                            unitSize(text.substr(0, encoding))))
                return true;
        }
    }
}

// Whether brackets, quotes and comments do not fit: something open at the end, a ">" without a "<", a "<"
// behind an address, several addresses in a pair. None of it is an address, and GMime loses memory over it.
bool hasStrayBracket(std::string_view text)
{
    bool quoted = false;
    bool bracket = false;
    bool address = false;
    int comments = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\' && (quoted || comments > 0)) {
            ++i;
        } else if (comments > 0) {
            comments += c == '(' ? 1 : c == ')' ? -1 : 0;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted) {
            switch (c) {
            case '(':
                ++comments;
                break;
            case '[':
                i = std::min(text.find(']', i), text.size());
                break;
            case '@':
                address = address || !bracket;
                break;
            case '<':
                if (bracket || address)
                    return true;
                bracket = true;
                break;
            case '>':
                if (!bracket)
                    return true;
                bracket = false;
                break;
            case ',':
            case ';':
                if (bracket)
                    return true;
                address = false;
                break;
            default:
                break;
            }
        }
    }
    return quoted || bracket || comments > 0;
}

// The bytes of a text that carry meaning, in an order of their own, so that two texts with differently
// arranged names, comments, quotes and brackets can be compared.
std::string significantBytes(std::string_view text)
{
    std::string bytes;
    for (const char c : text) {
        if (std::string_view(" \t\"\\<>,()").find(c) == std::string_view::npos)
            bytes.push_back(c);
    }
    std::sort(bytes.begin(), bytes.end());
    return bytes;
}

// "Müller, Max <max@example.org>": a plain name before one bracketed address. To the grammar a comma in it
// ends an address, but to whoever types it, it does not.
struct NameAndAddress {
    std::string_view name;
    std::string_view address;
};

std::optional<NameAndAddress> splitBracketed(std::string_view text)
{
    const std::size_t open = text.find('<');
    if (text.empty() || text.back() != '>' || open == std::string_view::npos
        || text.find('<', open + 1) != std::string_view::npos || text.find('>') != text.size() - 1)
        return {};
    const std::string_view name = trimmed(text.substr(0, open));
    const std::string_view address = trimmed(text.substr(open + 1, text.size() - open - 2));
    if (name.find_first_of("\"()\\") != std::string_view::npos || name.find("=?") != std::string_view::npos)
        return {};
    if (name.find('@') != std::string_view::npos && name != address)
        return {};
    return NameAndAddress{name == address ? std::string_view() : name, address};
}

// Through the grammar of RFC 5322, strictly.
std::vector<Mailbox> parseByGrammar(std::string_view text)
{
    if (hasStrayBracket(text))
        refuse(text);
    initialiseGMime();
    const std::unique_ptr<GMimeParserOptions, decltype(&g_mime_parser_options_free)> options(
        g_mime_parser_options_new(), &g_mime_parser_options_free);
    g_mime_parser_options_set_address_compliance_mode(options.get(), GMIME_RFC_COMPLIANCE_STRICT);
    g_mime_parser_options_set_allow_addresses_without_domain(options.get(), TRUE);

    const std::string terminated(text);
    const GObjectPtr<InternetAddressList> list(
        internet_address_list_parse(options.get(), terminated.c_str()));
    const int count = list != nullptr ? internet_address_list_length(list.get()) : 0;
    // Two addresses with nothing but a blank between them are more likely one with a fault.
    if (count == 0 || count > 1 + std::count(text.begin(), text.end(), ','))
        refuse(text);

    std::vector<Mailbox> mailboxes;
    std::string understood;
    for (int i = 0; i < count; ++i) {
        InternetAddress *entry = internet_address_list_get_address(list.get(), i);
        if (!INTERNET_ADDRESS_IS_MAILBOX(entry))
            refuse(text);
        InternetAddressMailbox *mailbox = INTERNET_ADDRESS_MAILBOX(entry);
        const char *name = internet_address_get_name(entry);
        const char *written = internet_address_mailbox_get_addr(mailbox);
        const char *ascii = internet_address_mailbox_get_idn_addr(mailbox);
        Mailbox result{utf8FromBytes(name), utf8FromBytes(ascii != nullptr ? ascii : written)};
        // An encoded name may hide what could not be written openly.
        if (hasLineBreak(result.name))
            refuse(text);
        if (!isSendable(result.address)
            || (count > 1 && domainSign(result.address) == std::string_view::npos))
            refuse(text);
        understood += result.name;
        understood
            += text.find(result.address) != std::string_view::npos ? result.address : utf8FromBytes(written);
        mailboxes.push_back(std::move(result));
    }

    // An encoded name in the input was decoded by the parser, so compare decoded with decoded.
    std::string given = terminated;
    if (text.find("=?") != std::string_view::npos) {
        const std::unique_ptr<char, decltype(&g_free)> decoded(
            g_mime_utils_header_decode_text(options.get(), terminated.c_str()), &g_free);
        given = utf8FromBytes(decoded.get());
    }
    if (significantBytes(given) != significantBytes(understood))
        refuse(text);
    return mailboxes;
}

}

std::vector<Mailbox> parseAddresses(std::string_view text)
{
    const std::string_view wanted = withoutTransport(text);
    if (wanted.empty() || hasLineBreak(wanted) || hidesZeroByte(wanted))
        refuse(text);
    if (const auto split = splitBracketed(wanted)) {
        std::vector<Mailbox> mailboxes = parseByGrammar(split->address);
        if (mailboxes.size() != 1 || !mailboxes.front().name.empty())
            refuse(text);
        mailboxes.front().name = split->name;
        return mailboxes;
    }
    return parseByGrammar(wanted);
}

std::vector<Mailbox> mailboxesOf(const Message::Recipient &recipient)
{
    const std::string_view name = withoutTransport(recipient.name);
    const std::string_view address = withoutTransport(recipient.address);
    if (hasLineBreak(name))
        refuse(name);
    if (name.empty() || name == address)
        return parseAddresses(address);
    if (address.empty())
        return parseAddresses(name);

    std::vector<Mailbox> mailboxes = parseAddresses(address);
    if (mailboxes.size() != 1)
        refuse(address);
    mailboxes.front().name = name == mailboxes.front().address ? std::string_view() : name;
    return mailboxes;
}

}
