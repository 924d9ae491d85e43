#pragma once

#include "mapitypes.h"

#include <QList>
#include <QString>

// A receiver of Simple MAPI structures that copies what it is handed and answers with a chosen code.
struct Submission {
    struct Recipient {
        quint32 kind = 0;
        QString name;
        QString address;
        bool samePointer = false;
        bool othersZero = false;
    };
    struct File {
        quint32 position = 0;
        QString path;
        bool othersZero = false;
    };

    ULONG answer = SUCCESS_SUCCESS;

    int calls = 0;
    LHANDLE session = 1;
    ULONG_PTR uiParam = 1;
    FLAGS flags = 0;
    ULONG reserved = 1;
    FLAGS messageFlags = 0;
    bool subjectIsNull = true;
    bool noteTextIsNull = true;
    bool unusedFieldsAreNull = false;
    bool recipientsAreNull = false;
    bool filesAreNull = false;
    QString subject;
    QString noteText;
    QList<Recipient> recipients;
    QList<File> files;

    static QString text(LPWSTR wide) { return QString::fromUtf16(reinterpret_cast<const char16_t *>(wide)); }

    ULONG operator()(LHANDLE theSession, ULONG_PTR theUiParam, MapiMessageW *message, FLAGS theFlags,
                     ULONG theReserved)
    {
        ++calls;
        session = theSession;
        uiParam = theUiParam;
        flags = theFlags;
        reserved = theReserved;
        messageFlags = message->flFlags;
        subjectIsNull = message->lpszSubject == nullptr;
        noteTextIsNull = message->lpszNoteText == nullptr;
        subject = text(message->lpszSubject);
        noteText = text(message->lpszNoteText);
        unusedFieldsAreNull = message->ulReserved == 0 && message->lpszMessageType == nullptr
            && message->lpszDateReceived == nullptr && message->lpszConversationID == nullptr
            && message->lpOriginator == nullptr;
        recipientsAreNull = message->lpRecips == nullptr;
        filesAreNull = message->lpFiles == nullptr;
        for (ULONG i = 0; i < message->nRecipCount; ++i) {
            const MapiRecipDescW &item = message->lpRecips[i];
            recipients.append({item.ulRecipClass, text(item.lpszName), text(item.lpszAddress),
                               item.lpszName == item.lpszAddress,
                               item.ulReserved == 0 && item.ulEIDSize == 0 && item.lpEntryID == nullptr});
        }
        for (ULONG i = 0; i < message->nFileCount; ++i) {
            const MapiFileDescW &item = message->lpFiles[i];
            files.append({item.nPosition, text(item.lpszPathName),
                          item.ulReserved == 0 && item.flFlags == 0 && item.lpszFileName == nullptr
                              && item.lpFileType == nullptr});
        }
        return answer;
    }
};
