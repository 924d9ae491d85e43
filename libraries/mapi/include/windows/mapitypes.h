#pragma once

#include <windows.h>

#include <mapi.h>

// The Simple MAPI types of the platform's <mapi.h>, with the wide structures beside them: MinGW-w64's
// header has the narrow ones only, newer ones bring both and define MAPI_FORCE_UNICODE with them.
// Field order and packing are those of the published MAPI.h.

#ifndef MAPI_FORCE_UNICODE

#define MAPI_FORCE_UNICODE 0x40000

struct MapiFileDescW {
    ULONG ulReserved;
    ULONG flFlags;
    ULONG nPosition;
    LPWSTR lpszPathName;
    LPWSTR lpszFileName;
    LPVOID lpFileType;
};
using lpMapiFileDescW = MapiFileDescW *;

struct MapiRecipDescW {
    ULONG ulReserved;
    ULONG ulRecipClass;
    LPWSTR lpszName;
    LPWSTR lpszAddress;
    ULONG ulEIDSize;
    LPVOID lpEntryID;
};
using lpMapiRecipDescW = MapiRecipDescW *;

struct MapiMessageW {
    ULONG ulReserved;
    LPWSTR lpszSubject;
    LPWSTR lpszNoteText;
    LPWSTR lpszMessageType;
    LPWSTR lpszDateReceived;
    LPWSTR lpszConversationID;
    FLAGS flFlags;
    lpMapiRecipDescW lpOriginator;
    ULONG nRecipCount;
    lpMapiRecipDescW lpRecips;
    ULONG nFileCount;
    lpMapiFileDescW lpFiles;
};
using lpMapiMessageW = MapiMessageW *;

using LPMAPISENDMAILW = ULONG(WINAPI *)(LHANDLE session, ULONG_PTR uiParam, lpMapiMessageW message,
                                        FLAGS flags, ULONG reserved);

#endif

#ifndef MAPI_E_UNICODE_NOT_SUPPORTED
#define MAPI_E_UNICODE_NOT_SUPPORTED 27
#endif
#ifndef MAPI_E_ATTACHMENT_TOO_LARGE
#define MAPI_E_ATTACHMENT_TOO_LARGE 28
#endif
