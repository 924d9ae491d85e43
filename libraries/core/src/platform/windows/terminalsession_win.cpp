#include "platform/terminalsession.h"

#include <windows.h>

#include <wtsapi32.h>

#include <memory>

namespace platform
{

namespace
{

struct WtsFree {
    void operator()(wchar_t *buffer) const { WTSFreeMemory(buffer); }
};

// The answer for one class of information about this session, `size` in bytes; null when the call fails.
std::unique_ptr<wchar_t, WtsFree> query(WTS_INFO_CLASS information, DWORD &size)
{
    wchar_t *buffer = nullptr;
    size = 0;
    const BOOL ok = WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION, information,
                                                &buffer, &size);
    std::unique_ptr<wchar_t, WtsFree> answer(buffer);
    if (!ok)
        answer.reset();
    return answer;
}

}

std::optional<quint32> sessionId()
{
    DWORD id = 0;
    if (!ProcessIdToSessionId(GetCurrentProcessId(), &id))
        return std::nullopt;
    return id;
}

QString sessionClientName()
{
    DWORD size = 0;
    const auto name = query(WTSClientName, size);
    return name ? QString::fromWCharArray(name.get()) : QString();
}

QByteArray sessionClientAddress()
{
    DWORD size = 0;
    const auto address = query(WTSClientAddress, size);
    return address ? QByteArray(reinterpret_cast<const char *>(address.get()), qsizetype(size))
                   : QByteArray();
}

}
