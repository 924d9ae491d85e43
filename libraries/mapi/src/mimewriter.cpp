#include "mimewriter.h"

#include "headertext.h"
#include "resultcodes.h"
#include "text.h"

#include <glib.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

namespace mapi
{

namespace
{

// 998 octets are the limit of a line (RFC 5322, 2.1.1).
constexpr std::size_t longestLine = 990;

// Quoted-printable triples each byte that is no ASCII; beyond one in six base64 is shorter.
constexpr std::size_t quotedPrintableShare = 6;

struct TextTraits {
    std::size_t encodedBytes = 0; // bytes that need encoding
    bool longLines = false;
    // Lines that mail systems on the way are known to change or to take for a mark of their own: "From "
    // gets a ">" in front, and a single dot may end the message.
    bool fragileLines = false;
    bool trailingBlanks = false; // may be cut off
    bool openEnd = false; // no line end after the last line
};

TextTraits traitsOf(std::string_view text)
{
    TextTraits traits;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x7F || (byte < 0x20 && c != '\n' && c != '\t'))
            ++traits.encodedBytes;
    }
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        traits.longLines = traits.longLines || line.size() > longestLine;
        traits.fragileLines = traits.fragileLines || line == "." || line.substr(0, 5) == "From ";
        traits.trailingBlanks
            = traits.trailingBlanks || (!line.empty() && (line.back() == ' ' || line.back() == '\t'));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return traits;
}

GMimeContentEncoding encodingFor(std::string_view text)
{
    const TextTraits traits = traitsOf(text);
    if (traits.fragileLines || traits.encodedBytes * quotedPrintableShare > text.size())
        return GMIME_CONTENT_ENCODING_BASE64;
    if (traits.encodedBytes > 0 || traits.longLines || traits.trailingBlanks)
        return GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE;
    return GMIME_CONTENT_ENCODING_7BIT;
}

// Adds a field to a message or a part, or replaces it. The value is ready and is set as it stands.
void setHeader(GMimeObject *object, const char *field, const std::string &value)
{
    g_mime_object_set_header(object, field, "", nullptr);
    GMimeHeader *header = g_mime_header_list_get_header(g_mime_object_get_header_list(object), field);
    g_mime_header_set_raw_value(header, (" " + value + "\n").c_str());
}

void addMailboxes(GMimeMessage *message, const char *field, const std::vector<Mailbox> &mailboxes)
{
    if (!mailboxes.empty())
        setHeader(GMIME_OBJECT(message), field, encodeMailboxes(mailboxes));
}

void addDateAndId(GMimeMessage *message)
{
    const std::unique_ptr<GDateTime, decltype(&g_date_time_unref)> now(g_date_time_new_now_local(),
                                                                       &g_date_time_unref);
    if (now != nullptr)
        g_mime_message_set_date(message, now.get());

    const std::string_view host = g_get_host_name();
    const bool usable = !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
        return g_ascii_isalnum(c) || c == '.' || c == '-' || c == '_';
    });
    const std::unique_ptr<char, decltype(&g_free)> id(
        g_mime_utils_generate_message_id(usable ? host.data() : "localhost"), &g_free);
    g_mime_message_set_message_id(message, id.get());
}

void addHeaders(GMimeMessage *message, const Mail &mail, const MimeOptions &options)
{
    if (mail.from)
        addMailboxes(message, "From", {*mail.from});
    addMailboxes(message, "To", mail.to);
    addMailboxes(message, "Cc", mail.cc);
    addMailboxes(message, "Bcc", mail.bcc);
    setHeader(GMIME_OBJECT(message), "Subject", encodeText(mail.subject));
    if (!options.draft)
        addDateAndId(message);
    if (mail.receiptRequested && mail.from)
        addMailboxes(message, "Disposition-Notification-To", {*mail.from});
    if (mail.receiptRequested && options.draft)
        setHeader(GMIME_OBJECT(message), "X-Mozilla-Draft-Info",
                  "internal/draft; vcard=0; receipt=1; DSN=0; uuencode=0");
    if (options.draft)
        setHeader(GMIME_OBJECT(message), "X-Unsent", "1");
}

GObjectPtr<GMimePart> makePart(const char *type, ByteSource &source, GMimeContentEncoding encoding)
{
    GMimeContentType *contentType = g_mime_content_type_parse(nullptr, type);
    const GObjectPtr<GMimeContentType> typeOwner(contentType);
    GObjectPtr<GMimePart> part(g_mime_part_new());
    g_mime_object_set_content_type(GMIME_OBJECT(part.get()), contentType);
    const GObjectPtr<GMimeStream> stream = streamFrom(source);
    const GObjectPtr<GMimeDataWrapper> content(
        g_mime_data_wrapper_new_with_stream(stream.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(part.get(), content.get());
    g_mime_part_set_content_encoding(part.get(), encoding);
    return part;
}

}

void writeMime(const Mail &mail, const MimeOptions &options, FileSink &sink)
{
    initialiseGMime();
    const GObjectPtr<GMimeMessage> message(g_mime_message_new(FALSE));
    addHeaders(message.get(), mail, options);

    // Text in base64 is beyond the reach of the line end filter, and its canonical line end is CRLF.
    const GMimeContentEncoding encoding = encodingFor(mail.noteText);
    const bool base64 = encoding == GMIME_CONTENT_ENCODING_BASE64;
    const std::string noteText = base64 ? withLineEnds(mail.noteText, "\r\n") : mail.noteText;
    TextSource textSource(noteText);
    const GObjectPtr<GMimePart> text = makePart("text/plain", textSource, encoding);
    g_mime_object_set_content_type_parameter(GMIME_OBJECT(text.get()), "charset", "utf-8");

    std::deque<AttachmentSource> sources;
    if (mail.attachments.empty()) {
        g_mime_message_set_mime_part(message.get(), GMIME_OBJECT(text.get()));
    } else {
        const GObjectPtr<GMimeMultipart> parts(g_mime_multipart_new_with_subtype("mixed"));
        g_mime_multipart_add(parts.get(), GMIME_OBJECT(text.get()));
        for (const Attachment &attachment : mail.attachments) {
            const GObjectPtr<GMimePart> part
                = makePart(attachment.contentType().c_str(), sources.emplace_back(attachment),
                           GMIME_CONTENT_ENCODING_BASE64);
            GMimeObject *object = GMIME_OBJECT(part.get());
            // "name" is for old receivers that do not know Content-Disposition.
            setHeader(object, "Content-Type",
                      attachment.contentType() + encodeParameter("name", attachment.name()));
            setHeader(object, "Content-Disposition",
                      std::string(GMIME_DISPOSITION_ATTACHMENT)
                          + encodeParameter("filename", attachment.name()));
            g_mime_multipart_add(parts.get(), object);
        }
        g_mime_message_set_mime_part(message.get(), GMIME_OBJECT(parts.get()));
    }

    const std::unique_ptr<GMimeFormatOptions, decltype(&g_mime_format_options_free)> format(
        g_mime_format_options_new(), &g_mime_format_options_free);
    g_mime_format_options_set_newline_format(
        format.get(), options.lineEnd == LineEnd::Dos ? GMIME_NEWLINE_FORMAT_DOS : GMIME_NEWLINE_FORMAT_UNIX);
    const GObjectPtr<GMimeStream> out = streamInto(sink);
    const ssize_t written
        = g_mime_object_write_to_stream(GMIME_OBJECT(message.get()), format.get(), out.get());

    if (!sink.flush())
        throw systemFailure("write", "the message", sink.error());
    for (const AttachmentSource &source : sources)
        source.throwIfIncomplete();
    if (written < 0)
        throw Failure(MAPI_E_FAILURE, "the message could not be written");
}

}
