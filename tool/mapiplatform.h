#pragma once

#include "mapiplatformtypes.h"

#include <cstddef>

// The port of the way to a Simple MAPI provider: every call that leaves the tool on that way, so that the
// search and the conversion are plain logic and a scripted double can stand for the whole system.
//
// The methods are the system calls they name, with the same arguments, limits and results; texts are
// null-terminated. Registry data are bytes of any length: nothing promises a terminating null or an even
// count. Nothing is cached and nothing throws. Main thread.
class MapiPlatform
{
public:
    MapiPlatform() = default;
    virtual ~MapiPlatform() = default;
    MapiPlatform(const MapiPlatform &) = delete;
    MapiPlatform &operator=(const MapiPlatform &) = delete;
    MapiPlatform(MapiPlatform &&) = delete;
    MapiPlatform &operator=(MapiPlatform &&) = delete;

    // RegOpenKeyExW: opens `name` below `parent`. The result is a system error code; with 0 the caller
    // owns `key`, otherwise it is null.
    [[nodiscard]] virtual LONG openKey(HKEY parent, const WCHAR *name, DWORD access, HKEY &key) = 0;

    // RegCloseKey.
    virtual void closeKey(HKEY key) = 0;

    // RegQueryValueExW: one value; a null `name` is the key's default value. `type` gets the type, and may
    // be null. `size` is in bytes, the room at `data` before and the length of the value after; without
    // `data` only type and length are told. A system error code, 234 (ERROR_MORE_DATA) without room.
    [[nodiscard]] virtual LONG queryValue(HKEY key, const WCHAR *name, DWORD *type, void *data, DWORD &size)
        = 0;

    // RegEnumValueW: the value number `index`. `nameLength` is in code units, with the terminating null
    // before and without it after. `data` may be null, then `size` means nothing; otherwise it is as in
    // queryValue. A system error code, 259 (ERROR_NO_MORE_ITEMS) behind the last value.
    [[nodiscard]] virtual LONG enumerateValue(HKEY key, DWORD index, WCHAR *name, DWORD &nameLength,
                                              void *data, DWORD &size)
        = 0;

    // GetModuleHandleW: whether a module of this name is loaded in the process. Loads nothing.
    [[nodiscard]] virtual bool isModuleLoaded(const WCHAR *name) = 0;

    // LoadLibraryW: null if it cannot be loaded. The caller owns one reference.
    [[nodiscard]] virtual HMODULE loadLibrary(const WCHAR *name) = 0;

    // GetProcAddress: null if the library has no such export.
    [[nodiscard]] virtual void *symbol(HMODULE library, const char *name) = 0;

    // FreeLibrary: gives back one reference.
    virtual void freeLibrary(HMODULE library) = 0;

    // OpenFile with OF_EXIST: whether a file of this name is on the system's search path.
    [[nodiscard]] virtual bool fileExists(const char *name) = 0;

    // GetSystemDirectoryW: the code units written without the terminating null; the length needed with it
    // if `length` is too small; 0 on failure.
    [[nodiscard]] virtual DWORD systemDirectory(WCHAR *buffer, DWORD length) = 0;

    // ExpandEnvironmentStringsW: the code units of the result with the terminating null, more than
    // `length` if there was no room; 0 on failure.
    [[nodiscard]] virtual DWORD expandEnvironment(const WCHAR *text, WCHAR *buffer, DWORD length) = 0;

    // GetUserDefaultLCID and GetSystemDefaultLCID.
    [[nodiscard]] virtual DWORD userLanguage() = 0;
    [[nodiscard]] virtual DWORD systemLanguage() = 0;

    // VerifyVersionInfoW for a structure that has only `suiteMask`, with a condition mask that
    // VerSetConditionMask made of `typeMask` and `condition`: whether the system passes.
    [[nodiscard]] virtual bool verifyVersionSuite(WORD suiteMask, DWORD typeMask, BYTE condition) = 0;

    // WideCharToMultiByte of `text` up to and with its terminating null: the bytes written, or needed if
    // `size` is 0; 0 on failure, see lastError. `usedDefault` tells whether a character had no form in
    // the code page; it has to be null for CP_UTF8.
    [[nodiscard]] virtual int wideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR *text, char *buffer,
                                                  int size, BOOL *usedDefault)
        = 0;

    // GetShortPathNameW: counts as systemDirectory does; 0 on failure, see lastError.
    [[nodiscard]] virtual DWORD shortPathName(const WCHAR *path, WCHAR *buffer, DWORD length) = 0;

    // GetLastError: the reason why the last of the two calls above failed.
    [[nodiscard]] virtual DWORD lastError() = 0;

    // HeapAlloc from the process heap, zeroed and aligned for every type; null without memory.
    [[nodiscard]] virtual void *allocate(std::size_t size) = 0;

    // HeapFree. Null is allowed and does nothing.
    virtual void release(void *memory) = 0;
};

// The system's own calls.
//
// Linux has a counterpart for the libraries (platform/library.h), for the heap and for the conversion of
// texts: CP_UTF8 with WC_ERR_INVALID_CHARS fails with ERROR_NO_UNICODE_TRANSLATION at an unpaired
// surrogate, and CP_ACP is the locale's encoding as Qt has it, that is the encoding of file names. There
// is no registry (ERROR_FILE_NOT_FOUND), no loaded module that a registry could list, no search path for
// fileExists, no system directory and no expansion (0), no language identifier (0), no terminal server,
// and no short path (ERROR_NOT_SUPPORTED): what a system without mail clients in its registry answers.
[[nodiscard]] MapiPlatform &systemMapiPlatform();
