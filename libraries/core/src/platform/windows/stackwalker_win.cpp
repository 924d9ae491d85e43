#include "platform/stackwalker.h"

#include "platform/library.h"
#include "platform/runguarded.h"
#include "platform/windows/faultcontext_win.h"

#include <array>
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

class WindowsStackWalker final : public StackWalker
{
public:
    Version version() override;
    bool initialize() override;
    void cleanUp() override;
    bool searchPath(QString &path) override;
    void start(const s3FaultContext &context) override;
    bool next(StackFrame &frame) override;
    bool module(const StackFrame &frame, StackModule &module) override;
    bool symbol(const StackFrame &frame, StackSymbol &symbol) override;
    bool line(const StackFrame &frame, StackLine &line) override;
    bool word(quint64 address, quint64 &word) override;
    QString modulePath(quint64 address) override;
    QString errorText() override { return QString(); }

private:
    bool load();

    bool m_isLoaded = false;
    bool m_isOpen = false;
    DebugHelp m_debugHelp;
    CONTEXT m_context = {};
    STACKFRAME64 m_frame = {};
};

// The library stays loaded: its entries are needed until the process ends.
bool WindowsStackWalker::load()
{
    if (m_isLoaded)
        return true;
    const LibraryHandle library = openLibrary(u"dbghelp.dll"_s);
    m_isLoaded = library != nullptr && findEntries(library, m_debugHelp);
    return m_isLoaded;
}

StackWalker::Version WindowsStackWalker::version()
{
    if (!load())
        return {};
    const API_VERSION *version = m_debugHelp.apiVersion();
    return {.major = version->MajorVersion, .minor = version->MinorVersion, .revision = version->Revision};
}

bool WindowsStackWalker::initialize()
{
    // What a walk left that ended in a fault may be broken.
    (void)s3RunGuarded([this] { cleanUp(); });
    if (!load())
        return false;
    m_debugHelp.setOptions(symbolOptions);
    m_isOpen = m_debugHelp.initialize(GetCurrentProcess(), ".", TRUE) != FALSE;
    return m_isOpen;
}

void WindowsStackWalker::cleanUp()
{
    if (std::exchange(m_isOpen, false))
        m_debugHelp.cleanUp(GetCurrentProcess());
}

bool WindowsStackWalker::searchPath(QString &path)
{
    std::array<char, longestSearchPath> buffer = {};
    if (!m_isOpen
        || m_debugHelp.getSearchPath(GetCurrentProcess(), buffer.data(), longestSearchPath) == FALSE)
        return false;
    path = QString::fromLatin1(buffer.data());
    return true;
}

void WindowsStackWalker::start(const s3FaultContext &context)
{
    m_context = recordOfContext(context);
    m_frame = {};
}

bool WindowsStackWalker::next(StackFrame &frame)
{
    frame = StackFrame();
    if (!m_isOpen
        || m_debugHelp.stackWalk(IMAGE_FILE_MACHINE_AMD64, GetCurrentProcess(), GetCurrentThread(), &m_frame,
                                 &m_context, nullptr, m_debugHelp.functionTableAccess,
                                 m_debugHelp.getModuleBase, nullptr)
            == FALSE)
        return false;
    frame.programCounter = m_frame.AddrPC.Offset;
    frame.frameAddress = frameAddressOf(m_frame);
    frame.lookupAddress = frame.programCounter;
    return true;
}

bool WindowsStackWalker::module(const StackFrame &frame, StackModule &module)
{
    IMAGEHLP_MODULE64 info = {};
    static_assert(sizeof(info) == 1680);
    info.SizeOfStruct = sizeof(info);
    if (!m_isOpen || m_debugHelp.getModuleInfo(GetCurrentProcess(), frame.lookupAddress, &info) == FALSE)
        return false;
    module.moduleName = QString::fromLatin1(info.ModuleName);
    module.imageName = QString::fromLatin1(info.ImageName);
    module.loadedImageName = QString::fromLatin1(info.LoadedImageName);
    return true;
}

bool WindowsStackWalker::symbol(const StackFrame &frame, StackSymbol &symbol)
{
    // The name stands behind the structure, whose own room for it is one character.
    union {
        IMAGEHLP_SYMBOL64 entry;
        std::array<char, sizeof(IMAGEHLP_SYMBOL64) + longestSymbol> room;
    } found = {};
    static_assert(sizeof(IMAGEHLP_SYMBOL64) == 32);
    found.entry.SizeOfStruct = sizeof(IMAGEHLP_SYMBOL64);
    found.entry.MaxNameLength = longestSymbol;
    DWORD64 displacement = 0;
    if (!m_isOpen
        || m_debugHelp.getSymbol(GetCurrentProcess(), frame.lookupAddress, &displacement, &found.entry)
            == FALSE)
        return false;
    symbol.name = QString::fromLatin1(found.entry.Name);
    symbol.displacement = displacement;
    return true;
}

bool WindowsStackWalker::line(const StackFrame &frame, StackLine &line)
{
    IMAGEHLP_LINE64 found = {};
    static_assert(sizeof(found) == 40);
    found.SizeOfStruct = sizeof(found);
    DWORD displacement = 0;
    if (!m_isOpen
        || m_debugHelp.getLine(GetCurrentProcess(), frame.lookupAddress, &displacement, &found) == FALSE)
        return false;
    line.file = QString::fromLatin1(found.FileName);
    line.line = static_cast<int>(found.LineNumber);
    return true;
}

bool WindowsStackWalker::word(quint64 address, quint64 &word)
{
    return s3RunGuarded([&] { word = *reinterpret_cast<const volatile quint64 *>(address); });
}

QString WindowsStackWalker::modulePath(quint64 address)
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

// There before everything else and never destroyed: a crash may come at any time.
union Immortal {
    constexpr Immortal() : object() { }
    ~Immortal() { }
    WindowsStackWalker object;
};
constinit Immortal realWalker;

}

StackWalker &stackWalker()
{
    return realWalker.object;
}

}
