#pragma once

#include "platform/faultcontext.h"

#include <QString>

namespace platform
{

// One frame of a stack.
struct StackFrame {
    quint64 programCounter = 0; // 0 behind the outermost frame
    quint64 frameAddress = 0; // two words below the caller's stack pointer, as far as the system knows it
    quint64 lookupAddress = 0; // for module, symbol and line: inside the instruction that is being run
};

// What is known of the module that an address lies in, each text possibly empty.
struct StackModule {
    QString moduleName; // short
    QString imageName; // full path
    QString loadedImageName; // path of the file that its symbols were read from
};

struct StackSymbol {
    QString name; // as in the source, without parameters
    quint64 displacement = 0; // of the program counter, in bytes
};

struct StackLine {
    QString file; // as the compiler wrote it
    int line = 0;
};

// What the platform knows about stacks: dbghelp on Windows, elfutils on Linux. One walk at a time, on the
// thread whose context it is. Whatever gives false leaves its reason in errorText() until the next call.
// No lock and no guard against faults.
class StackWalker
{
public:
    virtual ~StackWalker() = default;

    // Version of the library behind it: major, minor and revision.
    struct Version {
        int major = 0;
        int minor = 0;
        int revision = 0;
    };
    [[nodiscard]] virtual Version version() = 0;

    // Opens the process's symbols; cleanUp() closes them and may be called without.
    [[nodiscard]] virtual bool initialize() = 0;
    virtual void cleanUp() = 0;

    // Where symbols are looked for.
    [[nodiscard]] virtual bool searchPath(QString &path) = 0;

    // Begins a walk at `context`, which is copied.
    virtual void start(const s3FaultContext &context) = 0;
    // The next frame, from the innermost on. The end of the stack is a failure or a frame with a 0.
    [[nodiscard]] virtual bool next(StackFrame &frame) = 0;

    [[nodiscard]] virtual bool module(const StackFrame &frame, StackModule &module) = 0;
    [[nodiscard]] virtual bool symbol(const StackFrame &frame, StackSymbol &symbol) = 0;
    [[nodiscard]] virtual bool line(const StackFrame &frame, StackLine &line) = 0;

    // The 64-bit word at `address` of the stack.
    [[nodiscard]] virtual bool word(quint64 address, quint64 &word) = 0;

    // Without symbols: the path of the module that `address` lies in, empty when in none.
    [[nodiscard]] virtual QString modulePath(quint64 address) = 0;

    // The library's own words for the last failure; empty when lastSystemError() has the reason.
    [[nodiscard]] virtual QString errorText() = 0;
};

// The real one of this platform; it lives as long as the process.
[[nodiscard]] StackWalker &stackWalker();

}
