#include "outbox.h"

#include "environment.h"
#include "resultcodes.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
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
constexpr mode_t directoryMode = 0700;
constexpr mode_t fileMode = 0600;

// With 64 random bits in a name one attempt is enough, unless the random numbers are broken.
constexpr int attempts = 8;

bool isPart(std::string_view name)
{
    return name.size() > partPrefix.size() + partSuffix.size()
        && name.substr(0, partPrefix.size()) == partPrefix
        && name.substr(name.size() - partSuffix.size()) == partSuffix;
}

std::string uniqueName()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    struct tm utc {
    };
    gmtime_r(&now.tv_sec, &utc);
    std::array<char, 32> seconds{};
    strftime(seconds.data(), seconds.size(), "%Y%m%dT%H%M%S", &utc);

    std::random_device random;
    const std::uint64_t tail = (std::uint64_t(random()) << 32) | random();
    std::array<char, 80> name{};
    std::snprintf(name.data(), name.size(), "%s.%06ldZ-%016llx", seconds.data(),
                  static_cast<long>(now.tv_nsec / 1000), static_cast<unsigned long long>(tail));
    return name.data();
}

void makeDirectories(const std::string &directory)
{
    for (std::size_t end = directory.find('/', 1);; end = directory.find('/', end + 1)) {
        const std::string part = directory.substr(0, end);
        if (::mkdir(part.c_str(), directoryMode) != 0 && errno != EEXIST) {
            // On some file systems an existing directory may answer otherwise; opening it is the judge.
            const int error = errno;
            struct stat status {
            };
            if (::stat(part.c_str(), &status) != 0)
                throw systemFailure("mkdir", part, error);
        }
        if (end == std::string::npos)
            return;
    }
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

struct DirectoryCloser {
    void operator()(DIR *directory) const noexcept { ::closedir(directory); }
};

// The unfinished file; gone at the end of the scope unless it was published.
class PartFile
{
public:
    PartFile(int directory, std::string name) : m_directory(directory), m_name(std::move(name))
    {
        m_file = FileDescriptor(::openat(directory, m_name.c_str(),
                                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, fileMode));
        if (!m_file.isOpen())
            throw systemFailure("create", m_name, errno);
        // The umask may have taken bits that the owner needs. Not every file system knows modes.
        static_cast<void>(::fchmod(m_file.get(), fileMode));
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

std::string Outbox::defaultDirectory()
{
    const std::string configured = environmentVariable("OSTRELLE_OUTBOX").value_or(std::string());
    if (configured.empty())
        return userDataDirectory() + "/ostrelle/outbox";
    if (configured.front() != '/')
        throw Failure(MAPI_E_FAILURE, "OSTRELLE_OUTBOX is not an absolute path: " + configured);
    return configured;
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
    FileDescriptor readable(::open(m_directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, DirectoryCloser> directory(readable.isOpen() ? ::fdopendir(readable.get())
                                                                            : nullptr);
    if (directory == nullptr)
        return;
    static_cast<void>(readable.release()); // the stream closes it
    const time_t limit = ::time(nullptr) - static_cast<time_t>(age.count());
    while (const dirent *entry
           = ::readdir(directory.get())) { // NOLINT(concurrency-mt-unsafe): a stream of our own
        struct stat status {
        };
        if (isPart(entry->d_name)
            && ::fstatat(m_handle.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_mtim.tv_sec <= limit)
            ::unlinkat(m_handle.get(), entry->d_name, 0);
    }
}

}
