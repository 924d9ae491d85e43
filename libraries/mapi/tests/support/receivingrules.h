#pragma once

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <glib.h>

// How the programs at the other end read what they are given, written down once more from their own rules
// and not from ours. Nothing of the library under test is used here; GLib's regular expressions are those of
// the portal.
namespace receiving
{

using Fields = std::multimap<std::string, std::string>;

inline std::vector<std::string> valuesOf(const Fields &fields, const std::string &key)
{
    std::vector<std::string> values;
    const auto range = fields.equal_range(key);
    for (auto i = range.first; i != range.second; ++i)
        values.push_back(i->second);
    return values;
}

inline std::string valueOf(const Fields &fields, const std::string &key)
{
    const std::vector<std::string> values = valuesOf(fields, key);
    return values.empty() ? std::string() : values.front();
}

inline int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// Nothing for a "%" that two hexadecimal digits do not follow.
inline std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out.push_back(text[i]);
            continue;
        }
        if (i + 2 >= text.size() || hexDigit(text[i + 1]) < 0 || hexDigit(text[i + 2]) < 0)
            return {};
        out.push_back(static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])));
        i += 2;
    }
    return out;
}

// Whether the bytes are UTF-8: no lone or missing continuation, no overlong form, no surrogate.
inline bool isUtf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const int length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || i + std::size_t(length) > text.size())
            return false;
        unsigned value = length == 1 ? lead : lead & (0xFFU >> (length + 1));
        for (int k = 1; k < length; ++k) {
            const auto byte = static_cast<unsigned char>(text[i + std::size_t(k)]);
            if ((byte & 0xC0) != 0x80)
                return false;
            value = (value << 6) | (byte & 0x3F);
        }
        if ((length == 3 && value < 0x800) || (length == 4 && (value < 0x10000 || value > 0x10FFFF))
            || (value >= 0xD800 && value <= 0xDFFF))
            return false;
        i += std::size_t(length);
    }
    return true;
}

// Every line end becomes a line feed.
inline std::string withLineFeeds(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r')
            out.push_back(text[i]);
        else if (i + 1 == text.size() || text[i + 1] != '\n')
            out.push_back('\n');
    }
    return out;
}

// The argument of "-compose". Pairs between commas; a quote opens only directly behind an equals sign and
// closes only before a comma or the end; what is not quoted is percent-decoded, and stays as it is when that
// is not possible or gives no UTF-8. Pieces without an equals sign are dropped. Of a repeated key the first
// counts.
inline Fields readMozilla(std::string_view argument)
{
    Fields fields;
    std::size_t i = 0;
    while (i < argument.size()) {
        std::size_t end = i;
        char quote = 0;
        for (; end < argument.size(); ++end) {
            const char c = argument[end];
            if (quote != 0) {
                if (c == quote && (end + 1 == argument.size() || argument[end + 1] == ','))
                    quote = 0;
            } else if ((c == '\'' || c == '"') && end > i && argument[end - 1] == '=') {
                quote = c;
            } else if (c == ',') {
                break;
            }
        }
        const std::string_view piece = argument.substr(i, end - i);
        i = end + 1;
        const std::size_t equals = piece.find('=');
        if (equals == std::string_view::npos)
            continue;
        const std::string key(piece.substr(0, equals));
        std::string_view value = piece.substr(equals + 1);
        std::string decoded;
        if (value.size() >= 2 && value.front() == '\'' && value.back() == '\'')
            decoded = value.substr(1, value.size() - 2);
        else if (const auto bytes = percentDecoded(value); bytes && isUtf8(*bytes))
            decoded = *bytes;
        else
            decoded = value;
        if (fields.find(key) == fields.end())
            fields.emplace(key, decoded);
    }
    return fields;
}

// A mailto: link by RFC 6068. The addresses before the "?" are the key "to", each on its own; keys are in
// lower case. Nothing for a text that is no such link: other characters than the grammar has, or a "%" that
// encodes nothing.
inline std::optional<Fields> readMailto(std::string_view link)
{
    constexpr std::string_view scheme = "mailto:";
    if (link.substr(0, scheme.size()) != scheme)
        return {};
    link.remove_prefix(scheme.size());
    constexpr std::string_view allowed = "-._~%!$'()*+,;:@?&=/";
    for (const char c : link) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0 && allowed.find(c) == std::string_view::npos)
            return {};
    }
    Fields fields;
    const auto addList = [&fields](const std::string &key, std::string_view list) {
        while (!list.empty()) {
            const std::size_t end = std::min(list.find(','), list.size());
            const auto decoded = percentDecoded(list.substr(0, end));
            if (!decoded || decoded->empty())
                return false;
            fields.emplace(key, *decoded);
            list.remove_prefix(std::min(end + 1, list.size()));
        }
        return true;
    };
    const std::size_t question = std::min(link.find('?'), link.size());
    if (!addList("to", link.substr(0, question)))
        return {};
    link.remove_prefix(std::min(question + 1, link.size()));
    while (!link.empty()) {
        const std::size_t end = std::min(link.find('&'), link.size());
        const std::string_view piece = link.substr(0, end);
        link.remove_prefix(std::min(end + 1, link.size()));
        const std::size_t equals = piece.find('=');
        if (equals == std::string_view::npos || piece.find('=', equals + 1) != std::string_view::npos
            || piece.find('?') != std::string_view::npos)
            return {};
        std::string key(piece.substr(0, equals));
        std::transform(key.begin(), key.end(), key.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        const std::string_view value = piece.substr(equals + 1);
        if (key == "to" || key == "cc" || key == "bcc") {
            if (!addList(key, value))
                return {};
        } else if (const auto decoded = percentDecoded(value)) {
            fields.emplace(key, *decoded);
        } else {
            return {};
        }
    }
    return fields;
}

// The path of a file: URI.
inline std::optional<std::string> pathOfUri(std::string_view uri)
{
    constexpr std::string_view scheme = "file://";
    if (uri.substr(0, scheme.size() + 1) != "file:///")
        return {};
    return percentDecoded(uri.substr(scheme.size()));
}

// Whether Qt's URL class would find a scheme in it: a letter, letters, digits, "+", "-", ".", then a colon.
inline bool hasScheme(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0
        || std::isalpha(static_cast<unsigned char>(text.front())) == 0)
        return false;
    return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-' || c == '.';
    });
}

// KMail's command line. First it puts "--attach" before everything that follows an argument "--attach" up to
// one with "--" in front or with an "@"; then the options are read; what remains is a link, a file when it
// has a scheme, or a recipient. Nothing for an option that it does not know.
inline std::optional<Fields> readKMail(const std::vector<std::string> &arguments)
{
    std::vector<std::string> words;
    bool attaching = false;
    for (const std::string &argument : arguments) {
        if (argument == "--attach") {
            attaching = true;
            continue;
        }
        if (argument.rfind("--", 0) == 0 || argument.find('@') != std::string::npos
            || argument.rfind("mailto:", 0) == 0)
            attaching = false;
        if (attaching)
            words.emplace_back("--attach");
        words.push_back(argument);
    }
    static const std::vector<std::string> withValue{"subject", "cc",     "bcc",  "header",  "msg",
                                                    "body",    "attach", "view", "identity"};
    Fields fields;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (word == "--composer")
            continue;
        if (word.rfind("--", 0) == 0) {
            const std::size_t equals = word.find('=');
            const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
            if (std::find(withValue.begin(), withValue.end(), name) == withValue.end())
                return {};
            if (equals != std::string::npos)
                fields.emplace(name, word.substr(equals + 1));
            else if (++i < words.size())
                fields.emplace(name, words[i]);
            else
                return {};
        } else if (word.size() > 1 && word.front() == '-') {
            return {};
        } else if (word.rfind("mailto:", 0) == 0) {
            const auto link = readMailto(word);
            if (!link)
                return {};
            fields.insert(link->begin(), link->end());
        } else {
            fields.emplace(hasScheme(word) ? "attach" : "to", word);
        }
    }
    if (valueOf(fields, "subject") == "ession" && valuesOf(fields, "to").empty()
        && std::find(words.begin(), words.end(), "--subject=ession") != words.end())
        return {}; // taken for a session of the desktop
    return fields;
}

// "--compose LINK --attach FILE..." as Claws Mail and Sylpheed read it: an empty name ends the list too.
// Files have the key "attach". A running instance is told by lines that it reads into a buffer, and what does
// not fit is lost: "compose_attach LINK" with its line end and the end of the text.
inline std::optional<Fields> readComposeOption(const std::vector<std::string> &arguments)
{
    Fields fields;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--compose") {
            if (++i >= arguments.size())
                return {};
            constexpr std::size_t buffer = 8192;
            constexpr std::size_t around = std::string_view("compose_attach ").size() + 2;
            const auto link = readMailto(arguments[i]);
            if (!link || around + arguments[i].size() > buffer)
                return {};
            fields.insert(link->begin(), link->end());
        } else if (arguments[i] == "--attach") {
            while (i + 1 < arguments.size() && !arguments[i + 1].empty() && arguments[i + 1].front() != '-') {
                // A running instance is told line by line.
                if (arguments[++i].find('\n') != std::string::npos)
                    return {};
                fields.emplace("attach", arguments[i]);
            }
        } else {
            return {};
        }
    }
    return fields;
}

// "--compose=LINK --attach=URI...".
inline std::optional<Fields> readBalsa(const std::vector<std::string> &arguments)
{
    Fields fields;
    for (const std::string &argument : arguments) {
        constexpr std::string_view compose = "--compose=";
        constexpr std::string_view attach = "--attach=";
        if (argument.rfind(compose, 0) == 0) {
            const auto link = readMailto(std::string_view(argument).substr(compose.size()));
            if (!link)
                return {};
            fields.insert(link->begin(), link->end());
        } else if (argument.rfind(attach, 0) == 0) {
            const auto path = pathOfUri(std::string_view(argument).substr(attach.size()));
            if (!path)
                return {};
            fields.emplace("attach", *path);
        } else {
            return {};
        }
    }
    return fields;
}

struct TypedMailbox {
    std::string name;
    std::string address;

    friend bool operator==(const TypedMailbox &, const TypedMailbox &) = default;
};

// The addresses in an address field, as a person sees them: names in quotes with backslashes, or plain.
inline std::optional<std::vector<TypedMailbox>> readAddressField(std::string_view text)
{
    std::vector<TypedMailbox> out;
    std::size_t i = 0;
    const auto skipBlanks = [&] {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
            ++i;
    };
    skipBlanks();
    while (i < text.size()) {
        std::string plain;
        std::string name;
        std::string address;
        bool bracketed = false;
        for (; i < text.size() && text[i] != ','; ++i) {
            if (text[i] == '"') {
                std::string raw = "\"";
                std::string quoted;
                for (++i; i < text.size() && text[i] != '"'; ++i) {
                    raw.push_back(text[i]);
                    if (text[i] == '\\' && i + 1 < text.size())
                        raw.push_back(text[++i]);
                    quoted.push_back(text[i]);
                }
                if (i >= text.size())
                    return {};
                raw.push_back('"');
                // Before an "@" it is part of the address.
                if (i + 1 < text.size() && text[i + 1] == '@')
                    plain += raw;
                else
                    name += quoted;
            } else if (text[i] == '<') {
                bool inQuotes = false;
                for (++i; i < text.size() && (inQuotes || text[i] != '>'); ++i) {
                    if (inQuotes && text[i] == '\\' && i + 1 < text.size())
                        address.push_back(text[i++]);
                    else if (text[i] == '"')
                        inQuotes = !inQuotes;
                    address.push_back(text[i]);
                }
                if (i >= text.size())
                    return {};
                bracketed = true;
            } else {
                plain.push_back(text[i]);
            }
        }
        while (!plain.empty() && plain.back() == ' ')
            plain.pop_back();
        if (bracketed)
            out.push_back({name.empty() ? plain : name, address});
        else
            out.push_back({name, plain});
        if (i < text.size())
            ++i;
        skipBlanks();
    }
    return out;
}

// The header of a message: field names in lower case, values unfolded. Nothing when a line is no field.
// `rest` becomes what follows the empty line.
inline std::optional<Fields> readHeader(std::string_view message, std::string_view *rest = nullptr)
{
    Fields fields;
    std::string name;
    std::string value;
    const auto finish = [&] {
        if (!name.empty())
            fields.emplace(name, value);
        name.clear();
        value.clear();
    };
    while (true) {
        const std::size_t end = message.find("\r\n");
        if (end == std::string_view::npos)
            return {};
        const std::string_view line = message.substr(0, end);
        message.remove_prefix(end + 2);
        if (line.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos || line.size() > 998)
            return {};
        if (line.empty())
            break;
        if (line.front() == ' ' || line.front() == '\t') {
            if (name.empty())
                return {};
            value += line;
            continue;
        }
        finish();
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0)
            return {};
        name = line.substr(0, colon);
        for (const char c : name) {
            if (c <= ' ' || c > '~')
                return {};
        }
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        value = line.substr(colon + 1);
        if (!value.empty() && value.front() == ' ')
            value.erase(0, 1);
    }
    finish();
    if (rest != nullptr)
        *rest = message;
    return fields;
}

inline std::string base64Decoded(std::string_view text)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned buffer = 0;
    int bits = 0;
    for (const char c : text) {
        const std::size_t digit = digits.find(c);
        if (digit == std::string_view::npos)
            continue;
        buffer = (buffer << 6) | static_cast<unsigned>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<char>((buffer >> bits) & 0xFF));
        }
    }
    return out;
}

// Quoted-printable (RFC 2045), or the "Q" encoding of RFC 2047 when an underscore is a blank. Nothing for
// what is neither.
inline std::optional<std::string> quotedPrintableDecoded(std::string_view text, bool underscores)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '_' && underscores) {
            out.push_back(' ');
        } else if (text[i] != '=') {
            out.push_back(text[i]);
        } else if (!underscores && text.substr(i + 1, 2) == "\r\n") {
            i += 2;
        } else {
            if (i + 2 >= text.size() || hexDigit(text[i + 1]) < 0 || hexDigit(text[i + 2]) < 0)
                return {};
            out.push_back(static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])));
            i += 2;
        }
    }
    return out;
}

// The content of a part by its Content-Transfer-Encoding.
inline std::optional<std::string> transferDecoded(std::string_view content, const std::string &encoding)
{
    if (encoding == "base64")
        return base64Decoded(content);
    if (encoding == "quoted-printable")
        return quotedPrintableDecoded(content, false);
    if (encoding.empty() || encoding == "7bit") {
        for (const char c : content) {
            if (static_cast<unsigned char>(c) >= 0x80)
                return {};
        }
        return std::string(content);
    }
    return {};
}

// One encoded word of RFC 2047 at the start of the text, which loses it. What no receiver of UTF-8 can read
// comes out as a text that is in no mail.
inline std::optional<std::string> takeEncodedWord(std::string_view &text)
{
    if (text.substr(0, 2) != "=?")
        return {};
    const std::size_t encoding = text.find('?', 2);
    if (encoding == std::string_view::npos || encoding + 2 >= text.size() || text[encoding + 2] != '?')
        return {};
    const std::size_t end = text.find("?=", encoding + 3);
    if (end == std::string_view::npos)
        return {};
    std::string charset(text.substr(2, encoding - 2));
    std::transform(charset.begin(), charset.end(), charset.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const char kind = text[encoding + 1];
    const std::string_view data = text.substr(encoding + 3, end - encoding - 3);
    text.remove_prefix(end + 2);
    const std::string unreadable = "\xEF\xBF\xBD unreadable";
    if (charset != "utf-8")
        return unreadable;
    if (kind == 'B' || kind == 'b')
        return base64Decoded(data);
    if (kind == 'Q' || kind == 'q')
        return quotedPrintableDecoded(data, true).value_or(unreadable);
    return unreadable;
}

// A text with encoded words in it; blanks between two of them do not count.
inline std::string wordsDecoded(std::string_view text)
{
    std::string out;
    std::string blanks;
    bool afterWord = false;
    while (!text.empty()) {
        if (const auto word = takeEncodedWord(text)) {
            if (!afterWord)
                out += blanks;
            blanks.clear();
            out += *word;
            afterWord = true;
            continue;
        }
        if (text.front() == ' ') {
            blanks.push_back(' ');
        } else {
            out += blanks;
            blanks.clear();
            out.push_back(text.front());
            afterWord = false;
        }
        text.remove_prefix(1);
    }
    return out + blanks;
}

// A parameter of a field by RFC 2045 and RFC 2231: as it stands, in quotes, encoded, and in pieces. Nothing
// when it is not there, comes twice, or is encoded wrongly.
inline std::optional<std::string> parameterOf(std::string_view field, const std::string &name)
{
    std::map<std::string, std::string> found;
    std::size_t i = field.find(';');
    while (i < field.size()) {
        for (++i; i < field.size() && (field[i] == ' ' || field[i] == '\t');)
            ++i;
        const std::size_t equals = field.find('=', i);
        if (equals == std::string_view::npos)
            break;
        const std::string key(field.substr(i, equals - i));
        std::string value;
        i = equals + 1;
        if (i < field.size() && field[i] == '"') {
            for (++i; i < field.size() && field[i] != '"'; ++i) {
                if (field[i] == '\\' && i + 1 < field.size())
                    ++i;
                value.push_back(field[i]);
            }
            i = field.find(';', i);
        } else {
            const std::size_t end = std::min(field.find(';', i), field.size());
            value = field.substr(i, end - i);
            i = end;
        }
        if (!found.emplace(key, value).second)
            return {};
    }
    if (found.count(name) != 0)
        return found[name];
    constexpr std::string_view charset = "UTF-8''";
    std::string encoded = found[name + "*"];
    for (int piece = 0; found.count(name + "*" + std::to_string(piece) + "*") != 0; ++piece)
        encoded += found[name + "*" + std::to_string(piece) + "*"];
    if (encoded.rfind(charset, 0) != 0)
        return {};
    return percentDecoded(std::string_view(encoded).substr(charset.size()));
}

// The portal's own test of an address and of a subject.
inline bool portalTakesAddress(const std::string &address)
{
    return g_regex_match_simple("^[a-zA-Z0-9.!#$%&'*+/=?^_`{|}~-]+@"
                                "[a-zA-Z0-9](?:[a-zA-Z0-9-]{0,61}[a-zA-Z0-9])?"
                                "(?:\\.[a-zA-Z0-9](?:[a-zA-Z0-9-]{0,61}[a-zA-Z0-9])?)*$",
                                address.c_str(), G_REGEX_DEFAULT, G_REGEX_MATCH_DEFAULT)
        != FALSE;
}

inline bool portalTakesSubject(const std::string &subject)
{
    return subject.find('\n') == std::string::npos && g_utf8_strlen(subject.c_str(), -1) <= 200;
}

}
