#pragma once

#include "failure.h"
#include "gmime.h"

#include <gio/gio.h>

#include <chrono>
#include <memory>
#include <string>

namespace mapi
{

struct GVariantDeleter {
    void operator()(GVariant *value) const noexcept { g_variant_unref(value); }
};
using GVariantPtr = std::unique_ptr<GVariant, GVariantDeleter>;

struct GErrorDeleter {
    void operator()(GError *error) const noexcept { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorDeleter>;

// An error that came back over the bus. `code` is MAPI_E_NOT_SUPPORTED when there is nobody who could have
// answered, so that nothing has happened; MAPI_E_ACCESS_DENIED when it is not allowed;
// MAPI_E_INVALID_MESSAGE for an argument that was refused; otherwise MAPI_E_FAILURE.
[[nodiscard]] Failure busFailure(const std::string &what, const GError &error);

struct BusCallOptions {
    GUnixFDList *files = nullptr;
    std::chrono::seconds timeLimit{60};
    // Whether the other side may quote in an error what it was given, such as the text of a mail; then only
    // the name of the error is kept.
    bool quotesArguments = false;
};

// Signals are delivered where they were asked for, and the end of a connection where it was made; this keeps
// the caller's own main loop out of both. For a scope of one thread.
class OwnMainContext
{
public:
    OwnMainContext();
    ~OwnMainContext();
    OwnMainContext(const OwnMainContext &) = delete;
    OwnMainContext &operator=(const OwnMainContext &) = delete;

    [[nodiscard]] GMainContext *get() const { return m_context; }

private:
    GMainContext *m_context;
};

// A connection to the user's session bus for one call of the library. Not the one that GIO shares within a
// process: that one ends the process when the bus goes away.
class SessionBus
{
public:
    // Throws Failure(MAPI_E_NOT_SUPPORTED) without a bus.
    SessionBus();
    ~SessionBus();
    SessionBus(const SessionBus &) = delete;
    SessionBus &operator=(const SessionBus &) = delete;

    [[nodiscard]] GDBusConnection *get() const { return m_connection.get(); }
    // Where its signals arrive.
    [[nodiscard]] GMainContext *context() const { return m_context.get(); }

    // Calls a method and waits for its answer. `arguments` may be floating and is taken over. Throws
    // busFailure.
    GVariantPtr call(const char *name, const char *path, const char *interface, const char *method,
                     GVariant *arguments, const BusCallOptions &options = {}) const;

private:
    OwnMainContext m_context;
    GObjectPtr<GDBusConnection> m_connection;
};

}
