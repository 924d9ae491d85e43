#pragma once

#include <string>

namespace mapi
{

// What "ostrelle/mapi.ini" in the directories of settings says, in the group "MAPI".
struct Settings {
    enum class Route {
        Automatic,
        Mailto,
        Draft,
        Portal,
        Outbox,
    };

    Route route = Route::Automatic;
    std::string client; // a name of the table, or a desktop entry; empty for the user's default
    std::string outbox; // absolute; empty for the default
    std::string staging; // absolute; empty for the default
};

// Reads them anew; each key counts from the first file that has it, and a file that does not exist has
// none. Throws Failure(MAPI_E_FAILURE) for a file that cannot be read or is no such file, and for a value
// that cannot be: to go on without it would bring the mail another way than the one that was asked for.
[[nodiscard]] Settings readSettings();

}
