#include "platform/stackwalker_p.h"

#include "platform/library.h"
#include "platform/runguarded.h"
#include "platform/symbolname.h"
#include "platform/windows/faultcontext_win.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include <dbghelp.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

constexpr DWORD symbolOptions = SYMOPT_UNDNAME | SYMOPT_DEFERRED_LOADS | SYMOPT_LOAD_LINES;
constexpr DWORD longestSymbol = 1024;
constexpr std::size_t longestSearchPath = 600;
constexpr std::size_t longestModulePath = 260;

// The entries of dbghelp.dll, which is only loaded when there is a stack to walk.
struct DebugHelp {
    decltype(&::ImagehlpApiVersion) apiVersion = nullptr;
    decltype(&::SymSetOptions) setOptions = nullptr;
    decltype(&::SymInitialize) initialize = nullptr;
    decltype(&::SymCleanup) cleanUp = nullptr;
    decltype(&::SymGetSearchPath) getSearchPath = nullptr;
    decltype(&::StackWalk64) stackWalk = nullptr;
    decltype(&::SymFunctionTableAccess64) functionTableAccess = nullptr;
    decltype(&::SymGetModuleBase64) getModuleBase = nullptr;
    decltype(&::SymGetModuleInfo64) getModuleInfo = nullptr;
    decltype(&::SymGetSymFromAddr64) getSymbol = nullptr;
    decltype(&::SymGetLineFromAddr64) getLine = nullptr;
};

template <typename Entry> bool find(LibraryHandle library, const char *name, Entry &entry)
{
    entry = reinterpret_cast<Entry>(librarySymbol(library, name));
    return entry != nullptr;
}

bool findEntries(LibraryHandle library, DebugHelp &entries)
{
    return find(library, "ImagehlpApiVersion", entries.apiVersion)
        && find(library, "SymSetOptions", entries.setOptions)
        && find(library, "SymInitialize", entries.initialize) && find(library, "SymCleanup", entries.cleanUp)
        && find(library, "SymGetSearchPath", entries.getSearchPath)
        && find(library, "StackWalk64", entries.stackWalk)
        && find(library, "SymFunctionTableAccess64", entries.functionTableAccess)
        && find(library, "SymGetModuleBase64", entries.getModuleBase)
        && find(library, "SymGetModuleInfo64", entries.getModuleInfo)
        && find(library, "SymGetSymFromAddr64", entries.getSymbol)
        && find(library, "SymGetLineFromAddr64", entries.getLine);
}

// Where the frame lies. Wine gives the register RBP instead, which may be anything in a function that keeps
// no frame pointer; the stack pointer stands in for it then.
quint64 frameAddressOf(const STACKFRAME64 &frame)
{
    ULONG_PTR bottom = 0;
    ULONG_PTR top = 0;
    GetCurrentThreadStackLimits(&bottom, &top);
    const quint64 address = frame.AddrFrame.Offset;
    const quint64 stackPointer = frame.AddrStack.Offset;
    const bool isOnStack = address + 2 * sizeof(quint64) >= stackPointer && address < top;
    return isOnStack || frame.AddrPC.Offset == 0 ? address : stackPointer;
}

constinit DebugHelp debugHelp;
constinit bool hasDebugHelp = false;

// The library stays loaded: its entries are needed until the process ends.
bool load()
{
    if (hasDebugHelp)
        return true;
    const LibraryHandle library = openLibrary(u"dbghelp.dll"_s);
    hasDebugHelp = library != nullptr && findEntries(library, debugHelp);
    if (!hasDebugHelp) {
        const DWORD reason = GetLastError();
        closeLibrary(library);
        SetLastError(reason);
    }
    return hasDebugHelp;
}

// The walk at hand.
struct Walk {
    bool isOpen = false;
    CONTEXT context = {};
    STACKFRAME64 frame = {};
};
constinit Walk walk;

// What dbghelp calls undecorated is the other compiler's; this one's names are decorated in its own way.
QString nameOf(const char *symbol)
{
    constexpr std::string_view decoration = "_Z";
    return std::string_view(symbol).starts_with(decoration) ? symbolName(symbol)
                                                            : QString::fromLatin1(symbol);
}

}

StackWalker::Version SystemStackWalker::version()
{
    if (!load())
        return {};
    const API_VERSION *version = debugHelp.apiVersion();
    return {.major = version->MajorVersion, .minor = version->MinorVersion, .revision = version->Revision};
}

bool SystemStackWalker::initialize()
{
    // What a walk left that ended in a fault may be broken.
    (void)s3RunGuarded([this] { cleanUp(); });
    if (!load())
        return false;
    debugHelp.setOptions(symbolOptions);
    walk.isOpen = debugHelp.initialize(GetCurrentProcess(), ".", TRUE) != FALSE;
    return walk.isOpen;
}

void SystemStackWalker::cleanUp()
{
    if (std::exchange(walk.isOpen, false))
        debugHelp.cleanUp(GetCurrentProcess());
}

bool SystemStackWalker::searchPath(QString &path)
{
    std::array<char, longestSearchPath> buffer = {};
    if (!walk.isOpen
        || debugHelp.getSearchPath(GetCurrentProcess(), buffer.data(), longestSearchPath) == FALSE)
        return false;
    path = QString::fromLatin1(buffer.data());
    return true;
}

void SystemStackWalker::start(const s3FaultContext &context)
{
    walk.context = recordOfContext(context);
    walk.frame = {};
}

bool SystemStackWalker::next(StackFrame &frame)
{
    frame = StackFrame();
    if (!walk.isOpen
        || debugHelp.stackWalk(IMAGE_FILE_MACHINE_AMD64, GetCurrentProcess(), GetCurrentThread(), &walk.frame,
                               &walk.context, nullptr, debugHelp.functionTableAccess, debugHelp.getModuleBase,
                               nullptr)
            == FALSE)
        return false;
    frame.programCounter = walk.frame.AddrPC.Offset;
    frame.frameAddress = frameAddressOf(walk.frame);
    frame.lookupAddress = frame.programCounter;
    return true;
}

bool SystemStackWalker::module(const StackFrame &frame, StackModule &module)
{
    IMAGEHLP_MODULE64 info = {};
    static_assert(sizeof(info) == 1680);
    info.SizeOfStruct = sizeof(info);
    if (!walk.isOpen || debugHelp.getModuleInfo(GetCurrentProcess(), frame.lookupAddress, &info) == FALSE)
        return false;
    module.moduleName = QString::fromLatin1(info.ModuleName);
    module.imageName = QString::fromLatin1(info.ImageName);
    module.loadedImageName = QString::fromLatin1(info.LoadedImageName);
    return true;
}

bool SystemStackWalker::symbol(const StackFrame &frame, StackSymbol &symbol)
{
    // The name stands behind the structure, whose own member for it is an array of one character.
    union {
        std::array<char, sizeof(IMAGEHLP_SYMBOL64) + longestSymbol> room;
        IMAGEHLP_SYMBOL64 entry;
    } found = {};
    static_assert(sizeof(IMAGEHLP_SYMBOL64) == 32);
    found.entry.SizeOfStruct = sizeof(IMAGEHLP_SYMBOL64);
    found.entry.MaxNameLength = longestSymbol;
    DWORD64 displacement = 0;
    if (!walk.isOpen
        || debugHelp.getSymbol(GetCurrentProcess(), frame.lookupAddress, &displacement, &found.entry)
            == FALSE)
        return false;
    symbol.name = nameOf(&found.room[offsetof(IMAGEHLP_SYMBOL64, Name)]);
    symbol.displacement = displacement;
    return true;
}

bool SystemStackWalker::line(const StackFrame &frame, StackLine &line)
{
    IMAGEHLP_LINE64 found = {};
    static_assert(sizeof(found) == 40);
    found.SizeOfStruct = sizeof(found);
    DWORD displacement = 0;
    if (!walk.isOpen
        || debugHelp.getLine(GetCurrentProcess(), frame.lookupAddress, &displacement, &found) == FALSE)
        return false;
    line.file = QString::fromLatin1(found.FileName);
    line.line = static_cast<int>(found.LineNumber);
    return true;
}

bool SystemStackWalker::word(quint64 address, quint64 &word)
{
    return s3RunGuarded([&] { word = *reinterpret_cast<const volatile quint64 *>(address); });
}

QString SystemStackWalker::modulePath(quint64 address)
{
    MEMORY_BASIC_INFORMATION memory = {};
    if (VirtualQuery(reinterpret_cast<const void *>(address), &memory, sizeof(memory)) == 0
        || memory.AllocationBase == nullptr)
        return QString();
    std::array<wchar_t, longestModulePath> path = {};
    const DWORD length
        = GetModuleFileNameW(static_cast<HMODULE>(memory.AllocationBase), path.data(), longestModulePath);
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
}

QString SystemStackWalker::errorText()
{
    return QString();
}

}
