#pragma once

#include <QString>

#include <memory>

namespace platform
{

// Memory of the whole machine in bytes.
struct SystemMemory {
    quint64 totalPageFile = 0; // what can be committed in all: physical memory and swap together
    quint64 availablePageFile = 0;
    quint64 totalPhysical = 0;
    quint64 availablePhysical = 0;
};

// Memory of one process in bytes.
struct ProcessMemory {
    quint64 workingSet = 0; // resident in physical memory
    quint64 privateUsage
        = 0; // its own alone: committed on Windows; on Linux anonymous pages, swapped included
};

struct ProcessEntry {
    quint32 id = 0;
    quint32 parentId = 0;
    QString fileName; // of its executable, without directory
};

// An open process: a HANDLE on Windows, the process's number on Linux. Null stands for "none".
using ProcessHandle = void *;

// The processes of one moment, walked once.
class ProcessSnapshot
{
public:
    virtual ~ProcessSnapshot() = default;

    // Fill `entry` with the first and each further process; false when there is none or on failure.
    [[nodiscard]] virtual bool first(ProcessEntry &entry) = 0;
    [[nodiscard]] virtual bool next(ProcessEntry &entry) = 0;
};

// What the platform tells about processes. After a failure lastSystemError() has the reason. Any thread.
class Processes
{
public:
    virtual ~Processes() = default;

    // All zero when the system does not tell.
    [[nodiscard]] virtual SystemMemory systemMemory() = 0;

    [[nodiscard]] virtual quint32 ownId() = 0;
    [[nodiscard]] virtual ProcessHandle ownHandle() = 0; // not to be closed

    // The file name that the platform gives to the program `name`: with ".exe" on Windows.
    [[nodiscard]] virtual QString programFileName(const QString &name) = 0;

    // Null on failure.
    [[nodiscard]] virtual std::unique_ptr<ProcessSnapshot> snapshot() = 0;

    // Opens a process for reading its counters, null on failure; close() gives it back.
    [[nodiscard]] virtual ProcessHandle open(quint32 id) = 0;
    virtual void close(ProcessHandle process) = 0;

    // False on failure.
    [[nodiscard]] virtual bool memory(ProcessHandle process, ProcessMemory &memory) = 0;
};

// The real one of this platform; it lives as long as the process.
[[nodiscard]] Processes &processes();

// Whether a debugger is attached to this process at this moment. Any thread.
[[nodiscard]] bool isDebuggerAttached();

}
