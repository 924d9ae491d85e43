#pragma once

#include <mapitypes.h>

#include <optional>
#include <string>
#include <vector>

namespace mapi
{

// A mail as the caller handed it over, all texts in UTF-8, nothing checked yet. Both entries come down to
// this one value.
struct Message {
    struct Recipient {
        ULONG recipientClass = MAPI_TO; // any number the caller wrote
        std::string name;
        std::string address; // may be empty: then the name is to be read as the address
    };

    struct File {
        std::string path; // with slashes
        std::string name; // name shown to the receiver; never empty unless the path has no last component
    };

    std::string subject;
    std::string noteText; // line ends as they came
    std::optional<Recipient> originator;
    std::vector<Recipient> recipients;
    std::vector<File> files;
    bool receiptRequested = false;
};

// Copies everything that counts out of the caller's structures. Callers of Simple MAPI write paths with
// backslashes, so each backslash in a path becomes a slash; a file whose own name has a backslash cannot
// be named. Null texts count as empty. Throws Failure: MAPI_E_INVALID_MESSAGE for a null message or a
// count of files without an array, MAPI_E_INVALID_RECIPS for a count of recipients without an array.
[[nodiscard]] Message messageFromWide(const MapiMessageW *message);
// The same for the narrow entry: texts are in the locale's charset, but subject and note text are UTF-8
// when `ulReserved` is 65001, the number of that code page.
[[nodiscard]] Message messageFromNarrow(const MapiMessage *message);

}
