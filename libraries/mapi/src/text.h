#pragma once

#include <string>
#include <string_view>

namespace mapi
{

// Text inside the library is UTF-8 and always valid; these are the places where it comes in. A null
// pointer gives an empty text. What is not valid becomes U+FFFD, one per broken unit, so the result is
// bounded by three bytes per unit of the input.

// From UTF-16, up to the terminating zero.
[[nodiscard]] std::string utf8FromUtf16(const char16_t *text);
// From UTF-8 of a caller, up to the terminating zero.
[[nodiscard]] std::string utf8FromBytes(const char *text);
// From the charset of the current locale (nl_langinfo(CODESET)), up to the terminating zero. A program
// that never called setlocale() runs in the "C" locale; its texts are taken as UTF-8, which ASCII is too.
[[nodiscard]] std::string utf8FromLocale(const char *text);
// From the charset called `charset`, a name that iconv knows; an unknown name counts as UTF-8.
[[nodiscard]] std::string utf8FromCharset(std::string_view text, const char *charset);

// Whether the text has a carriage return or a line feed, which would end a header field.
[[nodiscard]] bool hasLineBreak(std::string_view text) noexcept;
// Without blanks and tabs at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;
[[nodiscard]] bool isAscii(std::string_view text) noexcept;
// Percent-encodes every byte but ASCII letters, digits, ".", "-", "_" and those in `plain`: narrower than
// what URIs (RFC 3986) and parameters (RFC 2231) allow, because some receivers read more.
[[nodiscard]] std::string percentEncoded(std::string_view text, std::string_view plain = {});
// The file: URI of an absolute path.
[[nodiscard]] std::string fileUri(std::string_view path);
// Every line end ("\r\n", "\r", "\n") becomes `lineEnd`.
[[nodiscard]] std::string withLineEnds(std::string_view text, std::string_view lineEnd);

}
