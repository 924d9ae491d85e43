#include "compose/busclients.h"

#include "filedescriptor.h"
#include "resultcodes.h"

#include <gio/gunixfdlist.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <span>

#include <fcntl.h>

namespace mapi
{

namespace
{

constexpr const char *documentsName = "org.freedesktop.portal.Documents";
constexpr const char *documentsPath = "/org/freedesktop/portal/documents";

// AddFull: share an entry that there is, keep it beyond this session, and add none that is not needed.
constexpr guint32 reuseExisting = 1;
constexpr guint32 persistent = 2;
constexpr guint32 asNeededByApp = 4;

// Descriptors with a message: what a bus allows where it is not told otherwise.
constexpr std::size_t filesPerCall = 16;

// A client that has to be started first opens its folders before it answers.
constexpr std::chrono::minutes openTimeLimit(5);

std::string mountPoint(const SessionBus &bus)
{
    const GVariantPtr answer
        = bus.call(documentsName, documentsPath, documentsName, "GetMountPoint", nullptr);
    const GVariantPtr bytes(g_variant_get_child_value(answer.get(), 0));
    if (g_variant_is_of_type(bytes.get(), G_VARIANT_TYPE_BYTESTRING) == FALSE)
        throw Failure(MAPI_E_FAILURE, "the document portal does not say where it is");
    return g_variant_get_bytestring(bytes.get());
}

// Appends where the package finds the files.
void addDocuments(const SessionBus &bus, const std::string &package, const std::string &mount,
                  std::span<const std::string> paths, std::vector<std::string> &exported)
{
    const GObjectPtr<GUnixFDList> files(g_unix_fd_list_new());
    GVariantBuilder handles;
    g_variant_builder_init(&handles, G_VARIANT_TYPE("ah"));
    for (const std::string &path : paths) {
        const FileDescriptor file(::open(path.c_str(), O_PATH | O_CLOEXEC));
        const int index = file.isOpen() ? g_unix_fd_list_append(files.get(), file.get(), nullptr) : -1;
        if (index < 0) {
            const int error = errno;
            g_variant_builder_clear(&handles);
            throw systemFailure("open", path, error);
        }
        g_variant_builder_add(&handles, "h", index);
    }
    const char *const permissions[] = {"read", nullptr};
    const GVariantPtr answer
        = bus.call(documentsName, documentsPath, documentsName, "AddFull",
                   g_variant_new("(ahus^as)", &handles, reuseExisting | persistent | asNeededByApp,
                                 package.c_str(), permissions),
                   {.files = files.get()});
    if (g_variant_is_of_type(answer.get(), G_VARIANT_TYPE("(asa{sv})")) == FALSE)
        throw Failure(MAPI_E_FAILURE, "the document portal gives an answer of another form");
    const GVariantPtr ids(g_variant_get_child_value(answer.get(), 0));
    if (g_variant_n_children(ids.get()) != paths.size())
        throw Failure(MAPI_E_FAILURE, "the document portal did not take all files");

    for (std::size_t i = 0; i < paths.size(); ++i) {
        const GVariantPtr child(g_variant_get_child_value(ids.get(), i));
        const std::string id = g_variant_get_string(child.get(), nullptr);
        const std::string &path = paths[i];
        if (id.empty())
            exported.push_back(path);
        else
            exported.push_back(std::string(mount).append("/").append(id).append(path, path.rfind('/')));
    }
}

}

std::vector<std::string> exportDocuments(const SessionBus &bus, const std::string &package,
                                         const std::vector<std::string> &paths)
{
    if (paths.empty())
        return {};
    const std::string mount = mountPoint(bus);
    std::vector<std::string> exported;
    for (std::size_t i = 0; i < paths.size(); i += filesPerCall) {
        const std::size_t end = std::min(i + filesPerCall, paths.size());
        addDocuments(bus, package, mount, {&paths[i], end - i}, exported);
    }
    return exported;
}

void openByBus(const SessionBus &bus, const std::string &entry, const std::string &uri)
{
    constexpr std::string_view suffix = ".desktop";
    const std::string name
        = entry.size() > suffix.size() ? entry.substr(0, entry.size() - suffix.size()) : "";
    if (g_dbus_is_name(name.c_str()) == FALSE || g_dbus_is_unique_name(name.c_str()) != FALSE)
        throw Failure(MAPI_E_NOT_SUPPORTED, entry + " is no name on the bus");
    std::string path = "/" + name;
    std::replace(path.begin(), path.end(), '.', '/');
    std::replace(path.begin(), path.end(), '-', '_');
    const char *const uris[] = {uri.c_str(), nullptr};
    bus.call(name.c_str(), path.c_str(), "org.freedesktop.Application", "Open",
             g_variant_new("(^as@a{sv})", uris, g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)),
             {.timeLimit = openTimeLimit, .quotesArguments = true});
}

}
