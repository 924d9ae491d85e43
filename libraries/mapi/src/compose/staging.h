#pragma once

#include "attachment.h"
#include "filedescriptor.h"
#include "mail.h"

#include <chrono>
#include <string>

namespace mapi
{

// Copies of what a mail client is to read after the call is over, when the caller may long have removed
// its files: one directory per mail in a staging directory, for the owner only. Without keep() it is removed
// with the object.
class StagedMail
{
public:
    // Creates `directory`, an absolute path, where it is missing. Throws Failure: MAPI_E_ACCESS_DENIED when
    // the directory belongs to somebody else, otherwise what resultFromErrno says.
    explicit StagedMail(const std::string &directory);
    ~StagedMail();
    StagedMail(const StagedMail &) = delete;
    StagedMail &operator=(const StagedMail &) = delete;

    // Copies an attachment and gives the path of the copy, whose last part is the attachment's name. Throws
    // Failure: what AttachmentSource says, MAPI_E_ATTACHMENT_WRITE_FAILURE for a name that no file can have,
    // otherwise what resultFromErrno says.
    [[nodiscard]] std::string addFile(const Attachment &attachment);
    // Writes the mail as a draft, "mail.eml". Throws what writeMime throws.
    [[nodiscard]] std::string addDraft(const Mail &mail);

    void keep() noexcept { m_kept = true; }

    // Removes from a staging directory, if there is one, what older calls left there longer than staleAge
    // ago.
    static void removeStale(const std::string &directory) noexcept;

    // A client may be slow to start, and a user slow to answer its questions; but a client that has not
    // read a file for a week does not want it any more.
    static constexpr std::chrono::seconds staleAge = std::chrono::hours(24 * 7);

private:
    std::string m_path; // of this mail
    std::string m_name;
    FileDescriptor m_base;
    FileDescriptor m_handle;
    int m_files = 0;
    bool m_kept = false;
};

}
