#pragma once

#include "mapitypes.h"

#include <string>

// The recording provider: a Simple MAPI library that sends nothing and writes down what it was handed.
//
// Environment, read at each call:
//   OSTRELLE_RECORD         the file that gets one line, a JSON object in ASCII, for each call
//   OSTRELLE_RECORD_RESULT  the result code, decimal, 0 if missing; "-1" and "4294967295" are the same
//
// One call is
//   {"entry": "MAPISendMailW" | "MAPISendMail", "library": file name of this library,
//    "session": n, "uiParam": n, "flags": n, "reserved": n, "result": n, "message": null | {...}}
// and the message has the fields of MapiMessage under their own names. A null pointer is null. A wide
// text is a string, with a surrogate that stands alone as its \u escape; a narrow one is
// {"hex": its bytes, "text": the string, or null where the bytes are no UTF-8}. A recipient also has
// "nameIsAddress", whether both texts are one pointer, and "lpEntryID" as hexadecimal bytes; a file also
// has "exists" and "size" (bytes, as seen during the call) and "lpFileType" as null or true.
// An array with a count of 0 that is not null is [].
namespace recorder
{

// The result when a call could not be recorded: no OSTRELLE_RECORD, a file that cannot be written, or an
// OSTRELLE_RECORD_RESULT that is no number. No provider uses this code, so a test cannot miss it.
inline constexpr ULONG notRecorded = 9999;

// Records one call and gives the result for it. `entry` is the name of the entry that was called.
ULONG record(const char *entry, LHANDLE session, ULONG_PTR uiParam, const MapiMessage *message, FLAGS flags,
             ULONG reserved);
ULONG record(const char *entry, LHANDLE session, ULONG_PTR uiParam, const MapiMessageW *message, FLAGS flags,
             ULONG reserved);

}
