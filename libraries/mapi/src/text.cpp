#include "text.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include <langinfo.h>

namespace mapi
{

namespace
{

constexpr std::string_view replacement = "\xEF\xBF\xBD"; // U+FFFD

void appendCodePoint(std::string &out, char32_t c)
{
    std::array<char, 6> bytes{};
    const int length = g_unichar_to_utf8(c, bytes.data());
    out.append(bytes.data(), static_cast<std::size_t>(length));
}

bool isHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::string validUtf8(std::string_view text)
{
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), &g_free);
    return valid.get();
}

}

std::string utf8FromUtf16(const char16_t *text)
{
    std::string out;
    if (text == nullptr)
        return out;
    for (; *text != 0; ++text) {
        const char16_t unit = *text;
        if (isHighSurrogate(unit) && isLowSurrogate(text[1])) {
            ++text;
            appendCodePoint(out, 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(*text) - 0xDC00));
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            out.append(replacement);
        } else {
            appendCodePoint(out, unit);
        }
    }
    return out;
}

std::string utf8FromBytes(const char *text)
{
    return text == nullptr || *text == '\0' ? std::string() : validUtf8(text);
}

std::string utf8FromLocale(const char *text)
{
    if (text == nullptr || *text == '\0')
        return {};
    const std::string_view codeset = nl_langinfo(CODESET);
    if (codeset == "UTF-8" || codeset == "ANSI_X3.4-1968")
        return validUtf8(text);
    return utf8FromCharset(text, codeset.data());
}

std::string utf8FromCharset(std::string_view text, const char *charset)
{
    if (text.empty())
        return {};
    GIConv converter = g_iconv_open("UTF-8", charset);
    if (converter == reinterpret_cast<GIConv>(-1)) // NOLINT(performance-no-int-to-ptr): iconv's mark
        return validUtf8(text);

    std::string out;
    std::string input(text);
    char *in = input.data();
    gsize inLeft = input.size();
    while (inLeft > 0) {
        std::array<char, 4096> buffer{};
        char *to = buffer.data();
        gsize room = buffer.size();
        const gsize status = g_iconv(converter, &in, &inLeft, &to, &room);
        const int error = errno;
        out.append(buffer.data(), buffer.size() - room);
        if (status == static_cast<gsize>(-1) && error != E2BIG) {
            out.append(replacement);
            g_iconv(converter, nullptr, nullptr, nullptr, nullptr);
            ++in;
            --inLeft;
        }
    }
    g_iconv_close(converter);
    return out;
}

bool hasLineBreak(std::string_view text) noexcept
{
    return text.find_first_of("\r\n") != std::string_view::npos;
}

std::string_view trimmed(std::string_view text) noexcept
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool isAscii(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string percentEncoded(std::string_view text, std::string_view plain)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (letter || c == '.' || c == '-' || c == '_' || plain.find(c) != std::string_view::npos)
            out.push_back(c);
        else
            out.append({'%', digits[byte >> 4], digits[byte & 0xF]});
    }
    return out;
}

std::string fileUri(std::string_view path)
{
    return "file://" + percentEncoded(path, "/");
}

std::string withLineEnds(std::string_view text, std::string_view lineEnd)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        if (text[i] == '\r' || text[i] == '\n')
            out.append(lineEnd);
        else
            out.push_back(text[i]);
        if (pair)
            ++i;
    }
    return out;
}

}
