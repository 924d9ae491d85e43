#include "platform/stackwalker_p.h"

#include "lasting.h"
#include "platform/runguarded.h"
#include "platform/symbolname.h"

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

// The walk at hand.
struct Walk {
    Dwfl *dwfl = nullptr;
    s3FaultContext context;
    std::array<DwarfFrame, mostFrames> frames;
    std::size_t frameCount = 0;
    std::size_t next = 0;
    bool hasCollected = false;
    bool hasEnded = false; // the frames go to the end of the stack
    QString endReason; // why they do not
    QString errorText;
};
constinit s3Lasting<Walk> lastingWalk;
constinit Walk &walk = lastingWalk.object;

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
bool fail(const QString &text = QString())
{
    const char *reason = text.isEmpty() ? dwfl_errmsg(-1) : nullptr;
    walk.errorText = reason != nullptr ? QString::fromUtf8(reason) : text;
    if (walk.errorText.isEmpty())
        walk.errorText = u"no information"_s;
    return false;
}

// The callbacks of libdwfl. The argument of a thread is nothing but a mark that it was given.
pid_t giveThread(Dwfl *, void *mark, void **threadArgument)
{
    if (*threadArgument != nullptr)
        return 0;
    *threadArgument = mark;
    return gettid();
}

bool findThread(Dwfl *, pid_t, void *mark, void **threadArgument)
{
    *threadArgument = mark;
    return true;
}

bool readMemory(Dwfl *, Dwarf_Addr address, Dwarf_Word *word, void *)
{
    quint64 value = 0;
    if (!readWord(address, value))
        return false;
    *word = value;
    return true;
}

bool giveRegisters(Dwfl_Thread *thread, void *)
{
    const s3FaultContext &context = walk.context;
    const std::array<Dwarf_Word, registerCount> registers
        = {context.rax, context.rdx, context.rcx, context.rbx, context.rsi, context.rdi,
           context.rbp, context.rsp, context.r8,  context.r9,  context.r10, context.r11,
           context.r12, context.r13, context.r14, context.r15, context.rip};
    return dwfl_thread_state_registers(thread, 0, registerCount, registers.data());
}

int takeFrame(Dwfl_Frame *frame, void *)
{
    if (walk.frameCount == mostFrames)
        return DWARF_CB_ABORT;
    DwarfFrame taken;
    Dwarf_Addr programCounter = 0;
    Dwarf_Word stackPointer = 0;
    if (!dwfl_frame_pc(frame, &programCounter, &taken.isInterrupted)
        || dwfl_frame_reg(frame, stackPointerNumber, &stackPointer) != 0)
        return DWARF_CB_ABORT;
    taken.programCounter = programCounter;
    taken.stackPointer = stackPointer;
    walk.frames[walk.frameCount++] = taken;
    return DWARF_CB_OK;
}

constinit const Dwfl_Thread_Callbacks threadCallbacks = {
    .next_thread = giveThread,
    .get_thread = findThread,
    .memory_read = readMemory,
    .set_initial_registers = giveRegisters,
    .detach = nullptr,
    .thread_detach = nullptr,
};

void collectFrames()
{
    walk.hasCollected = true;
    const int result
        = walk.dwfl != nullptr ? dwfl_getthread_frames(walk.dwfl, gettid(), takeFrame, nullptr) : -1;
    walk.hasEnded = result == 0;
    if (!walk.hasEnded)
        fail();
    walk.endReason = walk.hasEnded ? QString() : walk.errorText;
}

Dwfl_Module *moduleAt(quint64 address)
{
    Dwfl_Module *module = walk.dwfl != nullptr ? dwfl_addrmodule(walk.dwfl, address) : nullptr;
    if (module == nullptr)
        return nullptr;
    // The first address behind a module is taken for the module's as well.
    Dwarf_Addr end = 0;
    dwfl_module_info(module, nullptr, nullptr, &end, nullptr, nullptr, nullptr, nullptr);
    return address < end ? module : nullptr;
}

}

StackWalker::Version SystemStackWalker::version()
{
    const QList<QByteArray> numbers = QByteArray(dwfl_version(nullptr)).split('.');
    return {.major = numbers.value(0).toInt(),
            .minor = numbers.value(1).toInt(),
            .revision = numbers.value(2).toInt()};
}

bool SystemStackWalker::initialize()
{
    // What a walk left that ended in a fault may be broken.
    (void)s3RunGuarded([this] { cleanUp(); });
    walk.dwfl = dwfl_begin(&callbacks);
    if (walk.dwfl == nullptr)
        return fail();
    const int error = dwfl_linux_proc_report(walk.dwfl, getpid());
    if (error > 0)
        fail(qt_error_string(error));
    else if (error < 0 || dwfl_report_end(walk.dwfl, nullptr, nullptr) != 0
             || !dwfl_attach_state(walk.dwfl, nullptr, getpid(), &threadCallbacks, &walk))
        fail();
    else
        return true;
    cleanUp();
    return false;
}

void SystemStackWalker::cleanUp()
{
    if (Dwfl *dwfl = std::exchange(walk.dwfl, nullptr))
        dwfl_end(dwfl);
}

bool SystemStackWalker::searchPath(QString &path)
{
    path = QString::fromUtf8(debuginfoPath);
    return true;
}

void SystemStackWalker::start(const s3FaultContext &context)
{
    walk.context = context;
    walk.frameCount = 0;
    walk.next = 0;
    walk.hasCollected = false;
    walk.hasEnded = false;
}

bool SystemStackWalker::next(StackFrame &frame)
{
    if (!walk.hasCollected)
        collectFrames();
    frame = StackFrame();
    if (walk.next == walk.frameCount) {
        if (!walk.hasEnded || walk.frameCount == 0)
            return fail(walk.endReason);
        // The outermost function has no caller to return to.
        frame.frameAddress = walk.frames[walk.frameCount - 1].stackPointer;
        return true;
    }
    const DwarfFrame &current = walk.frames[walk.next++];
    frame.programCounter = current.programCounter;
    // The caller's stack pointer lies behind the return address and the place of the frame pointer.
    frame.frameAddress = walk.next < walk.frameCount
        ? walk.frames[walk.next].stackPointer - 2 * sizeof(quint64)
        : current.stackPointer;
    frame.lookupAddress = current.isInterrupted || current.programCounter == 0 ? current.programCounter
                                                                               : current.programCounter - 1;
    return true;
}

bool SystemStackWalker::module(const StackFrame &frame, StackModule &module)
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

bool SystemStackWalker::symbol(const StackFrame &frame, StackSymbol &symbol)
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

bool SystemStackWalker::line(const StackFrame &frame, StackLine &line)
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

bool SystemStackWalker::word(quint64 address, quint64 &word)
{
    return readWord(address, word) || fail(u"no memory at this address"_s);
}

QString SystemStackWalker::modulePath(quint64 address)
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

QString SystemStackWalker::errorText()
{
    return walk.errorText;
}

}
