#include "mapiplatform.h"

namespace
{

class WindowsMapiPlatform final : public MapiPlatform
{
public:
    LONG openKey(HKEY parent, const WCHAR *name, DWORD access, HKEY &key) override
    {
        key = nullptr;
        HKEY opened = nullptr;
        const LONG status = RegOpenKeyExW(parent, name, 0, access, &opened);
        if (status == ERROR_SUCCESS)
            key = opened;
        return status;
    }
    void closeKey(HKEY key) override { RegCloseKey(key); }
    LONG queryValue(HKEY key, const WCHAR *name, DWORD *type, void *data, DWORD &size) override
    {
        return RegQueryValueExW(key, name, nullptr, type, static_cast<BYTE *>(data), &size);
    }
    LONG enumerateValue(HKEY key, DWORD index, WCHAR *name, DWORD &nameLength, void *data,
                        DWORD &size) override
    {
        return RegEnumValueW(key, index, name, &nameLength, nullptr, nullptr, static_cast<BYTE *>(data),
                             data != nullptr ? &size : nullptr);
    }

    bool isModuleLoaded(const WCHAR *name) override { return GetModuleHandleW(name) != nullptr; }
    HMODULE loadLibrary(const WCHAR *name) override { return LoadLibraryW(name); }
    void *symbol(HMODULE library, const char *name) override
    {
        return reinterpret_cast<void *>(GetProcAddress(library, name));
    }
    void freeLibrary(HMODULE library) override { FreeLibrary(library); }

    bool fileExists(const char *name) override
    {
        OFSTRUCT information{};
        information.cBytes = sizeof(information);
        return OpenFile(name, &information, OF_EXIST) != -1;
    }
    DWORD systemDirectory(WCHAR *buffer, DWORD length) override
    {
        return GetSystemDirectoryW(buffer, length);
    }
    DWORD expandEnvironment(const WCHAR *text, WCHAR *buffer, DWORD length) override
    {
        return ExpandEnvironmentStringsW(text, buffer, length);
    }
    DWORD userLanguage() override { return GetUserDefaultLCID(); }
    DWORD systemLanguage() override { return GetSystemDefaultLCID(); }
    bool verifyVersionSuite(WORD suiteMask, DWORD typeMask, BYTE condition) override
    {
        OSVERSIONINFOEXW version{};
        version.dwOSVersionInfoSize = sizeof(version);
        version.wSuiteMask = suiteMask;
        return VerifyVersionInfoW(&version, typeMask, VerSetConditionMask(0, typeMask, condition)) != 0;
    }

    int wideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR *text, char *buffer, int size,
                            BOOL *usedDefault) override
    {
        return WideCharToMultiByte(codePage, flags, text, -1, buffer, size, nullptr, usedDefault);
    }
    DWORD shortPathName(const WCHAR *path, WCHAR *buffer, DWORD length) override
    {
        return GetShortPathNameW(path, buffer, length);
    }
    DWORD lastError() override { return GetLastError(); }

    void *allocate(std::size_t size) override { return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size); }
    void release(void *memory) override { HeapFree(GetProcessHeap(), 0, memory); }
};

}

MapiPlatform &systemMapiPlatform()
{
    static WindowsMapiPlatform platform;
    return platform;
}
