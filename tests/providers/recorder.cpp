#include "recorder.h"

#include "recorderplatform.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace recorder
{

namespace
{

constexpr std::string_view hexDigits = "0123456789abcdef";

std::string hexBytes(const void *data, std::size_t size)
{
    const auto *bytes = static_cast<const unsigned char *>(data);
    std::string hex;
    hex.reserve(size * 2);
    for (std::size_t index = 0; index < size; ++index) {
        hex += hexDigits[bytes[index] >> 4U];
        hex += hexDigits[bytes[index] & 0xFU];
    }
    return hex;
}

void appendUnit(std::string &json, char32_t unit)
{
    if (unit == U'"' || unit == U'\\') {
        json += '\\';
        json += static_cast<char>(unit);
    } else if (unit >= 0x20 && unit < 0x7F) {
        json += static_cast<char>(unit);
    } else {
        json += "\\u";
        for (unsigned int shift = 16; shift > 0; shift -= 4)
            json += hexDigits[(unit >> (shift - 4)) & 0xFU];
    }
}

void appendCodePoint(std::string &json, char32_t codePoint)
{
    if (codePoint < 0x10000) {
        appendUnit(json, codePoint);
        return;
    }
    appendUnit(json, 0xD800 + ((codePoint - 0x10000) >> 10U));
    appendUnit(json, 0xDC00 + ((codePoint - 0x10000) & 0x3FFU));
}

// The JSON string for UTF-8 bytes, or an empty text where they are no UTF-8: cut short, overlong,
// a surrogate or above the last code point.
std::string utf8String(std::string_view bytes)
{
    struct Lead {
        unsigned char mask;
        unsigned char value;
        std::size_t following;
        char32_t smallest;
    };
    static constexpr std::array<Lead, 4> leads{{
        {0x80, 0x00, 0, 0},
        {0xE0, 0xC0, 1, 0x80},
        {0xF0, 0xE0, 2, 0x800},
        {0xF8, 0xF0, 3, 0x10000},
    }};
    std::string json = "\"";
    for (std::size_t index = 0; index < bytes.size();) {
        const auto first = static_cast<unsigned char>(bytes[index]);
        const Lead *lead = nullptr;
        for (const Lead &candidate : leads) {
            if ((first & candidate.mask) == candidate.value)
                lead = &candidate;
        }
        if (lead == nullptr || bytes.size() - index <= lead->following)
            return {};
        char32_t codePoint = first & static_cast<unsigned char>(~lead->mask);
        for (std::size_t step = 1; step <= lead->following; ++step) {
            const auto next = static_cast<unsigned char>(bytes[index + step]);
            if ((next & 0xC0U) != 0x80U)
                return {};
            codePoint = (codePoint << 6U) | (next & 0x3FU);
        }
        if (codePoint < lead->smallest || codePoint > 0x10FFFF
            || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
            return {};
        appendCodePoint(json, codePoint);
        index += lead->following + 1;
    }
    return json + '"';
}

std::string textValue(const WCHAR *text)
{
    if (text == nullptr)
        return "null";
    std::string json = "\"";
    for (; *text != 0; ++text)
        appendUnit(json, static_cast<char16_t>(*text));
    return json + '"';
}

std::string textValue(const char *text)
{
    if (text == nullptr)
        return "null";
    const std::string_view bytes(text);
    const std::string string = utf8String(bytes);
    return R"({"hex":")" + hexBytes(bytes.data(), bytes.size()) + R"(","text":)"
        + (string.empty() ? "null" : string) + '}';
}

// One JSON object in the making.
class Object
{
public:
    Object &value(const char *name, const std::string &json)
    {
        m_json += m_json.empty() ? "\"" : ",\"";
        m_json += name;
        m_json += "\":";
        m_json += json;
        return *this;
    }
    Object &number(const char *name, std::uint64_t number) { return value(name, std::to_string(number)); }
    Object &flag(const char *name, bool flag) { return value(name, flag ? "true" : "false"); }
    [[nodiscard]] std::string json() const { return '{' + m_json + '}'; }

private:
    std::string m_json;
};

template <typename Recipient> std::string recipientValue(const Recipient &recipient)
{
    return Object()
        .number("ulReserved", recipient.ulReserved)
        .number("ulRecipClass", recipient.ulRecipClass)
        .value("lpszName", textValue(recipient.lpszName))
        .value("lpszAddress", textValue(recipient.lpszAddress))
        .flag("nameIsAddress", recipient.lpszName == recipient.lpszAddress)
        .number("ulEIDSize", recipient.ulEIDSize)
        .value("lpEntryID",
               recipient.lpEntryID == nullptr
                   ? "null"
                   : '"' + hexBytes(recipient.lpEntryID, recipient.ulEIDSize) + '"')
        .json();
}

template <typename File> std::string fileValue(const File &file)
{
    const FileState state = file.lpszPathName == nullptr ? FileState() : fileState(file.lpszPathName);
    return Object()
        .number("ulReserved", file.ulReserved)
        .number("flFlags", file.flFlags)
        .number("nPosition", file.nPosition)
        .value("lpszPathName", textValue(file.lpszPathName))
        .value("lpszFileName", textValue(file.lpszFileName))
        .value("lpFileType", file.lpFileType == nullptr ? "null" : "true")
        .flag("exists", state.exists)
        .number("size", state.size)
        .json();
}

template <typename Element>
std::string arrayValue(const Element *elements, ULONG count, std::string (*elementValue)(const Element &))
{
    if (elements == nullptr)
        return "null";
    std::string json = "[";
    for (ULONG index = 0; index < count; ++index) {
        if (index > 0)
            json += ',';
        json += elementValue(elements[index]);
    }
    return json + ']';
}

template <typename Message, typename Recipient, typename File>
std::string messageValue(const Message &message, const Recipient *originator, const Recipient *recipients,
                         const File *files)
{
    return Object()
        .number("ulReserved", message.ulReserved)
        .value("lpszSubject", textValue(message.lpszSubject))
        .value("lpszNoteText", textValue(message.lpszNoteText))
        .value("lpszMessageType", textValue(message.lpszMessageType))
        .value("lpszDateReceived", textValue(message.lpszDateReceived))
        .value("lpszConversationID", textValue(message.lpszConversationID))
        .number("flFlags", message.flFlags)
        .value("lpOriginator", originator == nullptr ? "null" : recipientValue(*originator))
        .number("nRecipCount", message.nRecipCount)
        .value("lpRecips", arrayValue(recipients, message.nRecipCount, recipientValue<Recipient>))
        .number("nFileCount", message.nFileCount)
        .value("lpFiles", arrayValue(files, message.nFileCount, fileValue<File>))
        .json();
}

// The result that the environment asks for; false if it is no number of 32 bits.
bool wantedResult(ULONG &result)
{
    bool isSet = false;
    const std::string text = environmentVariable("OSTRELLE_RECORD_RESULT", isSet);
    std::int64_t number = 0;
    if (isSet) {
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size() || number < INT32_MIN
            || number > UINT32_MAX)
            return false;
    }
    result = static_cast<ULONG>(number);
    return true;
}

template <typename Message>
ULONG recordCall(const char *entry, LHANDLE session, ULONG_PTR uiParam, const Message *message, FLAGS flags,
                 ULONG reserved)
{
    ULONG result = 0;
    bool hasFile = false;
    const std::string fileName = environmentVariable("OSTRELLE_RECORD", hasFile);
    if (!hasFile || !wantedResult(result))
        return notRecorded;
    const std::string call
        = Object()
              .value("entry", utf8String(entry))
              .value("library", utf8String(libraryFileName()))
              .number("session", session)
              .number("uiParam", uiParam)
              .number("flags", flags)
              .number("reserved", reserved)
              .number("result", result)
              .value("message",
                     message == nullptr
                         ? "null"
                         : messageValue(*message, message->lpOriginator, message->lpRecips, message->lpFiles))
              .json();
    return appendToFile(fileName, call + '\n') ? result : notRecorded;
}

}

ULONG record(const char *entry, LHANDLE session, ULONG_PTR uiParam, const MapiMessage *message, FLAGS flags,
             ULONG reserved)
{
    return recordCall(entry, session, uiParam, message, flags, reserved);
}

ULONG record(const char *entry, LHANDLE session, ULONG_PTR uiParam, const MapiMessageW *message, FLAGS flags,
             ULONG reserved)
{
    return recordCall(entry, session, uiParam, message, flags, reserved);
}

}
