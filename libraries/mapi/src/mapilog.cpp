#include "mapilog.h"

#include "environment.h"
#include "filedescriptor.h"
#include "privatefiles.h"

#include <glib.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <exception>

#include <fcntl.h>

namespace mapi
{

namespace
{

std::string timeStamp()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    struct tm utc {
    };
    gmtime_r(&now.tv_sec, &utc);
    std::array<char, 32> seconds{};
    strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 80> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%s.%03ldZ [%d] ", seconds.data(),
                  static_cast<long>(now.tv_nsec / 1000000), static_cast<int>(::getpid()));
    return stamp.data();
}

std::string harmless(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out;
    unsigned char before = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        // The second half of a control character above ASCII, too.
        if (byte < 0x20 || byte == 0x7F || (before == 0xC2 && byte >= 0x80 && byte <= 0x9F))
            out.append({'\\', 'x', digits[byte >> 4], digits[byte & 0xF]});
        else
            out.push_back(c);
        before = byte;
    }
    return out;
}

void append(std::string_view line)
{
    const std::string path = environmentVariable("OSTRELLE_MAPI_LOG").value_or(std::string());
    if (path.empty() || path.front() != '/')
        return;
    const FileDescriptor file(::open(
        path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, privateFileMode));
    // One call per line: other processes write to it too.
    if (file.isOpen())
        static_cast<void>(!::write(file.get(), line.data(), line.size()));
}

}

void logLine(std::string_view line) noexcept
{
    try {
        const std::string shown = harmless(line);
        g_log("ostrelle-mapi", G_LOG_LEVEL_DEBUG, "%s", shown.c_str());
        append(timeStamp() + shown + "\n");
    } catch (const std::exception &) {
        // Without memory there is nothing to write.
    }
}

std::string quotedList(const std::vector<std::string> &texts)
{
    std::string out;
    for (const std::string &text : texts)
        out.append(out.empty() ? "\"" : " \"").append(text).append("\"");
    return out;
}

}
