#include "mapiprovider.h"

#include "mapihandles.h"
#include "widetext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <span>

namespace
{

using WideView = std::basic_string_view<WCHAR>;

constexpr std::size_t pathUnits = 260; // MAX_PATH, with the terminating null
constexpr std::size_t clientNameUnits = 260;
constexpr std::size_t moduleNameUnits = 256;
constexpr std::size_t clientKeyUnits = 260;
constexpr std::size_t componentIdUnits = 40;
constexpr std::size_t qualifierUnits = 16;

// INSTALLMODE of msi.h; the installer is fetched at run time, so its header is not needed.
constexpr DWORD installModeExisting = 0xFFFFFFFF;
constexpr DWORD installModeDefault = 0;

constexpr DWORD englishLanguage = 1033;

// The bytes that a registry value may have so that a null still fits behind it in `units` code units.
constexpr DWORD textBytes(std::size_t units)
{
    return static_cast<DWORD>((units - 1) * sizeof(WCHAR));
}

constexpr const WCHAR *mailClientsKey()
{
    return "Software\\Clients\\Mail"_w;
}

bool equalsIgnoringCase(WideView left, WideView right)
{
    const auto folded = [](WCHAR unit) {
        const bool isUpper = unit >= WCHAR('A') && unit <= WCHAR('Z');
        return isUpper ? static_cast<WCHAR>(unit - WCHAR('A') + WCHAR('a')) : unit;
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [folded](WCHAR one, WCHAR other) { return folded(one) == folded(other); });
}

// Adds `text` to the null-terminated text in `buffer`. False, with nothing changed, if it does not fit.
bool appendText(std::span<WCHAR> buffer, WideView text)
{
    const auto end = std::find(buffer.begin(), buffer.end(), WCHAR(0));
    if (text.size() >= static_cast<std::size_t>(buffer.end() - end))
        return false;
    *std::copy(text.begin(), text.end(), end) = 0;
    return true;
}

// Adds `number` in decimal.
bool appendNumber(std::span<WCHAR> buffer, DWORD number)
{
    std::array<char, 20> digits{};
    const auto *const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    std::array<WCHAR, 20> wide{};
    std::copy(static_cast<const char *>(digits.data()), end, wide.begin());
    return appendText(buffer, WideView(wide.data()));
}

// Cuts the first text off a list of texts that each end with a null. Empty at the end of the list.
WideView takeText(WideView &list)
{
    const WideView text = list.substr(0, list.find(WCHAR(0)));
    list.remove_prefix(std::min(text.size() + 1, list.size()));
    return text;
}

// A value of type REG_DWORD; false if it is missing or of another type.
bool readNumber(MapiPlatform &platform, HKEY key, const WCHAR *name, DWORD &number)
{
    DWORD type = 0;
    DWORD size = sizeof(number);
    number = 0;
    return platform.queryValue(key, name, &type, &number, size) == ERROR_SUCCESS && type == REG_DWORD;
}

// A value of type REG_MULTI_SZ with the memory it lies in; empty if it was not read.
struct TextList {
    explicit TextList(MapiPlatform &platform) : memory(nullptr, MapiMemoryRelease{&platform}) { }

    [[nodiscard]] bool wasRead() const { return texts.data() != nullptr; }

    MapiMemory<WCHAR> memory;
    WideView texts; // a null stands right behind it
};

// Reads the value `name` if it is a list of texts. The result is the code of the last call to the registry,
// so a value of another type is no failure, and neither is a lack of memory.
LONG readTextList(MapiPlatform &platform, HKEY key, const WCHAR *name, TextList &list)
{
    DWORD type = 0;
    DWORD size = 0;
    LONG status = platform.queryValue(key, name, &type, nullptr, size);
    if (status != ERROR_SUCCESS || type != REG_MULTI_SZ)
        return status;
    list.memory
        = MapiMemory<WCHAR>(static_cast<WCHAR *>(platform.allocate(std::size_t{size} + sizeof(WCHAR))),
                            MapiMemoryRelease{&platform});
    if (list.memory == nullptr)
        return status;
    const std::size_t units = size / sizeof(WCHAR);
    list.memory[units] = 0;
    status = platform.queryValue(key, name, nullptr, list.memory.get(), size);
    list.memory[units] = 0; // half a code unit of a value with an odd count of bytes
    if (status == ERROR_SUCCESS)
        list.texts = WideView(list.memory.get(), units);
    return status;
}

// The key `name` below `prefix` in the user's hive; nothing if there is none, or no memory for its name.
void openUserKey(MapiPlatform &platform, WideView prefix, WideView name, MapiMemory<WCHAR> &memory,
                 MapiRegistryKey &key)
{
    const std::size_t units = prefix.size() + name.size() + 1;
    memory = allocateMapiMemory<WCHAR>(platform, units);
    if (memory == nullptr)
        return;
    std::copy(name.begin(), name.end(), std::copy(prefix.begin(), prefix.end(), memory.get()));
    static_cast<void>(platform.openKey(HKEY_CURRENT_USER, memory.get(), KEY_READ, key.out()));
}

// Tries the languages that the values `names` of the key `keyName` tell. An administrator's policy wins over
// the user's own setting.
bool provideInListedLanguages(MapiPlatform &platform, HMODULE msiModule, const WCHAR *componentId,
                              WideView keyName, WideView names, WCHAR *path, DWORD pathLength,
                              bool mayInstall)
{
    MapiMemory<WCHAR> policyName(nullptr, MapiMemoryRelease{&platform});
    MapiMemory<WCHAR> userName(nullptr, MapiMemoryRelease{&platform});
    MapiRegistryKey userKey(platform);
    MapiRegistryKey policyKey(platform);
    openUserKey(platform, "Software\\Policy\\"_w, keyName, policyName, policyKey);
    openUserKey(platform, "Software\\"_w, keyName, userName, userKey);

    bool provided = false;
    for (WideView name = takeText(names); !provided && !name.empty(); name = takeText(names)) {
        DWORD lcid = 0;
        const auto isIn = [&](HKEY key) {
            return key != nullptr && readNumber(platform, key, name.data(), lcid);
        };
        if (isIn(policyKey.get()) || isIn(userKey.get())) {
            DWORD length = pathLength;
            provided
                = provideQualifiedComponent(platform, msiModule, componentId, lcid, path, length, mayInstall);
        }
    }
    return provided;
}

// Reads the plain path of the client's library; empty if there is none that fits.
void readLibraryPath(MapiPlatform &platform, HKEY key, std::span<WCHAR> path)
{
    std::fill(path.begin(), path.end(), WCHAR(0));
    DWORD type = 0;
    DWORD size = textBytes(path.size());
    if (platform.queryValue(key, "DLLPath"_w, &type, path.data(), size) != ERROR_SUCCESS) {
        path.front() = 0;
        return;
    }
    path.back() = 0;
    if (type != REG_EXPAND_SZ)
        return;
    std::array<WCHAR, pathUnits> expanded{};
    const DWORD length = platform.expandEnvironment(path.data(), expanded.data(), pathUnits);
    expanded.back() = 0;
    path.front() = 0;
    if (length >= 1 && length < pathUnits && !appendText(path, WideView(expanded.data())))
        path.front() = 0;
}

// The way over Windows Installer; `application` and `office` get the client's lists of languages. True if
// it gave an answer that is final, `path` may be empty then.
bool findInstalledPath(MapiPlatform &platform, HKEY key, TextList &application, TextList &office,
                       std::span<WCHAR> path, bool installOnTerminalServer)
{
    const auto pathLength = static_cast<DWORD>(path.size());
    if (readTextList(platform, key, "MSIApplicationLCID"_w, application) != ERROR_SUCCESS
        || readTextList(platform, key, "MSIOfficeLCID"_w, office) != ERROR_SUCCESS)
        return false;

    std::array<WCHAR, componentIdUnits> componentId{};
    DWORD type = 0;
    DWORD size = textBytes(componentId.size());
    if (platform.queryValue(key, "MSIComponentID"_w, &type, componentId.data(), size) != ERROR_SUCCESS
        || type != REG_SZ)
        return false;

    const bool mayInstall = installOnTerminalServer || !isTerminalServer(platform);
    for (const TextList *languages : {&application, &office}) {
        if (languages->wasRead()
            && provideProviderPath(platform, componentId.data(), languages->texts, path.data(), pathLength,
                                   mayInstall))
            return true;
    }
    return provideProviderPath(platform, componentId.data(), {}, path.data(), pathLength, mayInstall);
}

// The fixed name in the system directory. It counts only where the system has the messaging subsystem that
// it belongs to: its setup file is found, or a module of a listed client is loaded.
bool findSystemPath(MapiPlatform &platform, std::span<WCHAR> path)
{
    if (!platform.fileExists("mapisvc.inf") && !isListedModuleLoaded(platform, nullptr, 0))
        return false;
    const DWORD length = platform.systemDirectory(path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length >= path.size())
        return false;
    path.back() = 0;
    return appendText(path, "\\mapi32x.dll"_w);
}

}

void *loadMapiProvider(MapiPlatform &platform, bool &useUtf8)
{
    std::array<WCHAR, pathUnits> path{};
    useUtf8 = false;
    if (!findProviderPath(platform, HKEY_CURRENT_USER, path.data(), pathUnits, useUtf8)
        && !findProviderPath(platform, HKEY_LOCAL_MACHINE, path.data(), pathUnits, useUtf8))
        appendText(path, "mapi32x.dll"_w);

    // The system library is the one that lacks the entry.
    if (equalsIgnoringCase(path.data(), "mapi32.dll"_w))
        return nullptr;
    if (equalsIgnoringCase(path.data(), "mapi32x.dll"_w) && !findSystemPath(platform, path))
        return nullptr;
    return platform.loadLibrary(path.data());
}

bool findProviderPath(MapiPlatform &platform, HKEY hive, WCHAR *path, DWORD pathLength, bool &useUtf8)
{
    path[0] = 0;
    useUtf8 = false;
    MapiRegistryKey key(platform);
    if (openMailClientKey(platform, hive, key.out()) != ERROR_SUCCESS)
        return false;

    DWORD number = 0;
    useUtf8 = readNumber(platform, key.get(), "SupportUTF8"_w, number) && number != 0;
    const bool installOnTerminalServer
        = !readNumber(platform, key.get(), "MSIInstallOnWTS"_w, number) || number != 0;

    const std::span<WCHAR> buffer(path, pathLength);
    TextList application(platform);
    TextList office(platform);
    if (!findInstalledPath(platform, key.get(), application, office, buffer, installOnTerminalServer))
        readLibraryPath(platform, key.get(), buffer);
    return path[0] != 0;
}

LONG openMailClientKey(MapiPlatform &platform, HKEY hive, HKEY &result)
{
    result = nullptr;
    MapiRegistryKey clients(platform);
    LONG status = platform.openKey(hive, mailClientsKey(), KEY_READ, clients.out());
    if (status != ERROR_SUCCESS)
        return status;

    std::array<WCHAR, clientNameUnits> client{};
    if (isListedModuleLoaded(platform, client.data(), clientNameUnits)) {
        if (client.front() == 0)
            return ERROR_PATH_NOT_FOUND;
    } else {
        client.fill(0);
        DWORD size = textBytes(client.size());
        status = platform.queryValue(clients.get(), nullptr, nullptr, client.data(), size);
        if (status != ERROR_SUCCESS)
            return status;
    }

    status = platform.openKey(clients.get(), client.data(), KEY_READ, result);
    if (status != ERROR_SUCCESS && hive == HKEY_CURRENT_USER) {
        std::array<WCHAR, clientKeyUnits> machineKey{};
        if (appendText(machineKey, mailClientsKey()) && appendText(machineKey, "\\"_w)
            && appendText(machineKey, client.data()))
            status = platform.openKey(HKEY_LOCAL_MACHINE, machineKey.data(), KEY_READ, result);
    }
    return status;
}

bool isListedModuleLoaded(MapiPlatform &platform, WCHAR *clientName, DWORD clientNameLength)
{
    MapiRegistryKey modules(platform);
    if (platform.openKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\MSMapiApps"_w,
                         KEY_READ, modules.out())
        != ERROR_SUCCESS)
        return false;

    const std::span<WCHAR> client(clientName, clientName != nullptr ? clientNameLength : 0);
    for (DWORD index = 0;; ++index) {
        std::array<WCHAR, moduleNameUnits> module{};
        DWORD moduleLength = moduleNameUnits;
        // Also what an earlier value left: this one may lack its terminating null.
        std::fill(client.begin(), client.end(), WCHAR(0));
        DWORD size = client.empty() ? 0 : textBytes(client.size());
        if (platform.enumerateValue(modules.get(), index, module.data(), moduleLength,
                                    client.empty() ? nullptr : client.data(), size)
            != ERROR_SUCCESS)
            return false;
        if (platform.isModuleLoaded(module.data()))
            return true;
    }
}

bool provideProviderPath(MapiPlatform &platform, const WCHAR *componentId,
                         std::basic_string_view<WCHAR> lcidValue, WCHAR *path, DWORD pathLength,
                         bool mayInstall)
{
    path[0] = 0;
    const MapiLibrary msi(platform, platform.loadLibrary("MSI.DLL"_w));
    if (msi.get() == nullptr)
        return false;

    const WideView keyName = takeText(lcidValue);
    if (!keyName.empty())
        return provideInListedLanguages(platform, msi.get(), componentId, keyName, lcidValue, path,
                                        pathLength, mayInstall);

    const auto provideIn = [&](DWORD lcid) {
        DWORD length = pathLength;
        return provideQualifiedComponent(platform, msi.get(), componentId, lcid, path, length, mayInstall);
    };
    return provideIn(platform.userLanguage()) || provideIn(platform.systemLanguage())
        || provideIn(englishLanguage);
}

bool provideQualifiedComponent(MapiPlatform &platform, HMODULE msiModule, const WCHAR *componentId,
                               DWORD lcid, WCHAR *path, DWORD &pathLength, bool mayInstall)
{
    const auto provide = reinterpret_cast<MsiProvideQualifiedComponentFunction>(
        platform.symbol(msiModule, "MsiProvideQualifiedComponentW"));
    if (provide == nullptr)
        return false;

    const DWORD room = pathLength;
    std::array<WCHAR, qualifierUnits> qualifier{};
    const auto ask = [&](DWORD installMode) {
        pathLength = room;
        const auto status
            = static_cast<LONG>(provide(componentId, qualifier.data(), installMode, path, &pathLength));
        path[room - 1] = 0;
        return status;
    };

    path[0] = 0;
    appendNumber(qualifier, lcid);
    appendText(qualifier, "\\NT"_w);
    LONG status = ask(installModeExisting);
    if (status == ERROR_FILE_NOT_FOUND && mayInstall) {
        status = ask(installModeDefault);
    } else if (status == ERROR_FILE_NOT_FOUND || status == ERROR_UNKNOWN_COMPONENT) {
        qualifier.fill(0);
        appendNumber(qualifier, lcid);
        status = ask(installModeExisting);
        if (status == ERROR_FILE_NOT_FOUND && mayInstall)
            status = ask(installModeDefault);
    }
    return status != ERROR_UNKNOWN_COMPONENT;
}

bool isTerminalServer(MapiPlatform &platform)
{
    return platform.verifyVersionSuite(VER_SUITE_TERMINAL, VER_SUITENAME, VER_AND);
}
