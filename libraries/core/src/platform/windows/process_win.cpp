#include "platform/process.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

class ToolhelpSnapshot final : public ProcessSnapshot
{
public:
    explicit ToolhelpSnapshot(HANDLE handle) : m_handle(handle) { }
    ~ToolhelpSnapshot() override { CloseHandle(m_handle); }
    Q_DISABLE_COPY_MOVE(ToolhelpSnapshot)

    bool first(ProcessEntry &entry) override { return take(Process32FirstW, entry); }
    bool next(ProcessEntry &entry) override { return take(Process32NextW, entry); }

private:
    bool take(decltype(&Process32FirstW) function, ProcessEntry &entry)
    {
        static_assert(sizeof(PROCESSENTRY32W) == 568);
        PROCESSENTRY32W found = {};
        found.dwSize = sizeof found;
        if (function(m_handle, &found) == FALSE)
            return false;
        entry = {found.th32ProcessID, found.th32ParentProcessID, QString::fromWCharArray(found.szExeFile)};
        return true;
    }

    HANDLE m_handle;
};

class WindowsProcesses final : public Processes
{
public:
    SystemMemory systemMemory() override
    {
        MEMORYSTATUSEX status = {};
        status.dwLength = sizeof status;
        if (GlobalMemoryStatusEx(&status) == FALSE)
            return {};
        return {status.ullTotalPageFile, status.ullAvailPageFile, status.ullTotalPhys, status.ullAvailPhys};
    }

    quint32 ownId() override { return GetCurrentProcessId(); }

    ProcessHandle ownHandle() override { return GetCurrentProcess(); }

    QString programFileName(const QString &name) override { return name + u".exe"_s; }

    std::unique_ptr<ProcessSnapshot> snapshot() override
    {
        const HANDLE handle = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
        if (handle == INVALID_HANDLE_VALUE)
            return nullptr;
        return std::make_unique<ToolhelpSnapshot>(handle);
    }

    ProcessHandle open(quint32 id) override
    {
        return OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
    }

    void close(ProcessHandle process) override { CloseHandle(process); }

    bool memory(ProcessHandle process, ProcessMemory &memory) override
    {
        static_assert(sizeof(PROCESS_MEMORY_COUNTERS_EX) == 80);
        PROCESS_MEMORY_COUNTERS_EX counters = {};
        counters.cb = sizeof counters;
        if (K32GetProcessMemoryInfo(process, reinterpret_cast<PROCESS_MEMORY_COUNTERS *>(&counters),
                                    sizeof counters)
            == FALSE)
            return false;
        memory = {counters.WorkingSetSize, counters.PrivateUsage};
        return true;
    }
};

}

Processes &processes()
{
    static WindowsProcesses real;
    return real;
}

bool isDebuggerAttached()
{
    return IsDebuggerPresent() != FALSE;
}

}
