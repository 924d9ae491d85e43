#include "mapinarrow.h"

#include "mapihandles.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

namespace
{

constexpr std::size_t shortPathUnits = 260; // MAX_PATH, with the terminating null

bool isFailure(HRESULT status)
{
    return status < 0;
}

// The reason of the last failure as a status. A code that is none of the system's stays as it is.
HRESULT lastErrorStatus(MapiPlatform &platform)
{
    const auto code = static_cast<HRESULT>(platform.lastError());
    return code <= 0 ? code : static_cast<HRESULT>((static_cast<DWORD>(code) & 0xFFFFU) | 0x80070000U);
}

void freeRecipients(MapiPlatform &platform, MapiRecipDesc *recipients, ULONG count)
{
    if (recipients == nullptr)
        return;
    for (const MapiRecipDesc &recipient : std::span(recipients, count)) {
        platform.release(recipient.lpszName);
        platform.release(recipient.lpszAddress);
        platform.release(recipient.lpEntryID);
    }
    platform.release(recipients);
}

void freeFiles(MapiPlatform &platform, MapiFileDesc *files, ULONG count)
{
    if (files == nullptr)
        return;
    for (const MapiFileDesc &file : std::span(files, count)) {
        platform.release(file.lpszPathName);
        platform.release(file.lpszFileName);
    }
    platform.release(files);
}

HRESULT convertAnsi(MapiPlatform &platform, const WCHAR *wide, char **narrow)
{
    return convertText(platform, wide, narrow, false, nullptr);
}

HRESULT convertRecipient(MapiPlatform &platform, const MapiRecipDescW &wide, MapiRecipDesc &narrow)
{
    narrow.ulReserved = wide.ulReserved;
    narrow.ulRecipClass = wide.ulRecipClass;
    narrow.ulEIDSize = wide.ulEIDSize;
    HRESULT status = convertAnsi(platform, wide.lpszName, &narrow.lpszName);
    if (isFailure(status))
        return status;
    status = convertAnsi(platform, wide.lpszAddress, &narrow.lpszAddress);
    if (isFailure(status))
        return status;
    if (wide.lpEntryID != nullptr && wide.ulEIDSize != 0) {
        narrow.lpEntryID = platform.allocate(wide.ulEIDSize);
        if (narrow.lpEntryID == nullptr)
            return E_OUTOFMEMORY;
        std::memcpy(narrow.lpEntryID, wide.lpEntryID, wide.ulEIDSize);
    }
    return S_OK;
}

HRESULT convertFile(MapiPlatform &platform, const MapiFileDescW &wide, MapiFileDesc &narrow)
{
    narrow.ulReserved = wide.ulReserved;
    narrow.flFlags = wide.flFlags;
    narrow.nPosition = wide.nPosition;
    narrow.lpFileType = wide.lpFileType;
    const HRESULT status = convertAttachmentPath(platform, wide.lpszPathName, &narrow.lpszPathName);
    return isFailure(status) ? status : convertAnsi(platform, wide.lpszFileName, &narrow.lpszFileName);
}

// Converts an array element by element into `narrow`. After a failure `narrow` holds what was converted so
// far, for the one who frees the message.
template <typename Wide, typename Narrow>
HRESULT convertArray(MapiPlatform &platform, const Wide *wide, ULONG count, Narrow *&narrow,
                     HRESULT (*convertElement)(MapiPlatform &, const Wide &, Narrow &))
{
    if (wide == nullptr || count == 0)
        return S_OK;
    narrow = allocateMapiMemory<Narrow>(platform, count).release();
    if (narrow == nullptr)
        return E_OUTOFMEMORY;
    HRESULT status = S_OK;
    for (ULONG index = 0; index < count && !isFailure(status); ++index)
        status = convertElement(platform, wide[index], narrow[index]);
    return status;
}

HRESULT convertFields(MapiPlatform &platform, const MapiMessageW &wide, MapiMessage &narrow, bool useUtf8)
{
    struct Text {
        LPWSTR MapiMessageW::*wide;
        LPSTR MapiMessage::*narrow;
        bool mayBeUtf8;
    };
    static constexpr std::array<Text, 5> texts{{
        {&MapiMessageW::lpszSubject, &MapiMessage::lpszSubject, true},
        {&MapiMessageW::lpszNoteText, &MapiMessage::lpszNoteText, true},
        {&MapiMessageW::lpszMessageType, &MapiMessage::lpszMessageType, false},
        {&MapiMessageW::lpszDateReceived, &MapiMessage::lpszDateReceived, false},
        {&MapiMessageW::lpszConversationID, &MapiMessage::lpszConversationID, false},
    }};
    for (const Text &text : texts) {
        const HRESULT status = convertText(platform, wide.*text.wide, &(narrow.*text.narrow),
                                           text.mayBeUtf8 && useUtf8, nullptr);
        if (isFailure(status))
            return status;
    }

    // The counts first: after a failure they tell how much there is to free.
    narrow.nRecipCount = wide.nRecipCount;
    narrow.nFileCount = wide.nFileCount;
    HRESULT status = convertArray(platform, wide.lpOriginator, 1, narrow.lpOriginator, convertRecipient);
    if (isFailure(status))
        return status;
    status = convertArray(platform, wide.lpRecips, wide.nRecipCount, narrow.lpRecips, convertRecipient);
    if (isFailure(status))
        return status;
    status = convertArray(platform, wide.lpFiles, wide.nFileCount, narrow.lpFiles, convertFile);
    if (isFailure(status))
        return status;

    narrow.ulReserved = useUtf8 ? CP_UTF8 : wide.ulReserved;
    narrow.flFlags = wide.flFlags;
    return S_OK;
}

}

HRESULT convertMessageToNarrow(MapiPlatform &platform, const MapiMessageW *wide, MapiMessage **narrow,
                               bool useUtf8)
{
    *narrow = nullptr;
    if (wide == nullptr)
        return S_OK;
    auto *const message = static_cast<MapiMessage *>(platform.allocate(sizeof(MapiMessage)));
    if (message == nullptr)
        return E_OUTOFMEMORY;
    const HRESULT status = convertFields(platform, *wide, *message, useUtf8);
    if (isFailure(status))
        freeNarrowMessage(platform, message);
    else
        *narrow = message;
    return status;
}

void freeNarrowMessage(MapiPlatform &platform, MapiMessage *narrow)
{
    if (narrow == nullptr)
        return;
    platform.release(narrow->lpszSubject);
    platform.release(narrow->lpszNoteText);
    platform.release(narrow->lpszMessageType);
    platform.release(narrow->lpszDateReceived);
    platform.release(narrow->lpszConversationID);
    freeRecipients(platform, narrow->lpOriginator, 1);
    freeRecipients(platform, narrow->lpRecips, narrow->nRecipCount);
    freeFiles(platform, narrow->lpFiles, narrow->nFileCount);
    platform.release(narrow);
}

HRESULT convertText(MapiPlatform &platform, const WCHAR *wide, char **narrow, bool useUtf8, bool *lossy)
{
    *narrow = nullptr;
    if (lossy != nullptr)
        *lossy = false;
    if (wide == nullptr)
        return S_OK;

    const UINT codePage = useUtf8 ? CP_UTF8 : CP_ACP;
    const DWORD flags = useUtf8 ? WC_ERR_INVALID_CHARS : 0;
    BOOL usedDefault = 0;
    BOOL *const reportDefault = useUtf8 ? nullptr : &usedDefault;
    const int size = platform.wideCharToMultiByte(codePage, flags, wide, nullptr, 0, reportDefault);
    if (size == 0)
        return lastErrorStatus(platform);
    MapiMemory<char> text = allocateMapiMemory<char>(platform, static_cast<std::size_t>(size));
    if (text == nullptr)
        return E_OUTOFMEMORY;
    if (platform.wideCharToMultiByte(codePage, flags, wide, text.get(), size, reportDefault) == 0)
        return lastErrorStatus(platform);
    *narrow = text.release();
    if (lossy != nullptr)
        *lossy = usedDefault != 0;
    return S_OK;
}

HRESULT convertAttachmentPath(MapiPlatform &platform, const WCHAR *wide, char **narrow)
{
    bool lossy = false;
    HRESULT status = convertText(platform, wide, narrow, false, &lossy);
    if (isFailure(status) || !lossy)
        return status;
    platform.release(*narrow);
    *narrow = nullptr;

    std::array<WCHAR, shortPathUnits> shortPath{};
    const DWORD length = platform.shortPathName(wide, shortPath.data(), shortPathUnits);
    if (length >= shortPathUnits)
        return E_INVALIDARG;
    if (length == 0)
        return lastErrorStatus(platform);
    status = convertText(platform, shortPath.data(), narrow, false, &lossy);
    if (isFailure(status) || !lossy)
        return status;
    platform.release(*narrow);
    *narrow = nullptr;
    return E_INVALIDARG;
}
