#include "outbox.h"

#include "environment.h"
#include "privatefiles.h"
#include "resultcodes.h"

#include <cerrno>
#include <ctime>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace mapi
{

namespace
{

constexpr std::string_view partPrefix = ".ostrelle-";
constexpr std::string_view partSuffix = ".part";
constexpr std::string_view mailSuffix = ".eml";

// With 64 random bits in a name one attempt is enough, unless the random numbers are broken.
constexpr int attempts = 8;

bool isPart(std::string_view name)
{
    return name.size() > partPrefix.size() + partSuffix.size()
        && name.substr(0, partPrefix.size()) == partPrefix
        && name.substr(name.size() - partSuffix.size()) == partSuffix;
}

// Gives the file its final name without ever replacing another. True when it has it, false when the name
// is taken.
bool publish(int directory, const std::string &part, const std::string &name)
{
    if (::renameat2(directory, part.c_str(), directory, name.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EINVAL || errno == ENOSYS) {
        // A file system without that kind of renaming: a second name, then the first one goes.
        if (::linkat(directory, part.c_str(), directory, name.c_str(), 0) == 0) {
            ::unlinkat(directory, part.c_str(), 0);
            return true;
        }
    }
    if (errno == EEXIST)
        return false;
    throw systemFailure("rename", name, errno);
}

// The unfinished file; gone at the end of the scope unless it was published.
class PartFile
{
public:
    PartFile(int directory, std::string name) : m_directory(directory), m_name(std::move(name))
    {
        m_file = createPrivateFile(directory, m_name);
        if (!m_file.isOpen())
            throw systemFailure("create", m_name, errno);
    }
    ~PartFile()
    {
        if (!m_published)
            ::unlinkat(m_directory, m_name.c_str(), 0);
    }
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    [[nodiscard]] int descriptor() const { return m_file.get(); }

    void sync() const
    {
        if (::fsync(m_file.get()) != 0)
            throw systemFailure("fsync", m_name, errno);
    }

    bool publishAs(const std::string &name)
    {
        m_published = publish(m_directory, m_name, name);
        return m_published;
    }

private:
    int m_directory;
    std::string m_name;
    FileDescriptor m_file;
    bool m_published = false;
};

}

std::string Outbox::defaultDirectory(const std::string &configured)
{
    std::string directory = environmentVariable("OSTRELLE_OUTBOX").value_or(std::string());
    if (directory.empty())
        directory = configured;
    if (directory.empty())
        return userDataDirectory() + "/ostrelle/outbox";
    if (directory.front() != '/')
        throw Failure(MAPI_E_FAILURE, "the outbox is not an absolute path: " + directory);
    return directory;
}

Outbox::Outbox(std::string directory) : m_directory(std::move(directory))
{
    makeDirectories(m_directory);
    m_handle = FileDescriptor(::open(m_directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_handle.isOpen())
        throw systemFailure("open", m_directory, errno);
}

std::string Outbox::store(const std::function<void(FileSink &)> &write)
{
    removeLeftovers(leftoverAge);

    std::string name = uniqueName();
    PartFile part(m_handle.get(), std::string(partPrefix).append(name).append(partSuffix));
    FileSink sink(part.descriptor());
    write(sink);
    if (!sink.flush())
        throw systemFailure("write", m_directory, sink.error());
    part.sync();

    for (int i = 0; !part.publishAs(name + std::string(mailSuffix)); ++i) {
        if (i == attempts)
            throw systemFailure("rename", name, EEXIST);
        name = uniqueName();
    }
    // The name itself reaches the disk too, where the directory may be read; the mail is there either way.
    const FileDescriptor readable(::open(m_directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable.isOpen())
        static_cast<void>(::fsync(readable.get()));
    return m_directory + "/" + name + std::string(mailSuffix);
}

void Outbox::removeLeftovers(std::chrono::seconds age) noexcept
{
    const time_t limit = ::time(nullptr) - static_cast<time_t>(age.count());
    for (const std::string &name : entriesOf(m_handle.get())) {
        struct stat status {
        };
        if (isPart(name) && ::fstatat(m_handle.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_mtim.tv_sec <= limit)
            ::unlinkat(m_handle.get(), name.c_str(), 0);
    }
}

}
