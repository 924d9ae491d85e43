#pragma once

#include "mapitypes.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

// One outgoing mail, and the step that turns it into the structures of Simple MAPI and submits it.
// A plain value.
class MailMessage
{
public:
    // What receives the finished structures; the signature of sendThroughSimpleMapi.
    using SubmitFunction = std::function<ULONG(LHANDLE session, ULONG_PTR uiParam, MapiMessageW *message,
                                               FLAGS flags, ULONG reserved)>;

    void setSubject(const QString &subject) { m_subject = subject; }
    void setBody(const QString &body) { m_body = body; }

    void setTo(const QStringList &addresses) { setRecipients(MAPI_TO, addresses); }
    void setCc(const QStringList &addresses) { setRecipients(MAPI_CC, addresses); }
    void setBcc(const QStringList &addresses) { setRecipients(MAPI_BCC, addresses); }

    // Stores the addresses of one kind, MAPI_TO, MAPI_CC or MAPI_BCC; an empty list removes the kind.
    void setRecipients(quint32 kind, const QStringList &addresses);

    // Stores the absolute `paths` with backslashes, the form that mail clients expect.
    void setAttachments(const QStringList &paths);

    // Submits the mail through Simple MAPI: at once when `sendDirectly` is set, otherwise by way of the
    // mail client's compose window, and then it returns when that window is closed. `error` is
    // empty on success and otherwise the reason in words. Main thread.
    void send(bool sendDirectly, bool readReceipt, QString &error) const;

    // The same with another receiver than Simple MAPI. The structures point into this object and are
    // valid for the length of the call.
    void send(bool sendDirectly, bool readReceipt, QString &error, const SubmitFunction &submit) const;

private:
    QString m_subject;
    QString m_body;
    QHash<quint32, QStringList> m_recipients;
    QStringList m_attachments;
};

// The name of a recipient kind for the log: "ORIG", "TO", "CC" or "BCC", empty for any other value.
[[nodiscard]] QString recipientKindName(quint32 kind);
