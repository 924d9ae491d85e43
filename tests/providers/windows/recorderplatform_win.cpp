#include "recorderplatform.h"

#include <windows.h>

namespace recorder
{

namespace
{

std::wstring utf16FromUtf8(const std::string &text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

std::string utf8FromUtf16(const std::wstring &text)
{
    const int size = static_cast<int>(text.size());
    std::string utf8(text.size() * 3, '\0');
    utf8.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, text.data(), size, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr)));
    return utf8;
}

FileState stateFromAttributes(bool found, const WIN32_FILE_ATTRIBUTE_DATA &data)
{
    if (!found)
        return {};
    return {true, (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32U) | data.nFileSizeLow};
}

}

std::string environmentVariable(const char *name, bool &isSet)
{
    const std::wstring wideName = utf16FromUtf8(name);
    SetLastError(ERROR_SUCCESS);
    const DWORD size = GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
    isSet = size > 0 || GetLastError() != ERROR_ENVVAR_NOT_FOUND;
    std::wstring value(size, L'\0');
    value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), size));
    return utf8FromUtf16(value);
}

bool appendToFile(const std::string &fileName, const std::string &data)
{
    const HANDLE file = CreateFileW(utf16FromUtf8(fileName).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const bool done = WriteFile(file, data.data(), static_cast<DWORD>(data.size()), &written, nullptr) != 0;
    return CloseHandle(file) != 0 && done && written == data.size();
}

std::string libraryFileName()
{
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&libraryFileName), &module) == 0)
        return {};
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
    return utf8FromUtf16(name);
}

FileState fileState(const char *path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    const bool found = GetFileAttributesExA(path, GetFileExInfoStandard, &data) != 0;
    return stateFromAttributes(found, data);
}

FileState fileState(const WCHAR *path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    const bool found = GetFileAttributesExW(path, GetFileExInfoStandard, &data) != 0;
    return stateFromAttributes(found, data);
}

}
