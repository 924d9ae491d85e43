#include "platform/modules.h"

#include <windows.h>

#include <tlhelp32.h>

namespace platform
{

namespace
{

// A snapshot fails with ERROR_BAD_LENGTH while modules come and go; the next one is as good as any.
HANDLE moduleSnapshot()
{
    constexpr int attempts = 10;
    HANDLE snapshot = INVALID_HANDLE_VALUE;
    for (int attempt = 0; attempt != attempts; ++attempt) {
        snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0);
        if (snapshot != INVALID_HANDLE_VALUE || GetLastError() != ERROR_BAD_LENGTH)
            break;
    }
    return snapshot;
}

}

QStringList loadedModules()
{
    const HANDLE snapshot = moduleSnapshot();
    if (snapshot == INVALID_HANDLE_VALUE)
        return QStringList();
    QStringList paths;
    MODULEENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL found = Module32FirstW(snapshot, &entry); found != FALSE;
         found = Module32NextW(snapshot, &entry)) {
        const QString path = QString::fromWCharArray(entry.szExePath);
        paths.append(path.isEmpty() ? QString::fromWCharArray(entry.szModule) : path);
    }
    CloseHandle(snapshot);
    return paths;
}

}
