#include "recorderplatform.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <sys/stat.h>

namespace recorder
{

namespace
{

std::string utf8FromUtf16(const char16_t *text)
{
    std::string utf8;
    while (*text != 0) {
        char32_t codePoint = *text++;
        if (codePoint >= 0xD800 && codePoint <= 0xDBFF && *text >= 0xDC00 && *text <= 0xDFFF)
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10U) + (char32_t(*text++) - 0xDC00);
        if (codePoint < 0x80) {
            utf8 += static_cast<char>(codePoint);
            continue;
        }
        const unsigned int following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
        static constexpr std::array<unsigned int, 4> leads{0x00, 0xC0, 0xE0, 0xF0};
        utf8 += static_cast<char>(leads[following] | (codePoint >> (6 * following)));
        for (unsigned int left = following; left > 0; --left)
            utf8 += static_cast<char>(0x80U | ((codePoint >> (6 * (left - 1))) & 0x3FU));
    }
    return utf8;
}

}

std::string environmentVariable(const char *name, bool &isSet)
{
    const char *value = std::getenv(name);
    isSet = value != nullptr;
    return isSet ? value : "";
}

bool appendToFile(const std::string &fileName, const std::string &data)
{
    std::FILE *file = std::fopen(fileName.c_str(), "ab");
    if (file == nullptr)
        return false;
    const bool written = std::fwrite(data.data(), 1, data.size(), file) == data.size();
    return std::fclose(file) == 0 && written;
}

std::string libraryFileName()
{
    Dl_info info{};
    return dladdr(reinterpret_cast<const void *>(&libraryFileName), &info) != 0 ? info.dli_fname : "";
}

FileState fileState(const char *path)
{
    std::string slashed = path;
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    struct stat status {
    };
    if (stat(slashed.c_str(), &status) != 0)
        return {};
    return {true, static_cast<std::uint64_t>(status.st_size)};
}

FileState fileState(const WCHAR *path)
{
    return fileState(utf8FromUtf16(path).c_str());
}

}
