#include "attachment.h"

#include "text.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>

namespace mapi
{

namespace
{

constexpr std::string_view anyBytes = "application/octet-stream";

Failure attachmentFailure(const std::string &path, int error)
{
    // A name that is too long cannot exist.
    const bool missing = error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
    return {missing ? MAPI_E_ATTACHMENT_NOT_FOUND : MAPI_E_ATTACHMENT_OPEN_FAILURE,
            "attachment " + path + ": " + std::generic_category().message(error)};
}

Failure changedFailure(const std::string &path)
{
    return {MAPI_E_ATTACHMENT_OPEN_FAILURE, "attachment " + path + ": changed while it was read"};
}

ssize_t readOnce(int descriptor, char *data, std::size_t size)
{
    ssize_t got = 0;
    do {
        got = ::read(descriptor, data, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

bool isSameState(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size
        && a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

bool isPlainType(std::string_view type)
{
    constexpr std::array families{"application/", "audio/", "font/", "image/", "model/", "text/", "video/"};
    return isAscii(type) && std::any_of(families.begin(), families.end(), [type](std::string_view family) {
               return type.substr(0, family.size()) == family;
           });
}

std::string guessContentType(const std::string &name, std::string_view start)
{
    const std::unique_ptr<char, decltype(&g_free)> guess(
        g_content_type_guess(name.c_str(), reinterpret_cast<const guchar *>(start.data()), start.size(),
                             nullptr),
        &g_free);
    const std::unique_ptr<char, decltype(&g_free)> type(
        guess != nullptr ? g_content_type_get_mime_type(guess.get()) : nullptr, &g_free);
    return std::string(type != nullptr && isPlainType(type.get()) ? type.get() : anyBytes);
}

}

Attachment::Attachment(std::string path, std::string name) : m_path(std::move(path)), m_name(std::move(name))
{
    if (hasLineBreak(m_name))
        throw Failure(MAPI_E_INVALID_MESSAGE, "an attachment has a line break in its name");
    const FileDescriptor file = open(m_status);
    std::array<char, 4096> start{};
    const ssize_t got = readOnce(file.get(), start.data(), start.size());
    if (got < 0)
        throw attachmentFailure(m_path, errno);
    m_contentType = guessContentType(m_name, {start.data(), static_cast<std::size_t>(got)});
}

FileDescriptor Attachment::open(struct stat &status) const
{
    // The kind is asked first: opening alone already has an effect on some devices and on FIFOs. It is
    // asked again of what was opened, which may be something else by then, hence O_NONBLOCK.
    if (::stat(m_path.c_str(), &status) != 0)
        throw attachmentFailure(m_path, errno);
    FileDescriptor file;
    if (S_ISREG(status.st_mode)) {
        file = FileDescriptor(::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
            throw attachmentFailure(m_path, errno);
    }
    if (!S_ISREG(status.st_mode))
        throw Failure(MAPI_E_ATTACHMENT_OPEN_FAILURE, "attachment " + m_path + ": not a regular file");
    return file;
}

ssize_t AttachmentSource::read(char *data, std::size_t size) noexcept
{
    if (atEnd())
        return m_done ? 0 : -1;
    try {
        return readSome(data, size);
    } catch (const Failure &failure) {
        m_failure = failure;
    } catch (const std::exception &) {
        m_failure = changedFailure({});
    }
    return -1;
}

ssize_t AttachmentSource::readSome(char *data, std::size_t size)
{
    struct stat status {
    };
    if (!m_file.isOpen()) {
        m_file = m_attachment.open(status);
        if (!isSameState(status, m_attachment.m_status))
            throw changedFailure(m_attachment.m_path);
    }
    // At the expected end this reads once more: a file may have grown, and some of the system's own files
    // have content although their size is 0.
    const ssize_t got = readOnce(m_file.get(), data, size);
    if (got < 0)
        throw attachmentFailure(m_attachment.m_path, errno);
    m_read += got;
    if (m_read > m_attachment.m_status.st_size)
        throw changedFailure(m_attachment.m_path);
    if (got == 0) {
        if (::fstat(m_file.get(), &status) != 0 || m_read != m_attachment.m_status.st_size
            || !isSameState(status, m_attachment.m_status))
            throw changedFailure(m_attachment.m_path);
        m_file.reset();
        m_done = true;
    }
    return got;
}

void AttachmentSource::throwIfIncomplete() const
{
    if (m_failure)
        throw Failure(*m_failure);
    if (!m_done)
        throw changedFailure(m_attachment.m_path);
}

}
