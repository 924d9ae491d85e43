#pragma once

#include <QString>
#include <QUuid>

namespace platform
{

// Known folders by their KNOWNFOLDERID (knownfolders.h of Windows).
//
// LocalAppData: a user's data on this machine; Linux: $XDG_DATA_HOME, else ~/.local/share.
inline constexpr QUuid localAppDataFolder(0xF1B32785, 0x6FBA, 0x4FCF, 0x9D, 0x55, 0x7B, 0x8E, 0x7F, 0x15,
                                          0x70, 0x91);
// RoamingAppData: what follows the user to other machines; Linux: $XDG_CONFIG_HOME, else ~/.config.
inline constexpr QUuid roamingAppDataFolder(0x3EB685DB, 0x65F9, 0x4CF6, 0xA0, 0x3A, 0xE3, 0xEF, 0x65, 0x72,
                                            0x9F, 0x3D);
// ProgramData: shared by all users; Linux: the first directory of $XDG_DATA_DIRS, else /usr/local/share.
inline constexpr QUuid programDataFolder(0x62AB5D82, 0xFDC1, 0x4DC3, 0xA9, 0xDD, 0x07, 0x0D, 0x1D, 0x49, 0x5D,
                                         0x97);

// Where the platform keeps things. Any thread, as long as none changes the environment.
class Folders
{
public:
    virtual ~Folders() = default;

    // The path of the known folder `id`, spelt as the system does (backslashes on Windows). Empty when there
    // is no such folder, when it is missing and `create` does not ask for it, and when it cannot be made.
    // Linux knows the three above; what it makes there is private to the user, and as the XDG base
    // directory rules want it, a relative path in a variable counts as none.
    [[nodiscard]] virtual QString knownFolder(const QUuid &id, bool create) = 0;

    // The absolute path of the program `name`, a plain file name, by the system's own search apart from the
    // registry: the first executable file in PATH on Linux. Empty when there is none, and always on
    // Windows, where App Paths in the registry answer that question.
    [[nodiscard]] virtual QString findProgram(const QString &name) = 0;
};

// The real ones of this platform; they live as long as the process.
[[nodiscard]] Folders &folders();

// Makes one directory that only this process's user may enter: at most mode 0700 on Linux from its first
// moment, less what the umask takes from the user. On Windows it has the access list of its parent, which for
// a user's temporary path lets the user, the system and administrators in. False when it cannot be made or
// exists already.
[[nodiscard]] bool makePrivateDirectory(const QString &path);

// Whether `path` is itself a directory, no link or junction to one, and belongs to this process's effective
// user. In a directory that others may write to, this is what tells own entries from planted ones; Windows
// does not ask for the owner, since there the temporary path is the user's own.
[[nodiscard]] bool isOwnDirectory(const QString &path);

}
