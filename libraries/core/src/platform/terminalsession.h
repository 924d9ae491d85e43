#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The login session this process belongs to and the remote client behind it, if any. No state; any thread.
namespace platform
{

// The number of the login session. Windows: ProcessIdToSessionId of this process. Linux: the kernel's
// session number of the login (/proc/self/sessionid), which systemd-logind uses as well; there is none
// for a process that no login started, such as a service or a container. No value when there is none.
[[nodiscard]] std::optional<quint32> sessionId();

// The name of the remote client of this session. Windows: WTSClientName (10) of
// WTSQuerySessionInformationW; empty at the console or when the call fails. Linux: always empty, no
// interface there knows it.
[[nodiscard]] QString sessionClientName();

// The address of the remote client of this session in the layout of WTS_CLIENT_ADDRESS: the address
// family as a 32-bit number of this machine, then 20 bytes; an IPv4 address (family 2) stands at index 2
// to 5 of them. Windows: WTSClientAddress (14). Linux: the client of an SSH session, from the variable
// SSH_CONNECTION of sshd(8). Empty when there is no client or the call fails.
[[nodiscard]] QByteArray sessionClientAddress();

}
