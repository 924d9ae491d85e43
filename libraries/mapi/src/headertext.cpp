#include "headertext.h"

#include "text.h"

#include <glib.h>

#include <algorithm>
#include <memory>

namespace mapi
{

namespace
{

// 36 bytes are 48 characters of base64 and, with the frame, a word of 60: below the 75 that RFC 2047
// allows for a word, and with a field name below the 76 it allows for a line.
constexpr std::size_t bytesPerEncodedWord = 36;
constexpr std::size_t longestLine = 76;
// A piece without a blank that still fits in a line behind any field name we write.
constexpr std::size_t longestPiece = 60;
// Up to 45 characters when every byte is encoded.
constexpr std::size_t bytesPerParameterPiece = 15;
constexpr std::string_view fold = "\n ";

std::string encodedWord(std::string_view bytes)
{
    const std::unique_ptr<char, decltype(&g_free)> base64(
        g_base64_encode(reinterpret_cast<const guchar *>(bytes.data()), bytes.size()), &g_free);
    return std::string("=?UTF-8?B?") + base64.get() + "?=";
}

// How many bytes of the text, at most `limit`, are a piece that ends with a whole character.
std::size_t pieceLength(std::string_view text, std::size_t limit)
{
    std::size_t length = std::min(limit, text.size());
    while (length > 1 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    return length;
}

// Encoded words, one per line. Blanks between adjacent words do not belong to the text, and no word ends
// inside a character.
std::string encodedWords(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t length = pieceLength(text, bytesPerEncodedWord);
        if (!out.empty())
            out.append(fold);
        out.append(encodedWord(text.substr(0, length)));
        text.remove_prefix(length);
    }
    return out;
}

bool isPrintableAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c <= 0x7E; });
}

std::size_t longestUnbroken(std::string_view text)
{
    std::size_t longest = 0;
    std::size_t current = 0;
    for (const char c : text) {
        current = c == ' ' ? 0 : current + 1;
        longest = std::max(longest, current);
    }
    return longest;
}

bool isPlain(std::string_view text)
{
    return isPrintableAscii(text) && text.find("=?") == std::string_view::npos
        && text.find("  ") == std::string_view::npos && trimmed(text) == text
        && longestUnbroken(text) <= longestPiece;
}

std::string folded(std::string_view text)
{
    std::string out;
    std::size_t column = longestLine - longestPiece; // room for the field's name
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(' ', 1), text.size());
        if (column + length > longestLine && text.front() == ' ') {
            out.push_back('\n');
            column = 0;
        }
        out.append(text.substr(0, length));
        column += length;
        text.remove_prefix(length);
    }
    return out;
}

bool isAtomText(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
        || std::string_view("!#$%&'*+-/=?^_`{|}~ ").find(c) != std::string_view::npos;
}

std::string quotedString(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted.push_back('\\');
        quoted.push_back(c);
    }
    quoted.push_back('"');
    return quoted;
}

std::string encodeMailbox(const Mailbox &mailbox)
{
    if (mailbox.name.empty())
        return mailbox.address;
    const std::string bracketed = "<" + mailbox.address + ">";
    if (!isPlain(mailbox.name) || mailbox.name.size() > longestPiece)
        return encodedWords(mailbox.name).append(fold).append(bracketed);
    if (std::all_of(mailbox.name.begin(), mailbox.name.end(), isAtomText))
        return mailbox.name + " " + bracketed;
    return quotedString(mailbox.name) + " " + bracketed;
}

}

std::string encodeText(std::string_view text)
{
    return isPlain(text) ? folded(text) : encodedWords(text);
}

std::string encodeParameter(std::string_view name, std::string_view value)
{
    const std::string start = std::string(";").append(fold).append(name);
    if (isPrintableAscii(value) && trimmed(value) == value && value.size() <= longestPiece
        && value.find("=?") == std::string_view::npos)
        return start + "=" + quotedString(value);

    constexpr std::string_view charset = "UTF-8''";
    if (const std::string encoded = percentEncoded(value); encoded.size() + charset.size() <= longestPiece)
        return start + "*=" + std::string(charset) + encoded;
    std::string out;
    for (int i = 0; !value.empty(); ++i) {
        const std::size_t length = pieceLength(value, bytesPerParameterPiece);
        out += start + "*" + std::to_string(i) + "*=" + (i == 0 ? std::string(charset) : std::string())
            + percentEncoded(value.substr(0, length));
        value.remove_prefix(length);
    }
    return out;
}

std::string mailboxText(const Mailbox &mailbox)
{
    return mailbox.name.empty() ? mailbox.address : quotedString(mailbox.name) + " <" + mailbox.address + ">";
}

std::string encodeMailboxes(const std::vector<Mailbox> &mailboxes)
{
    std::string out;
    for (const Mailbox &mailbox : mailboxes) {
        if (!out.empty())
            out.append(",").append(fold);
        out.append(encodeMailbox(mailbox));
    }
    return out;
}

}
