#pragma once

#include "bytestreams.h"
#include "failure.h"
#include "filedescriptor.h"

#include <sys/stat.h>

#include <optional>
#include <string>

namespace mapi
{

// A file to be attached, looked at once before anything is written: an attachment that cannot go along
// must stop the mail and not be missing from it.
class Attachment
{
public:
    // Throws Failure: MAPI_E_ATTACHMENT_NOT_FOUND where nothing of that path exists,
    // MAPI_E_ATTACHMENT_OPEN_FAILURE for what is no regular file or cannot be read, and
    // MAPI_E_INVALID_MESSAGE for a name with a line break. Never waits: a FIFO or a device is not opened.
    Attachment(std::string path, std::string name);

    [[nodiscard]] const std::string &path() const { return m_path; }
    // UTF-8, as the receiver sees it.
    [[nodiscard]] const std::string &name() const { return m_name; }
    // "type/subtype" by the shared MIME database, from the name and the first bytes. Types that stand for
    // whole messages or several parts come out as "application/octet-stream", because such parts may not
    // be encoded, and every attachment is.
    [[nodiscard]] const std::string &contentType() const { return m_contentType; }

private:
    friend class AttachmentSource;

    [[nodiscard]] FileDescriptor open(struct stat &status) const;

    std::string m_path;
    std::string m_name;
    std::string m_contentType;
    struct stat m_status {
    };
};

// Reads an attachment that must outlive it. The file is opened at the first read, so that a mail with more
// attachments than a process may have open files works. A file that is no longer the one seen by
// Attachment, is shorter or longer, or was written to meanwhile, is a failure.
class AttachmentSource final : public ByteSource
{
public:
    explicit AttachmentSource(const Attachment &attachment) noexcept : m_attachment(attachment) { }

    ssize_t read(char *data, std::size_t size) noexcept override;
    [[nodiscard]] bool atEnd() const noexcept override { return m_done || m_failure.has_value(); }

    // Throws Failure(MAPI_E_ATTACHMENT_OPEN_FAILURE or MAPI_E_ATTACHMENT_NOT_FOUND) unless the whole file
    // was read.
    void throwIfIncomplete() const;

private:
    ssize_t readSome(char *data, std::size_t size);

    const Attachment &m_attachment;
    FileDescriptor m_file;
    off_t m_read = 0;
    bool m_done = false;
    std::optional<Failure> m_failure;
};

}
