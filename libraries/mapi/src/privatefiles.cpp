#include "privatefiles.h"

#include "resultcodes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <new>
#include <random>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>

namespace mapi
{

namespace
{

struct DirectoryCloser {
    void operator()(DIR *directory) const noexcept { ::closedir(directory); }
};

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
        if (!createPrivateDirectory(AT_FDCWD, part) && errno != EEXIST) {
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

bool isUniqueName(const std::string &name) noexcept
{
    constexpr std::string_view pattern = "ddddddddTdddddd.ddddddZ-xxxxxxxxxxxxxxxx";
    return name.size() == pattern.size()
        && std::equal(name.begin(), name.end(), pattern.begin(), [](char c, char wanted) {
               const bool digit = c >= '0' && c <= '9';
               if (wanted == 'd')
                   return digit;
               return wanted == 'x' ? digit || (c >= 'a' && c <= 'f') : c == wanted;
           });
}

bool createPrivateDirectory(int directory, const std::string &name) noexcept
{
    if (::mkdirat(directory, name.c_str(), privateDirectoryMode) != 0)
        return false;
    // The umask may have taken bits that the owner needs. Not every file system knows modes.
    static_cast<void>(::fchmodat(directory, name.c_str(), privateDirectoryMode, 0));
    return true;
}

FileDescriptor createPrivateFile(int directory, const std::string &name) noexcept
{
    FileDescriptor file(::openat(directory, name.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, privateFileMode));
    if (file.isOpen()) // as above
        static_cast<void>(::fchmod(file.get(), privateFileMode));
    return file;
}

std::vector<std::string> entriesOf(int directory) noexcept
{
    std::vector<std::string> names;
    FileDescriptor readable(::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, DirectoryCloser> stream(readable.isOpen() ? ::fdopendir(readable.get())
                                                                         : nullptr);
    if (stream == nullptr)
        return names;
    static_cast<void>(readable.release()); // the stream closes it
    try {
        while (const dirent *entry
               = ::readdir(stream.get())) { // NOLINT(concurrency-mt-unsafe): a stream of our own
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..")
                names.emplace_back(name);
        }
    } catch (const std::bad_alloc &) {
        // What was read is what there is.
    }
    return names;
}

}
