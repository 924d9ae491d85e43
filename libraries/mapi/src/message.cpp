#include "message.h"

#include "failure.h"
#include "text.h"

#include <algorithm>

namespace mapi
{

namespace
{

constexpr ULONG codePageUtf8 = 65001;

std::string lastComponent(const std::string &path)
{
    const std::size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The shape of the two families of structures is the same, only the text type differs: `content` reads
// subject and note text, `name` everything else.
template <typename MessageStruct, typename Content, typename Name>
Message readMessage(const MessageStruct *message, const Content &content, const Name &name)
{
    if (message == nullptr)
        throw Failure(MAPI_E_INVALID_MESSAGE, "no message");
    if (message->nRecipCount > 0 && message->lpRecips == nullptr)
        throw Failure(MAPI_E_INVALID_RECIPS, "a number of recipients, but no list");
    if (message->nFileCount > 0 && message->lpFiles == nullptr)
        throw Failure(MAPI_E_INVALID_MESSAGE, "a number of files, but no list");

    const auto recipient = [&name](const auto &from) {
        return Message::Recipient{from.ulRecipClass, name(from.lpszName), name(from.lpszAddress)};
    };

    Message result;
    result.subject = content(message->lpszSubject);
    result.noteText = content(message->lpszNoteText);
    result.receiptRequested = (message->flFlags & MAPI_RECEIPT_REQUESTED) != 0;
    if (message->lpOriginator != nullptr)
        result.originator = recipient(*message->lpOriginator);
    for (ULONG i = 0; i < message->nRecipCount; ++i)
        result.recipients.push_back(recipient(message->lpRecips[i]));
    for (ULONG i = 0; i < message->nFileCount; ++i) {
        Message::File file;
        file.path = name(message->lpFiles[i].lpszPathName);
        std::replace(file.path.begin(), file.path.end(), '\\', '/');
        // A name shown to the receiver is never a path, whatever the caller wrote.
        file.name = lastComponent(name(message->lpFiles[i].lpszFileName));
        if (file.name.empty())
            file.name = lastComponent(file.path);
        result.files.push_back(std::move(file));
    }
    return result;
}

}

Message messageFromWide(const MapiMessageW *message)
{
    return readMessage(message, utf8FromUtf16, utf8FromUtf16);
}

Message messageFromNarrow(const MapiMessage *message)
{
    const bool utf8 = message != nullptr && message->ulReserved == codePageUtf8;
    return readMessage(message, utf8 ? utf8FromBytes : utf8FromLocale, utf8FromLocale);
}

}
