// Stands for the desktop's portals and for a client that the bus starts. Writes down what it is asked, one
// JSON object per line, and behaves as its arguments say:
//
//     fakeportal RECORD READY MODE VERSION
//
// MODE: "answer:N" responds with N; "old" makes the request under a path of its own; "refuse" answers with
// an error that quotes what was asked; "silent" never responds; "leave" ends after the call; "unneeded" says
// that documents need no export; "partial" exports one document less. READY is written when the names are
// owned.

#include <QByteArray>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

// GLib uses words that are macros of Qt otherwise.
#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <memory>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

QString recordFile;
QString mode;
guint version = 4;
GMainLoop *loop = nullptr;

const char *const description
    = "<node>"
      "<interface name='org.freedesktop.portal.Email'>"
      "<method name='ComposeEmail'><arg type='s' direction='in'/><arg type='a{sv}' direction='in'/>"
      "<arg type='o' direction='out'/></method><property name='version' type='u' access='read'/></interface>"
      "<interface name='org.freedesktop.portal.Documents'>"
      "<method name='GetMountPoint'><arg type='ay' direction='out'/></method>"
      "<method name='AddFull'><arg type='ah' direction='in'/><arg type='u' direction='in'/>"
      "<arg type='s' direction='in'/><arg type='as' direction='in'/><arg type='as' direction='out'/>"
      "<arg type='a{sv}' direction='out'/></method></interface>"
      "<interface name='org.freedesktop.Application'>"
      "<method name='Open'><arg type='as' direction='in'/><arg type='a{sv}' direction='in'/></method>"
      "</interface></node>";

void record(const QJsonObject &object)
{
    QFile file(recordFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        qFatal("cannot write the record");
    file.write(QJsonDocument(object).toJson(QJsonDocument::Compact) + "\n");
}

QJsonArray texts(GVariant *list)
{
    QJsonArray out;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, list);
    const char *text = nullptr;
    while (g_variant_iter_next(&iterator, "&s", &text) != FALSE)
        out.append(QString::fromUtf8(text));
    return out;
}

QJsonArray paths(GDBusMethodInvocation *invocation)
{
    QJsonArray out;
    GUnixFDList *list = g_dbus_message_get_unix_fd_list(g_dbus_method_invocation_get_message(invocation));
    int count = 0;
    const int *descriptors = list != nullptr ? g_unix_fd_list_peek_fds(list, &count) : nullptr;
    for (int i = 0; i < count; ++i) {
        char buffer[4096];
        const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptors[i]);
        const ssize_t length = readlink(link.constData(), buffer, sizeof buffer);
        out.append(length > 0 ? QString::fromUtf8(buffer, length) : QString());
    }
    return out;
}

void composeEmail(GDBusConnection *connection, const QString &sender, GVariant *parameters,
                  GDBusMethodInvocation *invocation)
{
    GVariant *options = g_variant_get_child_value(parameters, 1);
    QJsonObject asked{{u"call"_s, u"ComposeEmail"_s}, {u"files"_s, paths(invocation)}};
    QString token;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, options);
    const char *key = nullptr;
    GVariant *value = nullptr;
    while (g_variant_iter_next(&iterator, "{&sv}", &key, &value) != FALSE) {
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) != FALSE)
            asked.insert(QString::fromUtf8(key), QString::fromUtf8(g_variant_get_string(value, nullptr)));
        else if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING_ARRAY) != FALSE)
            asked.insert(QString::fromUtf8(key), texts(value));
        g_variant_unref(value);
    }
    g_variant_unref(options);
    token = asked.take(u"handle_token"_s).toString();
    record(asked);
    if (mode == u"refuse"_s) {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.portal.Error.InvalidArgument",
                                                   qPrintable(u"no: "_s + asked[u"body"_s].toString()));
        return;
    }
    QString request = u"/org/freedesktop/portal/desktop/request/"_s
        + QString(sender.mid(1)).replace(u'.', u'_') + u'/' + token;
    if (mode == u"old"_s)
        request += u"_old"_s;
    const auto respond = [&](guint32 response) {
        g_dbus_connection_emit_signal(
            connection, qPrintable(sender), qPrintable(request), "org.freedesktop.portal.Request", "Response",
            g_variant_new("(u@a{sv})", response, g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)),
            nullptr);
    };
    // The response before the answer, which is the harder order; an old portal cannot do that.
    if (mode.startsWith(u"answer:"_s))
        respond(mode.mid(7).toUInt());
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", qPrintable(request)));
    if (mode == u"old"_s) {
        // Once the other side has had its turn to listen.
        g_dbus_connection_flush_sync(connection, nullptr, nullptr);
        static QString path;
        static QString receiver;
        path = request;
        receiver = sender;
        g_timeout_add(
            500,
            [](gpointer bus) -> gboolean {
                g_dbus_connection_emit_signal(
                    static_cast<GDBusConnection *>(bus), qPrintable(receiver), qPrintable(path),
                    "org.freedesktop.portal.Request", "Response",
                    g_variant_new("(u@a{sv})", 0U, g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)),
                    nullptr);
                return G_SOURCE_CONTINUE; // until it was heard
            },
            connection);
    }
    if (mode == u"leave"_s) {
        g_dbus_connection_flush_sync(connection, nullptr, nullptr);
        g_main_loop_quit(loop);
    }
}

void addFull(GVariant *parameters, GDBusMethodInvocation *invocation)
{
    GVariant *permissions = g_variant_get_child_value(parameters, 3);
    const char *app = nullptr;
    guint32 flags = 0;
    g_variant_get_child(parameters, 1, "u", &flags);
    g_variant_get_child(parameters, 2, "&s", &app);
    const QJsonArray files = paths(invocation);
    record({{u"call"_s, u"AddFull"_s},
            {u"files"_s, files},
            {u"app"_s, QString::fromUtf8(app)},
            {u"flags"_s, int(flags)},
            {u"permissions"_s, texts(permissions)}});
    g_variant_unref(permissions);
    GVariantBuilder ids;
    g_variant_builder_init(&ids, G_VARIANT_TYPE("as"));
    const qsizetype count = files.size() - (mode == u"partial"_s ? 1 : 0);
    for (qsizetype i = 0; i < count; ++i)
        g_variant_builder_add(&ids, "s",
                              mode == u"unneeded"_s ? "" : qPrintable(u"doc"_s + QString::number(i)));
    g_dbus_method_invocation_return_value(
        invocation,
        g_variant_new("(as@a{sv})", &ids, g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)));
}

void onCall(GDBusConnection *connection, const char *sender, const char *, const char *, const char *method,
            GVariant *parameters, GDBusMethodInvocation *invocation, gpointer)
{
    const QByteArray name = method;
    if (name == "ComposeEmail") {
        composeEmail(connection, QString::fromUtf8(sender), parameters, invocation);
    } else if (name == "GetMountPoint") {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(^ay)", "/run/user/1/doc"));
    } else if (name == "AddFull") {
        addFull(parameters, invocation);
    } else {
        GVariant *uris = g_variant_get_child_value(parameters, 0);
        const QJsonArray asked = texts(uris);
        record({{u"call"_s, u"Open"_s}, {u"uris"_s, asked}});
        g_variant_unref(uris);
        if (mode == u"refuse"_s)
            g_dbus_method_invocation_return_dbus_error(invocation, "org.example.Error.No",
                                                       qPrintable(u"no: "_s + asked[0].toString()));
        else
            g_dbus_method_invocation_return_value(invocation, nullptr);
    }
}

GVariant *onProperty(GDBusConnection *, const char *, const char *, const char *, const char *, GError **,
                     gpointer)
{
    return g_variant_new_uint32(version);
}

const GDBusInterfaceVTable table{onCall, onProperty, nullptr, {}};

}

int main(int argc, char **argv)
{
    if (argc != 5)
        return EXIT_FAILURE;
    recordFile = QString::fromLocal8Bit(argv[1]);
    mode = QString::fromLocal8Bit(argv[3]);
    version = QByteArray(argv[4]).toUInt();
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(description, nullptr);
    if (bus == nullptr || node == nullptr)
        return EXIT_FAILURE;
    const char *const objects[]{"/org/freedesktop/portal/desktop", "/org/freedesktop/portal/documents",
                                "/org/example/Bus_Mail"};
    for (int i = 0; i < 3; ++i) {
        if (g_dbus_connection_register_object(bus, objects[i], node->interfaces[i], &table, nullptr, nullptr,
                                              nullptr)
            == 0)
            return EXIT_FAILURE;
    }
    for (const char *name :
         {"org.freedesktop.portal.Desktop", "org.freedesktop.portal.Documents", "org.example.Bus-Mail"}) {
        GVariant *answer = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", name, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        if (answer == nullptr)
            return EXIT_FAILURE;
        g_variant_unref(answer);
    }
    QFile ready(QString::fromLocal8Bit(argv[2]));
    if (!ready.open(QIODevice::WriteOnly))
        return EXIT_FAILURE;
    ready.close();
    loop = g_main_loop_new(nullptr, FALSE);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    g_dbus_node_info_unref(node);
    g_object_unref(bus);
    return EXIT_SUCCESS;
}
