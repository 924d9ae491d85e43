#pragma once

#include "mapiplatform.h"

#include <string_view>

// The search for the library of the user's mail client, for a system library of Simple MAPI that has no
// wide entry: from the client's registry key, over the components of Windows Installer, to a fixed name in
// the system directory.
//
// Every failure falls through to the next source; nothing is reported and nothing is kept between calls.
// What the registry holds is not trusted: a value may lack its terminating null, end in half a code unit
// or be cut off. Everything opened is closed before a function returns. Main thread.

// The search. The result is the loaded module, owned by the caller, or null. `useUtf8` is set if the key
// that the last pass over the registry looked at says that the client's narrow entry takes UTF-8.
[[nodiscard]] void *loadMapiProvider(MapiPlatform &platform, bool &useUtf8);

// One pass over one registry hive. `path` has room for `pathLength` code units, at least one, and always
// ends with a null afterwards. True if it is not empty.
//
// The installer is asked only for a client that has both "MSIApplicationLCID" and "MSIOfficeLCID", and
// when it answered anything but "unknown component" its path is final, even an empty one: "DLLPath" is
// then not looked at.
[[nodiscard]] bool findProviderPath(MapiPlatform &platform, HKEY hive, WCHAR *path, DWORD pathLength,
                                    bool &useUtf8);

// Opens the key of the mail client: the one whose module is loaded in this process, otherwise the default
// client of the hive. A user's client that is registered only for the machine is found there. The result is
// a system error code; with 0 the caller closes `result`, otherwise it is null.
[[nodiscard]] LONG openMailClientKey(MapiPlatform &platform, HKEY hive, HKEY &result);

// Whether a module that the list "MSMapiApps" names is loaded in this process; its client's name goes to
// `clientName`, which has room for `clientNameLength` code units and ends with a null afterwards. Without
// a buffer, or with a length of 0, only the answer is given. A client's name that does not fit ends the
// search.
[[nodiscard]] bool isListedModuleLoaded(MapiPlatform &platform, WCHAR *clientName, DWORD clientNameLength);

// Asks Windows Installer for the library of the category `componentId`, with one source of languages:
// `lcidValue` is a list of texts that each end with a null, as in REG_MULTI_SZ, and a null has to stand
// right behind it. Its first text names a key, the others values in that key with a language identifier
// each. A null or empty list stands for the languages of user and system and for English. `path` is as in
// findProviderPath. With `mayInstall` false nothing is ever installed. True if a language succeeded.
[[nodiscard]] bool provideProviderPath(MapiPlatform &platform, const WCHAR *componentId,
                                       std::basic_string_view<WCHAR> lcidValue, WCHAR *path, DWORD pathLength,
                                       bool mayInstall);

// Asks for one language. `pathLength` is the room at `path` before and what the installer made of it after.
// Only ERROR_UNKNOWN_COMPONENT counts as failure: any other answer, a missing file included, is a true
// result, with whatever is in `path`.
[[nodiscard]] bool provideQualifiedComponent(MapiPlatform &platform, HMODULE msiModule,
                                             const WCHAR *componentId, DWORD lcid, WCHAR *path,
                                             DWORD &pathLength, bool mayInstall);

// Whether the system has the terminal server suite.
[[nodiscard]] bool isTerminalServer(MapiPlatform &platform);
