#include "compose/portal.h"

#include "environment.h"
#include "filedescriptor.h"
#include "mapilog.h"
#include "resultcodes.h"
#include "text.h"

#include <gio/gunixfdlist.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <random>

#include <fcntl.h>

namespace mapi
{

namespace
{

constexpr const char *portalName = "org.freedesktop.portal.Desktop";
constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
constexpr const char *emailInterface = "org.freedesktop.portal.Email";
constexpr const char *requestInterface = "org.freedesktop.portal.Request";

constexpr unsigned versionWithActivation = 4;
// What a bus allows with a message where it is not told otherwise.
constexpr int alwaysAllowedFiles = 16;

bool isLetterOrDigit(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// "a-b.example": labels of 1 to 63 letters, digits and inner hyphens.
bool isDomain(std::string_view domain)
{
    constexpr std::size_t longestLabel = 63;
    while (true) {
        const std::size_t end = std::min(domain.find('.'), domain.size());
        const std::string_view label = domain.substr(0, end);
        if (label.empty() || label.size() > longestLabel || label.front() == '-' || label.back() == '-'
            || !std::all_of(label.begin(), label.end(),
                            [](char c) { return isLetterOrDigit(c) || c == '-'; }))
            return false;
        if (end == domain.size())
            return true;
        domain.remove_prefix(end + 1);
    }
}

// What HTML takes for a valid e-mail address, which is the portal's rule.
bool isPortalAddress(std::string_view address)
{
    const std::size_t at = address.find('@');
    if (at == std::string_view::npos || at == 0)
        return false;
    const std::string_view local = address.substr(0, at);
    return isDomain(address.substr(at + 1)) && std::all_of(local.begin(), local.end(), [](char c) {
               return isLetterOrDigit(c)
                   || std::string_view(".!#$%&'*+/=?^_`{|}~-").find(c) != std::string_view::npos;
           });
}

std::vector<std::string> addressesOf(const std::vector<Mailbox> &mailboxes)
{
    std::vector<std::string> addresses;
    for (const Mailbox &mailbox : mailboxes) {
        if (!isPortalAddress(mailbox.address))
            throw Failure(MAPI_E_INVALID_RECIPS, "the portal does not take the address " + mailbox.address);
        addresses.push_back(mailbox.address);
    }
    return addresses;
}

GVariant *textList(const std::vector<std::string> &texts)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("as"));
    for (const std::string &text : texts)
        g_variant_builder_add(&builder, "s", text.c_str());
    return g_variant_builder_end(&builder);
}

// Waits for the one Response of a request.
class ResponseWait
{
public:
    explicit ResponseWait(GDBusConnection *connection) : m_connection(connection)
    {
        m_watch = g_bus_watch_name_on_connection(connection, portalName, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                                 &ResponseWait::onAppeared, &ResponseWait::onVanished, this,
                                                 nullptr);
    }
    ~ResponseWait()
    {
        for (const guint subscription : m_subscriptions)
            g_dbus_connection_signal_unsubscribe(m_connection, subscription);
        g_bus_unwatch_name(m_watch);
    }
    ResponseWait(const ResponseWait &) = delete;
    ResponseWait &operator=(const ResponseWait &) = delete;

    void listenTo(const std::string &request)
    {
        m_subscriptions.push_back(g_dbus_connection_signal_subscribe(
            m_connection, portalName, requestInterface, "Response", request.c_str(), nullptr,
            G_DBUS_SIGNAL_FLAGS_NONE, &ResponseWait::onResponse, this, nullptr));
    }

    // The response; throws Failure(MAPI_E_FAILURE) when there will be none.
    guint32 wait(GMainContext *context, std::chrono::milliseconds timeLimit)
    {
        GSource *timer = g_timeout_source_new(static_cast<guint>(timeLimit.count()));
        g_source_set_callback(timer, &ResponseWait::onTimeOut, this, nullptr);
        g_source_attach(timer, context);
        while (!m_response && !m_gone && !m_late)
            g_main_context_iteration(context, TRUE);
        g_source_destroy(timer);
        g_source_unref(timer);
        if (m_response)
            return *m_response;
        throw Failure(MAPI_E_FAILURE,
                      m_gone ? "the portal went away" : "the portal gave no response in time");
    }

private:
    static void onResponse(GDBusConnection *, const char *, const char *, const char *, const char *,
                           GVariant *parameters, gpointer self)
    {
        constexpr guint32 other = 2;
        guint32 response = other;
        if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")) != FALSE)
            g_variant_get_child(parameters, 0, "u", &response);
        static_cast<ResponseWait *>(self)->m_response = response;
    }
    static void onAppeared(GDBusConnection *, const char *, const char *, gpointer) { }
    static void onVanished(GDBusConnection *, const char *, gpointer self)
    {
        static_cast<ResponseWait *>(self)->m_gone = true;
    }
    static gboolean onTimeOut(gpointer self)
    {
        static_cast<ResponseWait *>(self)->m_late = true;
        return G_SOURCE_CONTINUE;
    }

    GDBusConnection *m_connection;
    std::vector<guint> m_subscriptions;
    guint m_watch = 0;
    std::optional<guint32> m_response;
    bool m_gone = false;
    bool m_late = false;
};

std::string newToken()
{
    std::random_device random;
    return "ostrelle_" + std::to_string(random()) + "_" + std::to_string(random());
}

// Where the portal will make the request, by its rule.
std::string requestPath(GDBusConnection *connection, const std::string &token)
{
    std::string sender = g_dbus_connection_get_unique_name(connection);
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(portalPath) + "/request/" + sender.substr(1) + "/" + token;
}

GObjectPtr<GUnixFDList> openFiles(const std::vector<std::string> &paths)
{
    GObjectPtr<GUnixFDList> files(g_unix_fd_list_new());
    for (const std::string &path : paths) {
        const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file.isOpen() || g_unix_fd_list_append(files.get(), file.get(), nullptr) < 0)
            throw systemFailure("open", path, errno);
    }
    return files;
}

// A bus that allows fewer descriptors with a message ends the connection of whoever sends more.
GVariantPtr callWithFiles(const SessionBus &bus, GVariant *options, GUnixFDList *files)
{
    try {
        return bus.call(portalName, portalPath, emailInterface, "ComposeEmail",
                        g_variant_new("(s@a{sv})", "", options), {.files = files, .quotesArguments = true});
    } catch (const Failure &failure) {
        if (g_unix_fd_list_get_length(files) > alwaysAllowedFiles
            && g_dbus_connection_is_closed(bus.get()) != FALSE)
            throw Failure(MAPI_E_TOO_MANY_FILES, failure.what());
        throw;
    }
}

}

PortalMail portalMail(const Mail &mail, unsigned version)
{
    if (version < portalWithLists && (mail.to.size() > 1 || !mail.cc.empty() || !mail.bcc.empty()))
        throw Failure(MAPI_E_TOO_MANY_RECIPIENTS,
                      "the portal of version " + std::to_string(version) + " takes one recipient only");
    if (mail.attachments.size() > portalFiles)
        throw Failure(MAPI_E_TOO_MANY_FILES,
                      "the portal takes no " + std::to_string(mail.attachments.size()) + " attachments");
    if (g_utf8_strlen(mail.subject.c_str(), -1) > static_cast<glong>(portalSubjectLength))
        throw Failure(MAPI_E_TEXT_TOO_LARGE, "the subject is too long for the portal");
    return {addressesOf(mail.to), addressesOf(mail.cc), addressesOf(mail.bcc), mail.subject, mail.noteText};
}

GVariant *portalOptions(const PortalMail &mail, unsigned version, const std::string &token, int fileCount)
{
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    const auto addText = [&options](const char *key, const std::string &text) {
        if (!text.empty())
            g_variant_builder_add(&options, "{sv}", key, g_variant_new_string(text.c_str()));
    };
    const auto addList = [&options](const char *key, const std::vector<std::string> &texts) {
        if (!texts.empty())
            g_variant_builder_add(&options, "{sv}", key, textList(texts));
    };
    addText("handle_token", token);
    // Never both: some portals ignore the list when there is the single one.
    if (version < portalWithLists)
        addText("address", mail.to.empty() ? std::string() : mail.to.front());
    else
        addList("addresses", mail.to);
    addList("cc", mail.cc);
    addList("bcc", mail.bcc);
    addText("subject", mail.subject);
    addText("body", mail.body);
    if (version >= versionWithActivation)
        addText("activation_token", environmentVariable("XDG_ACTIVATION_TOKEN").value_or(std::string()));
    if (fileCount > 0) {
        GVariantBuilder handles;
        g_variant_builder_init(&handles, G_VARIANT_TYPE("ah"));
        for (int i = 0; i < fileCount; ++i)
            g_variant_builder_add(&handles, "h", i);
        g_variant_builder_add(&options, "{sv}", "attachment_fds", g_variant_builder_end(&handles));
    }
    return g_variant_builder_end(&options);
}

unsigned portalVersion(const SessionBus &bus)
{
    const GVariantPtr answer = bus.call(portalName, portalPath, "org.freedesktop.DBus.Properties", "Get",
                                        g_variant_new("(ss)", emailInterface, "version"));
    GVariant *value = nullptr;
    g_variant_get(answer.get(), "(v)", &value);
    const GVariantPtr owner(value);
    return g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32) != FALSE ? g_variant_get_uint32(value) : 1;
}

void composeByPortal(const SessionBus &bus, const Mail &mail, const std::vector<std::string> &files,
                     std::chrono::milliseconds timeLimit)
{
    const unsigned version = portalVersion(bus);
    const PortalMail arguments = portalMail(mail, version);
    logLine("portal: version " + std::to_string(version) + ", to " + quotedList(arguments.to) + ", cc "
            + quotedList(arguments.cc) + ", bcc " + quotedList(arguments.bcc) + ", files "
            + quotedList(files));

    const std::string token = newToken();
    const std::string expected = requestPath(bus.get(), token);
    ResponseWait response(bus.get());
    // Before the call: the response may be faster than the answer.
    response.listenTo(expected);
    const GObjectPtr<GUnixFDList> descriptors = openFiles(files);
    const GVariantPtr answer = callWithFiles(
        bus, portalOptions(arguments, version, token, static_cast<int>(files.size())), descriptors.get());
    // Old portals choose the path themselves.
    const char *handle = nullptr;
    if (g_variant_is_of_type(answer.get(), G_VARIANT_TYPE("(o)")) != FALSE)
        g_variant_get(answer.get(), "(&o)", &handle);
    if (handle != nullptr && handle != expected)
        response.listenTo(handle);

    constexpr guint32 cancelled = 1;
    const guint32 result = response.wait(bus.context(), timeLimit);
    logLine("portal: response " + std::to_string(result));
    if (result == cancelled)
        throw Failure(MAPI_USER_ABORT, "cancelled in the portal");
    if (result != 0)
        throw Failure(MAPI_E_FAILURE, "the portal answers " + std::to_string(result));
}

}
