#pragma once

#include "bytestreams.h"
#include "filedescriptor.h"

#include <chrono>
#include <functional>
#include <string>

namespace mapi
{

// A directory of finished .eml files, one per mail. Several processes may store into one at a time.
//
// A file is named by the time in UTC and a random part, "20240131T235959.123456Z-0123456789abcdef.eml", so
// names sort by time and the last one is the newest. Before it is complete it is called
// ".ostrelle-<same>.part"; a process that is killed leaves at most such a file, never an .eml that is not
// whole. Files are readable by their owner only.
class Outbox
{
public:
    // OSTRELLE_OUTBOX; when that is not set or empty, `configured`; when that is empty too,
    // "ostrelle/outbox" in the user's data directory. Throws Failure(MAPI_E_FAILURE) for a relative path:
    // the mail would depend on the working directory.
    [[nodiscard]] static std::string defaultDirectory(const std::string &configured = {});

    // Opens `directory` and creates it and what is missing above it, for the owner only. Links are
    // followed. Throws Failure as resultFromErrno says.
    explicit Outbox(std::string directory);

    // Stores what `write` writes and gives the path of the file. Everything is on the disk when this
    // returns. Throws Failure as resultFromErrno says, and passes on what `write` throws; nothing is left
    // behind then.
    std::string store(const std::function<void(FileSink &)> &write);

    // Removes unfinished files of this user that nobody has written to for `age`. Done before each store
    // with leftoverAge; failures do not matter.
    void removeLeftovers(std::chrono::seconds age) noexcept;

    // A mail being written touches its file all the time, so a day is beyond doubt.
    static constexpr std::chrono::seconds leftoverAge = std::chrono::hours(24);

private:
    std::string m_directory;
    FileDescriptor m_handle;
};

}
