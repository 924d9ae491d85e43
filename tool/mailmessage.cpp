#include "mailmessage.h"

#include "mapiresult.h"
#include "platform/library.h"
#include "protocol/messagelog.h"
#include "s3string.h"
#include "simplemapi.h"

#include <QLibrary>

#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// Simple MAPI's structures are not const-correct; a provider reads through this pointer only.
LPWSTR wideText(const QString &text)
{
    return const_cast<LPWSTR>(reinterpret_cast<const WCHAR *>(text.utf16()));
}

// Logs `format` with its values filled in. A body may be large, so nothing is built for a log that is off.
template <class... Values> void logStep(const QString &format, const Values &...values)
{
    if (!isDebugEnabled())
        return;
    if constexpr (sizeof...(values) == 0)
        logDebug() << format;
    else
        logDebug() << format.arg(values...);
}

MapiRecipDescW recipient(quint32 kind, const QString &address)
{
    MapiRecipDescW descriptor = {};
    descriptor.ulRecipClass = kind;
    descriptor.lpszName = wideText(address);
    descriptor.lpszAddress = descriptor.lpszName;
    return descriptor;
}

MapiFileDescW attachment(const QString &path)
{
    MapiFileDescW descriptor = {};
    descriptor.nPosition = 0xFFFFFFFF;
    descriptor.lpszPathName = wideText(path);
    return descriptor;
}

// The reason why no entry of Simple MAPI can be called, empty when one can: a general failure says
// nothing to a user whose system has no mail client at all.
QString missingMapiError()
{
    QLibrary library(platform::libraryFileName(u"MAPI32.DLL"_s));
    if (library.resolve("MAPISendMailW") != nullptr || library.resolve("MAPISendMail") != nullptr)
        return {};
    return library.errorString();
}

}

QString recipientKindName(quint32 kind)
{
    switch (kind) {
    case MAPI_ORIG:
        return u"ORIG"_s;
    case MAPI_TO:
        return u"TO"_s;
    case MAPI_CC:
        return u"CC"_s;
    case MAPI_BCC:
        return u"BCC"_s;
    default:
        return {};
    }
}

void MailMessage::setRecipients(quint32 kind, const QStringList &addresses)
{
    if (addresses.isEmpty())
        m_recipients.remove(kind);
    else
        m_recipients.insert(kind, addresses);
}

void MailMessage::setAttachments(const QStringList &paths)
{
    m_attachments.clear();
    m_attachments.reserve(paths.size());
    for (const QString &path : paths)
        m_attachments += s3String(path).toBackslashes();
}

void MailMessage::send(bool sendDirectly, bool readReceipt, QString &error) const
{
    send(sendDirectly, readReceipt, error, sendThroughSimpleMapi);
}

void MailMessage::send(bool sendDirectly, bool readReceipt, QString &error,
                       const SubmitFunction &submit) const
{
    logStep(u"*** New Mail ***"_s);

    std::vector<MapiRecipDescW> recipients;
    for (const quint32 kind : {quint32(MAPI_TO), quint32(MAPI_CC), quint32(MAPI_BCC)}) {
        const auto addresses = m_recipients.constFind(kind);
        if (addresses == m_recipients.constEnd())
            continue;
        const QString kindName = recipientKindName(kind);
        for (const QString &address : *addresses) {
            logStep(u"Add %1 Recipient [%2]"_s, kindName, address);
            recipients.push_back(recipient(kind, address));
        }
    }

    std::vector<MapiFileDescW> files;
    for (const QString &path : m_attachments) {
        logStep(u"Attach [%1]"_s, path);
        files.push_back(attachment(path));
    }

    logStep(u"Set Subject [%1]"_s, m_subject);
    logStep(u"Set Body [%1]"_s, m_body);

    MapiMessageW message = {};
    message.lpszSubject = wideText(m_subject);
    message.lpszNoteText = wideText(m_body);
    message.flFlags = readReceipt ? MAPI_RECEIPT_REQUESTED : 0;
    message.nRecipCount = static_cast<ULONG>(recipients.size());
    message.lpRecips = recipients.empty() ? nullptr : recipients.data();
    message.nFileCount = static_cast<ULONG>(files.size());
    message.lpFiles = files.empty() ? nullptr : files.data();

    FLAGS flags = MAPI_LOGON_UI;
    if (sendDirectly) {
        logStep(u"Send Mail"_s);
    } else {
        flags |= MAPI_DIALOG;
        logStep(u"Display Mail"_s);
    }

    const ULONG result = submit(0, 0, &message, flags, 0);
    if (result == MAPI_E_FAILURE) {
        error = missingMapiError();
        if (!error.isEmpty())
            return;
    }
    error = mapiResultText(result);
}
