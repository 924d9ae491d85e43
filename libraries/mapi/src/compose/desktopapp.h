#pragma once

#include "compose/argument.h"
#include "compose/clients.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mapi
{

// What is known of an installed application: a desktop entry, or a bare program.
struct DesktopApp {
    std::string id; // "org.example.Mail.desktop"; empty for a bare program
    std::string name; // what the user calls it
    std::string file; // of the entry
    std::vector<std::string> command; // the words of Exec, with field codes ("%u"); may be empty
    std::vector<std::string> types; // the MIME types it says it opens
    bool busActivatable = false; // asks to be started by the session bus
    std::string flatpak; // the package that it belongs to, when that is one of Flatpak
    bool terminal = false; // runs in a terminal
};

// The user's default application for links of a scheme, for files of a type, by GIO's rules; nothing when
// there is none. For types, an application counts only when it names that very type: GIO would also give
// the editor for plain text, which is what a mail is in the hierarchy of types.
[[nodiscard]] std::optional<DesktopApp> defaultAppForScheme(const char *scheme);
[[nodiscard]] std::optional<DesktopApp> defaultAppForType(const char *type);
// By the name of its entry, with or without ".desktop".
[[nodiscard]] std::optional<DesktopApp> appByEntry(std::string_view entry);
// What is installed of a client of the table: one of its entries, otherwise one of its programs in PATH.
[[nodiscard]] std::optional<DesktopApp> installedApp(const MailClient &client);

// How a client of the table is started.
struct ClientCommand {
    const MailClient *client = nullptr;
    std::vector<std::string> words; // the client's own arguments come behind these
    std::string flatpak; // its package when it runs in that sandbox
};

// Recognises a client by the program that its entry starts, through "env", Flatpak and Snap too. Nothing
// for others, and for entries that start it in a way of their own (a shell, a script).
[[nodiscard]] std::optional<ClientCommand> recogniseClient(const DesktopApp &app);

// The command line of an entry for one link or file, by the Desktop Entry Specification; `path` is empty
// for what is no file. Nothing when the entry cannot take it: no command, a terminal, no place for a link,
// or a field code inside of a longer text with blanks, which would be a script.
[[nodiscard]] std::optional<Arguments> commandFor(const DesktopApp &app, const Argument &uri,
                                                  const std::string &path);

}
