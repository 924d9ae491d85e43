#pragma once

#include <QByteArray>
#include <QString>

// The terminal session of this process, in the words of Windows; what stands for it on other systems is
// told in platform/terminalsession.h. What cannot be found out is empty or 0; nothing is reported.

// The id of the session, in decimal for the text; empty and 0 when there is none.
[[nodiscard]] QString s3SessionIdText();
[[nodiscard]] quint32 s3SessionId();

// The value of the environment variable "SESSIONNAME", such as "Console" or "RDP-Tcp#3".
[[nodiscard]] QString s3SessionName();

// The name and the IPv4 address ("192.0.2.7") of the remote client. Empty in a local session; the
// address also with a client that has another kind of address.
[[nodiscard]] QString s3SessionClientName();
[[nodiscard]] QString s3SessionClientAddress();

// The text of an address in the layout of WTS_CLIENT_ADDRESS (platform/terminalsession.h); empty unless
// it is whole and of IPv4.
[[nodiscard]] QString s3ClientAddressText(const QByteArray &answer);
