#pragma once

#include "bytestreams.h"
#include "mail.h"

namespace mapi
{

enum class LineEnd {
    Unix, // what a sendmail command reads
    Dos, // the form on the wire and in an .eml file
};

// What a message is written for.
struct MimeOptions {
    // A draft that a person opens, completes and sends: marked with "X-Unsent: 1", which makes mail clients
    // open it for editing, and without Date and Message-ID, which the client sets when it is sent.
    bool draft = false;
    LineEnd lineEnd = LineEnd::Dos;
};

// Writes the mail as a MIME message (RFC 5322, 2045 to 2047, 2231) through `sink`, and flushes it.
//
// The note text is one text/plain part in UTF-8, whatever it looks like; attachments follow in base64.
// Bcc is written: a draft needs it, and `sendmail -t` reads it and takes it out. There is a From only when
// the caller named an originator, since a mail client and sendmail know the user's address better than we
// do. A requested receipt becomes Disposition-Notification-To where the originator is known; a draft gets
// in any case the field by which Mozilla's clients keep that wish ("X-Mozilla-Draft-Info").
//
// Attachments are read while the message is written, never held in memory. Throws Failure: what
// AttachmentSource::throwIfIncomplete and resultFromErrno say. What was written by then is worthless.
void writeMime(const Mail &mail, const MimeOptions &options, FileSink &sink);

}
