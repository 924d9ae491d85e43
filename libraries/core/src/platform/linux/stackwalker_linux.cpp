#include "platform/stackwalker.h"

#include "platform/linux/symbolname_linux.h"
#include "platform/runguarded.h"

#include <QFile>
#include <QList>

#include <array>
#include <utility>

#include <elfutils/libdwfl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// More than anybody asks for.
constexpr std::size_t mostFrames = 128;

// The numbers that DWARF gives to the x64 registers.
constexpr unsigned stackPointerNumber = 7;
constexpr unsigned registerCount = 17;

// Another thread's or a broken frame's address is no error of this program for a sanitizer to find.
__attribute__((no_sanitize("address", "undefined", "thread"))) bool readWord(quint64 address, quint64 &word)
{
    return s3RunGuarded([&]() __attribute__((no_sanitize("address", "undefined", "thread"))) {
        word = *reinterpret_cast<const volatile quint64 *>(address);
    });
}

struct DwarfFrame {
    quint64 programCounter = 0;
    quint64 stackPointer = 0;
    bool isInterrupted = false; // the counter is that of the instruction being run, not a return address
};

class LinuxStackWalker final : public StackWalker
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
    QString errorText() override { return m_errorText; }

private:
    // The callbacks of libdwfl; their last argument, or the thread's, is the walker.
    static pid_t giveThread(Dwfl *dwfl, void *walker, void **threadArgument);
    static bool findThread(Dwfl *dwfl, pid_t thread, void *walker, void **threadArgument);
    static bool readMemory(Dwfl *dwfl, Dwarf_Addr address, Dwarf_Word *word, void *walker);
    static bool giveRegisters(Dwfl_Thread *thread, void *walker);
    static int takeFrame(Dwfl_Frame *frame, void *walker);

    bool fail(const QString &text = QString());
    bool attach();
    void collectFrames();
    [[nodiscard]] Dwfl_Module *moduleAt(quint64 address) const;

    Dwfl *m_dwfl = nullptr;
    s3FaultContext m_context;
    std::array<DwarfFrame, mostFrames> m_frames;
    std::size_t m_frameCount = 0;
    std::size_t m_next = 0;
    bool m_hasCollected = false;
    bool m_hasEnded = false; // the frames go to the end of the stack
    QString m_errorText;
};

// Separate debugging information is only looked for on this machine: a crash report waits for no server.
char debuginfoDirectory[] = "/usr/lib/debug";
char *debuginfoPath = debuginfoDirectory;

constinit const Dwfl_Callbacks callbacks = {
    .find_elf = dwfl_linux_proc_find_elf,
    .find_debuginfo = dwfl_build_id_find_debuginfo,
    .section_address = nullptr,
    .debuginfo_path = &debuginfoPath,
};

// Keeps the reason of a failure; libdwfl's own one unless `text` says it.
bool LinuxStackWalker::fail(const QString &text)
{
    const char *reason = text.isEmpty() ? dwfl_errmsg(-1) : nullptr;
    m_errorText = reason != nullptr ? QString::fromUtf8(reason) : text;
    if (m_errorText.isEmpty())
        m_errorText = u"no information"_s;
    return false;
}

StackWalker::Version LinuxStackWalker::version()
{
    const QList<QByteArray> numbers = QByteArray(dwfl_version(nullptr)).split('.');
    return {.major = numbers.value(0).toInt(),
            .minor = numbers.value(1).toInt(),
            .revision = numbers.value(2).toInt()};
}

bool LinuxStackWalker::initialize()
{
    // What a walk left that ended in a fault may be broken.
    (void)s3RunGuarded([this] { cleanUp(); });
    m_dwfl = dwfl_begin(&callbacks);
    if (m_dwfl == nullptr)
        return fail();
    const int error = dwfl_linux_proc_report(m_dwfl, getpid());
    if (error > 0)
        fail(qt_error_string(error));
    else if (error < 0 || dwfl_report_end(m_dwfl, nullptr, nullptr) != 0 || !attach())
        fail();
    else
        return true;
    cleanUp();
    return false;
}

bool LinuxStackWalker::attach()
{
    static constinit const Dwfl_Thread_Callbacks threadCallbacks = {
        .next_thread = giveThread,
        .get_thread = findThread,
        .memory_read = readMemory,
        .set_initial_registers = giveRegisters,
        .detach = nullptr,
        .thread_detach = nullptr,
    };
    return dwfl_attach_state(m_dwfl, nullptr, getpid(), &threadCallbacks, this);
}

void LinuxStackWalker::cleanUp()
{
    if (Dwfl *dwfl = std::exchange(m_dwfl, nullptr))
        dwfl_end(dwfl);
}

bool LinuxStackWalker::searchPath(QString &path)
{
    path = QString::fromUtf8(debuginfoPath);
    return true;
}

void LinuxStackWalker::start(const s3FaultContext &context)
{
    m_context = context;
    m_frameCount = 0;
    m_next = 0;
    m_hasCollected = false;
    m_hasEnded = false;
}

bool LinuxStackWalker::next(StackFrame &frame)
{
    if (!m_hasCollected)
        collectFrames();
    frame = StackFrame();
    if (m_next == m_frameCount) {
        if (!m_hasEnded || m_frameCount == 0)
            return false;
        // The outermost function has no caller to return to.
        frame.frameAddress = m_frames[m_frameCount - 1].stackPointer;
        return true;
    }
    const DwarfFrame &current = m_frames[m_next++];
    frame.programCounter = current.programCounter;
    // The caller's stack pointer lies behind the return address and the place of the frame pointer.
    frame.frameAddress
        = m_next < m_frameCount ? m_frames[m_next].stackPointer - 2 * sizeof(quint64) : current.stackPointer;
    frame.lookupAddress = current.isInterrupted || current.programCounter == 0 ? current.programCounter
                                                                               : current.programCounter - 1;
    return true;
}

void LinuxStackWalker::collectFrames()
{
    m_hasCollected = true;
    const int result = m_dwfl != nullptr ? dwfl_getthread_frames(m_dwfl, gettid(), takeFrame, this) : -1;
    m_hasEnded = result == 0;
    if (result < 0)
        fail();
}

pid_t LinuxStackWalker::giveThread(Dwfl *, void *walker, void **threadArgument)
{
    if (*threadArgument != nullptr)
        return 0;
    *threadArgument = walker;
    return gettid();
}

bool LinuxStackWalker::findThread(Dwfl *, pid_t, void *walker, void **threadArgument)
{
    *threadArgument = walker;
    return true;
}

bool LinuxStackWalker::readMemory(Dwfl *, Dwarf_Addr address, Dwarf_Word *word, void *)
{
    quint64 value = 0;
    if (!readWord(address, value))
        return false;
    *word = value;
    return true;
}

bool LinuxStackWalker::giveRegisters(Dwfl_Thread *thread, void *walker)
{
    const s3FaultContext &context = static_cast<LinuxStackWalker *>(walker)->m_context;
    const std::array<Dwarf_Word, registerCount> registers
        = {context.rax, context.rdx, context.rcx, context.rbx, context.rsi, context.rdi,
           context.rbp, context.rsp, context.r8,  context.r9,  context.r10, context.r11,
           context.r12, context.r13, context.r14, context.r15, context.rip};
    return dwfl_thread_state_registers(thread, 0, registerCount, registers.data());
}

int LinuxStackWalker::takeFrame(Dwfl_Frame *frame, void *walker)
{
    auto *self = static_cast<LinuxStackWalker *>(walker);
    if (self->m_frameCount == mostFrames)
        return DWARF_CB_ABORT;
    DwarfFrame taken;
    Dwarf_Addr programCounter = 0;
    Dwarf_Word stackPointer = 0;
    if (!dwfl_frame_pc(frame, &programCounter, &taken.isInterrupted)
        || dwfl_frame_reg(frame, stackPointerNumber, &stackPointer) != 0)
        return DWARF_CB_ABORT;
    taken.programCounter = programCounter;
    taken.stackPointer = stackPointer;
    self->m_frames[self->m_frameCount++] = taken;
    return DWARF_CB_OK;
}

Dwfl_Module *LinuxStackWalker::moduleAt(quint64 address) const
{
    Dwfl_Module *module = m_dwfl != nullptr ? dwfl_addrmodule(m_dwfl, address) : nullptr;
    if (module == nullptr)
        return nullptr;
    // The first address behind a module is taken for the module's as well.
    Dwarf_Addr end = 0;
    dwfl_module_info(module, nullptr, nullptr, &end, nullptr, nullptr, nullptr, nullptr);
    return address < end ? module : nullptr;
}

bool LinuxStackWalker::module(const StackFrame &frame, StackModule &module)
{
    Dwfl_Module *found = moduleAt(frame.lookupAddress);
    if (found == nullptr)
        return fail(u"no module at this address"_s);
    GElf_Addr bias = 0;
    (void)dwfl_module_getelf(found, &bias); // opens it, so that its file is known
    const char *mainFile = nullptr;
    const char *debugFile = nullptr;
    const char *name
        = dwfl_module_info(found, nullptr, nullptr, nullptr, nullptr, nullptr, &mainFile, &debugFile);
    module.imageName = QFile::decodeName(name);
    module.moduleName = module.imageName.mid(module.imageName.lastIndexOf(u'/') + 1);
    module.loadedImageName = QFile::decodeName(debugFile != nullptr ? debugFile : mainFile);
    return true;
}

bool LinuxStackWalker::symbol(const StackFrame &frame, StackSymbol &symbol)
{
    Dwfl_Module *found = moduleAt(frame.lookupAddress);
    GElf_Off offset = 0;
    GElf_Sym entry = {};
    const char *name = found != nullptr
        ? dwfl_module_addrinfo(found, frame.lookupAddress, &offset, &entry, nullptr, nullptr, nullptr)
        : nullptr;
    if (name == nullptr)
        return fail(u"no symbol at this address"_s);
    symbol.name = symbolName(name);
    symbol.displacement = frame.programCounter - (frame.lookupAddress - offset);
    return true;
}

bool LinuxStackWalker::line(const StackFrame &frame, StackLine &line)
{
    Dwfl_Module *found = moduleAt(frame.lookupAddress);
    Dwfl_Line *source = found != nullptr ? dwfl_module_getsrc(found, frame.lookupAddress) : nullptr;
    const char *file
        = source != nullptr ? dwfl_lineinfo(source, nullptr, &line.line, nullptr, nullptr, nullptr) : nullptr;
    if (file == nullptr)
        return fail(u"no line at this address"_s);
    line.file = QFile::decodeName(file);
    return true;
}

bool LinuxStackWalker::word(quint64 address, quint64 &word)
{
    return readWord(address, word) || fail(u"no memory at this address"_s);
}

QString LinuxStackWalker::modulePath(quint64 address)
{
    QFile maps(u"/proc/self/maps"_s);
    if (!maps.open(QIODevice::ReadOnly))
        return QString();
    // "begin-end permissions offset device inode   path", the path absent for anonymous memory
    for (QByteArray line = maps.readLine(); !line.isEmpty(); line = maps.readLine()) {
        const qsizetype dash = line.indexOf('-');
        const qsizetype blank = line.indexOf(' ');
        if (dash < 0 || blank < dash)
            continue;
        const quint64 begin = line.left(dash).toULongLong(nullptr, 16);
        const quint64 end = line.mid(dash + 1, blank - dash - 1).toULongLong(nullptr, 16);
        if (address < begin || address >= end)
            continue;
        const qsizetype path = line.indexOf('/');
        return path < 0 ? QString() : QFile::decodeName(line.mid(path).trimmed());
    }
    return QString();
}

// There before everything else and never destroyed: a crash may come at any time.
union Immortal {
    constexpr Immortal() : object() { }
    ~Immortal() { }
    LinuxStackWalker object;
};
constinit Immortal realWalker;

}

StackWalker &stackWalker()
{
    return realWalker.object;
}

}
