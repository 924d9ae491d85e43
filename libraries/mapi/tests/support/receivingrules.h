#pragma once

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How the programs at the other end read what they are given, written down once more from their own rules
// and not from ours. Nothing of the library under test is used here.
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

// The argument of "-compose". Pairs between commas; a quote opens only directly behind an equals sign and
// closes only before a comma or the end; what is not quoted is percent-decoded, and stays as it is when that
// is not possible. Pieces without an equals sign are dropped. Of a repeated key the first counts.
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
        else
            decoded = percentDecoded(value).value_or(std::string(value));
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
// Files have the key "attach".
inline std::optional<Fields> readComposeOption(const std::vector<std::string> &arguments)
{
    Fields fields;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--compose") {
            if (++i >= arguments.size())
                return {};
            const auto link = readMailto(arguments[i]);
            if (!link)
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
inline std::optional<Fields> readHeader(std::string_view message)
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

// Encoded words of RFC 2047 in UTF-8 and base64, which is all that is written here; blanks between two of
// them do not count.
inline std::string wordsDecoded(std::string_view text)
{
    constexpr std::string_view start = "=?UTF-8?B?";
    std::string out;
    std::string blanks;
    bool afterWord = false;
    while (!text.empty()) {
        if (text.substr(0, start.size()) == start) {
            const std::size_t end = text.find("?=", start.size());
            if (end != std::string_view::npos) {
                if (!afterWord)
                    out += blanks;
                blanks.clear();
                out += base64Decoded(text.substr(start.size(), end - start.size()));
                text.remove_prefix(end + 2);
                afterWord = true;
                continue;
            }
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

}
