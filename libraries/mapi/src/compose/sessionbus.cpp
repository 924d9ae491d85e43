#include "compose/sessionbus.h"

#include <gio/gunixfdlist.h>

namespace mapi
{

namespace
{

bool isOneOf(const GError &error, std::initializer_list<GDBusError> codes)
{
    for (const GDBusError code : codes) {
        if (g_error_matches(&error, G_DBUS_ERROR, code) != FALSE)
            return true;
    }
    return false;
}

// By which the other side calls the error; empty for an error of this side.
std::string remoteName(const GError &error)
{
    const std::unique_ptr<char, decltype(&g_free)> remote(g_dbus_error_get_remote_error(&error), &g_free);
    return remote != nullptr ? remote.get() : "";
}

ULONG codeOf(const GError &error)
{
    if (isOneOf(error,
                {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER, G_DBUS_ERROR_UNKNOWN_METHOD,
                 G_DBUS_ERROR_UNKNOWN_INTERFACE, G_DBUS_ERROR_UNKNOWN_OBJECT, G_DBUS_ERROR_UNKNOWN_PROPERTY,
                 G_DBUS_ERROR_SPAWN_EXEC_FAILED, G_DBUS_ERROR_SPAWN_FORK_FAILED,
                 G_DBUS_ERROR_SPAWN_CHILD_EXITED, G_DBUS_ERROR_SPAWN_CHILD_SIGNALED,
                 G_DBUS_ERROR_SPAWN_FAILED, G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND}))
        return MAPI_E_NOT_SUPPORTED;
    if (isOneOf(error, {G_DBUS_ERROR_ACCESS_DENIED, G_DBUS_ERROR_AUTH_FAILED}))
        return MAPI_E_ACCESS_DENIED;
    if (isOneOf(error, {G_DBUS_ERROR_INVALID_ARGS}))
        return MAPI_E_INVALID_MESSAGE;
    const std::string name = remoteName(error);
    if (name == "org.freedesktop.portal.Error.InvalidArgument")
        return MAPI_E_INVALID_MESSAGE;
    if (name == "org.freedesktop.portal.Error.NotAllowed")
        return MAPI_E_ACCESS_DENIED;
    return MAPI_E_FAILURE;
}

}

Failure busFailure(const std::string &what, const GError &error)
{
    return {codeOf(error), what + ": " + error.message};
}

OwnMainContext::OwnMainContext() : m_context(g_main_context_new())
{
    g_main_context_push_thread_default(m_context);
}

OwnMainContext::~OwnMainContext()
{
    // What is still on its way belongs to subscriptions that have ended.
    while (g_main_context_iteration(m_context, FALSE) != FALSE) { }
    g_main_context_pop_thread_default(m_context);
    g_main_context_unref(m_context);
}

SessionBus::SessionBus()
{
    GError *error = nullptr;
    const std::unique_ptr<char, decltype(&g_free)> address(
        g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error), &g_free);
    if (address != nullptr)
        m_connection.reset(g_dbus_connection_new_for_address_sync(
            address.get(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                                              | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, &error));
    if (m_connection == nullptr) {
        const GErrorPtr owner(error);
        throw Failure(MAPI_E_NOT_SUPPORTED, std::string("no session bus: ") + error->message);
    }
}

SessionBus::~SessionBus()
{
    g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr);
}

GVariantPtr SessionBus::call(const char *name, const char *path, const char *interface, const char *method,
                             GVariant *arguments, const BusCallOptions &options) const
{
    GError *error = nullptr;
    GVariantPtr answer(g_dbus_connection_call_with_unix_fd_list_sync(
        m_connection.get(), name, path, interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
        static_cast<int>(std::chrono::milliseconds(options.timeLimit).count()), options.files, nullptr,
        nullptr, &error));
    if (answer == nullptr) {
        const GErrorPtr owner(error);
        const std::string what = std::string(name).append(" ").append(method);
        const std::string remote = remoteName(*error);
        if (options.quotesArguments && !remote.empty())
            throw Failure(codeOf(*error), what + ": " + remote);
        throw busFailure(what, *error);
    }
    return answer;
}

}
