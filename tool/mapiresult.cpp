#include "mapiresult.h"

#include "mapitypes.h"

#include <QHash>

using namespace Qt::StringLiterals;

QString mapiResultText(quint32 result)
{
    static const QHash<quint32, QString> words = {
        {MAPI_USER_ABORT, u"User abort"_s},
        {MAPI_E_FAILURE, u"General MAPI failure"_s},
        {MAPI_E_LOGON_FAILURE, u"MAPI login failure"_s},
        {MAPI_E_DISK_FULL, u"Disk full"_s},
        {MAPI_E_INSUFFICIENT_MEMORY, u"Insufficient memory"_s},
        {MAPI_E_ACCESS_DENIED, u"Access denied"_s},
        {MAPI_E_TOO_MANY_SESSIONS, u"Too many sessions"_s},
        {MAPI_E_TOO_MANY_FILES, u"Too many files were specified"_s},
        {MAPI_E_TOO_MANY_RECIPIENTS, u"Too many recipients were specified"_s},
        {MAPI_E_ATTACHMENT_NOT_FOUND, u"A specified attachment was not found"_s},
        {MAPI_E_ATTACHMENT_OPEN_FAILURE, u"Attachment open failure"_s},
        {MAPI_E_ATTACHMENT_WRITE_FAILURE, u"Attachment write failure"_s},
        {MAPI_E_UNKNOWN_RECIPIENT, u"Unknown recipient"_s},
        {MAPI_E_BAD_RECIPTYPE, u"Bad recipient type"_s},
        {MAPI_E_NO_MESSAGES, u"No messages"_s},
        {MAPI_E_INVALID_MESSAGE, u"Invalid message"_s},
        {MAPI_E_TEXT_TOO_LARGE, u"Text too large"_s},
        {MAPI_E_INVALID_SESSION, u"Invalid session"_s},
        {MAPI_E_TYPE_NOT_SUPPORTED, u"Type not supported"_s},
        {MAPI_E_AMBIGUOUS_RECIPIENT, u"A recipient was specified ambiguously"_s},
        {MAPI_E_MESSAGE_IN_USE, u"Message in use"_s},
        {MAPI_E_NETWORK_FAILURE, u"Network failure"_s},
        {MAPI_E_INVALID_EDITFIELDS, u"Invalid edit fields"_s},
        {MAPI_E_INVALID_RECIPS, u"Invalid recipients"_s},
        {MAPI_E_NOT_SUPPORTED, u"Not supported"_s},
        {MAPI_E_UNICODE_NOT_SUPPORTED, u"Unicode not supported"_s},
        {MAPI_E_ATTACHMENT_TOO_LARGE, u"Attachment too large"_s},
    };
    if (result == SUCCESS_SUCCESS)
        return {};
    return words.value(result, u"MAPI error"_s) + u" [%1]"_s.arg(static_cast<qint32>(result));
}
