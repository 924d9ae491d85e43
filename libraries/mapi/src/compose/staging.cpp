#include "compose/staging.h"

#include "mimewriter.h"
#include "privatefiles.h"
#include "resultcodes.h"

#include <array>
#include <cerrno>
#include <ctime>

#include <fcntl.h>

namespace mapi
{

namespace
{

FileDescriptor openDirectory(int parent, const std::string &name, int flags = 0)
{
    return FileDescriptor(
        ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | flags));
}

// Removes a directory and what is in it, never through a link. `depth` ends what cannot be ours.
void removeTree(int parent, const std::string &name, int depth) noexcept
{
    if (depth > 0) {
        const FileDescriptor directory = openDirectory(parent, name);
        if (directory.isOpen()) {
            for (const std::string &entry : entriesOf(directory.get())) {
                if (::unlinkat(directory.get(), entry.c_str(), 0) != 0)
                    removeTree(directory.get(), entry, depth - 1);
            }
        }
    }
    ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

// The mail's directory, the attachment's, the file.
constexpr int treeDepth = 2;

Failure writeFailure(const std::string &name, int error)
{
    Failure failure = systemFailure("create", name, error);
    return failure.code() == MAPI_E_FAILURE ? Failure(MAPI_E_ATTACHMENT_WRITE_FAILURE, failure.what())
                                            : failure;
}

}

StagedMail::StagedMail(const std::string &directory)
{
    makeDirectories(directory);
    m_base = FileDescriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {
    };
    if (!m_base.isOpen() || ::fstat(m_base.get(), &status) != 0)
        throw systemFailure("open", directory, errno);
    // Whoever owns it could put other files in the place of ours.
    if (status.st_uid != ::geteuid())
        throw Failure(MAPI_E_ACCESS_DENIED, directory + " belongs to somebody else");

    m_name = uniqueName();
    m_path = directory + "/" + m_name;
    if (!createPrivateDirectory(m_base.get(), m_name))
        throw systemFailure("mkdir", m_path, errno);
    m_handle = openDirectory(m_base.get(), m_name);
    if (!m_handle.isOpen()) {
        const int error = errno;
        ::unlinkat(m_base.get(), m_name.c_str(), AT_REMOVEDIR);
        throw systemFailure("open", m_path, error);
    }
}

StagedMail::~StagedMail()
{
    if (!m_kept)
        removeTree(m_base.get(), m_name, treeDepth);
}

std::string StagedMail::addFile(const Attachment &attachment)
{
    // Each in a directory of its own: two may have the same name.
    const std::string number = std::to_string(++m_files);
    if (!createPrivateDirectory(m_handle.get(), number))
        throw systemFailure("mkdir", m_path + "/" + number, errno);
    const FileDescriptor directory = openDirectory(m_handle.get(), number);
    if (!directory.isOpen())
        throw systemFailure("open", m_path + "/" + number, errno);
    const FileDescriptor file = createPrivateFile(directory.get(), attachment.name());
    if (!file.isOpen())
        throw writeFailure(attachment.name(), errno);

    AttachmentSource source(attachment);
    FileSink sink(file.get());
    std::array<char, 65536> buffer{};
    while (!source.atEnd()) {
        const ssize_t got = source.read(buffer.data(), buffer.size());
        if (got > 0 && !sink.write(buffer.data(), static_cast<std::size_t>(got)))
            break;
    }
    if (!sink.flush())
        throw writeFailure(attachment.name(), sink.error());
    source.throwIfIncomplete();
    return m_path + "/" + number + "/" + attachment.name();
}

std::string StagedMail::addDraft(const Mail &mail)
{
    const std::string name = "mail.eml";
    const FileDescriptor file = createPrivateFile(m_handle.get(), name);
    if (!file.isOpen())
        throw systemFailure("create", m_path + "/" + name, errno);
    FileSink sink(file.get());
    writeMime(mail, {.draft = true, .lineEnd = LineEnd::Dos}, sink);
    return m_path + "/" + name;
}

void StagedMail::removeStale(const std::string &directory) noexcept
{
    const FileDescriptor base(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!base.isOpen())
        return;
    const time_t limit = ::time(nullptr) - static_cast<time_t>(staleAge.count());
    for (const std::string &name : entriesOf(base.get())) {
        struct stat status {
        };
        if (isUniqueName(name) && ::fstatat(base.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() && status.st_mtim.tv_sec <= limit)
            removeTree(base.get(), name, treeDepth);
    }
}

}
