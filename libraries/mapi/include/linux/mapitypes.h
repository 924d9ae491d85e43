#pragma once

#include <cstdint>

// The published Simple MAPI types and constants for a system that ships no <mapi.h>: same names, same
// field order and natural C packing as the platform header of Windows x64, with 16-bit WCHAR (UTF-16)
// and 32-bit ULONG. Whoever calls or implements "MAPISendMailW" or "MAPISendMail" here shares them.

using ULONG = std::uint32_t;
using FLAGS = ULONG;
using ULONG_PTR = std::uintptr_t;
using LHANDLE = ULONG_PTR;
using LPSTR = char *;
using WCHAR = char16_t;
using LPWSTR = WCHAR *;
using LPVOID = void *;

struct MapiFileDesc {
    ULONG ulReserved;
    ULONG flFlags;
    ULONG nPosition; // place of the attachment in the note text, 0xFFFFFFFF for none
    LPSTR lpszPathName;
    LPSTR lpszFileName;
    LPVOID lpFileType;
};
using lpMapiFileDesc = MapiFileDesc *;

struct MapiFileDescW {
    ULONG ulReserved;
    ULONG flFlags;
    ULONG nPosition;
    LPWSTR lpszPathName;
    LPWSTR lpszFileName;
    LPVOID lpFileType;
};
using lpMapiFileDescW = MapiFileDescW *;

struct MapiRecipDesc {
    ULONG ulReserved;
    ULONG ulRecipClass; // MAPI_ORIG, MAPI_TO, MAPI_CC, MAPI_BCC
    LPSTR lpszName;
    LPSTR lpszAddress;
    ULONG ulEIDSize; // bytes at lpEntryID
    LPVOID lpEntryID;
};
using lpMapiRecipDesc = MapiRecipDesc *;

struct MapiRecipDescW {
    ULONG ulReserved;
    ULONG ulRecipClass;
    LPWSTR lpszName;
    LPWSTR lpszAddress;
    ULONG ulEIDSize;
    LPVOID lpEntryID;
};
using lpMapiRecipDescW = MapiRecipDescW *;

struct MapiMessage {
    ULONG ulReserved; // 65001: subject and note text are UTF-8
    LPSTR lpszSubject;
    LPSTR lpszNoteText;
    LPSTR lpszMessageType;
    LPSTR lpszDateReceived;
    LPSTR lpszConversationID;
    FLAGS flFlags; // MAPI_RECEIPT_REQUESTED
    lpMapiRecipDesc lpOriginator;
    ULONG nRecipCount;
    lpMapiRecipDesc lpRecips;
    ULONG nFileCount;
    lpMapiFileDesc lpFiles;
};
using lpMapiMessage = MapiMessage *;

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

// The two entries of a Simple MAPI library. The result is one of the codes below.
using LPMAPISENDMAIL
    = ULONG (*)(LHANDLE session, ULONG_PTR uiParam, lpMapiMessage message, FLAGS flags, ULONG reserved);
using LPMAPISENDMAILW
    = ULONG (*)(LHANDLE session, ULONG_PTR uiParam, lpMapiMessageW message, FLAGS flags, ULONG reserved);

inline constexpr ULONG MAPI_ORIG = 0;
inline constexpr ULONG MAPI_TO = 1;
inline constexpr ULONG MAPI_CC = 2;
inline constexpr ULONG MAPI_BCC = 3;

inline constexpr FLAGS MAPI_RECEIPT_REQUESTED = 0x2;

inline constexpr FLAGS MAPI_LOGON_UI = 0x1;
inline constexpr FLAGS MAPI_NEW_SESSION = 0x2;
inline constexpr FLAGS MAPI_DIALOG = 0x8;
inline constexpr FLAGS MAPI_FORCE_UNICODE = 0x40000;

inline constexpr ULONG SUCCESS_SUCCESS = 0;
inline constexpr ULONG MAPI_USER_ABORT = 1;
inline constexpr ULONG MAPI_E_FAILURE = 2;
inline constexpr ULONG MAPI_E_LOGON_FAILURE = 3;
inline constexpr ULONG MAPI_E_DISK_FULL = 4;
inline constexpr ULONG MAPI_E_INSUFFICIENT_MEMORY = 5;
inline constexpr ULONG MAPI_E_ACCESS_DENIED = 6;
inline constexpr ULONG MAPI_E_TOO_MANY_SESSIONS = 8;
inline constexpr ULONG MAPI_E_TOO_MANY_FILES = 9;
inline constexpr ULONG MAPI_E_TOO_MANY_RECIPIENTS = 10;
inline constexpr ULONG MAPI_E_ATTACHMENT_NOT_FOUND = 11;
inline constexpr ULONG MAPI_E_ATTACHMENT_OPEN_FAILURE = 12;
inline constexpr ULONG MAPI_E_ATTACHMENT_WRITE_FAILURE = 13;
inline constexpr ULONG MAPI_E_UNKNOWN_RECIPIENT = 14;
inline constexpr ULONG MAPI_E_BAD_RECIPTYPE = 15;
inline constexpr ULONG MAPI_E_NO_MESSAGES = 16;
inline constexpr ULONG MAPI_E_INVALID_MESSAGE = 17;
inline constexpr ULONG MAPI_E_TEXT_TOO_LARGE = 18;
inline constexpr ULONG MAPI_E_INVALID_SESSION = 19;
inline constexpr ULONG MAPI_E_TYPE_NOT_SUPPORTED = 20;
inline constexpr ULONG MAPI_E_AMBIGUOUS_RECIPIENT = 21;
inline constexpr ULONG MAPI_E_MESSAGE_IN_USE = 22;
inline constexpr ULONG MAPI_E_NETWORK_FAILURE = 23;
inline constexpr ULONG MAPI_E_INVALID_EDITFIELDS = 24;
inline constexpr ULONG MAPI_E_INVALID_RECIPS = 25;
inline constexpr ULONG MAPI_E_NOT_SUPPORTED = 26;
inline constexpr ULONG MAPI_E_UNICODE_NOT_SUPPORTED = 27;
inline constexpr ULONG MAPI_E_ATTACHMENT_TOO_LARGE = 28;
