#pragma once

#include <QString>
#include <QStringList>

// What a Windows machine knows about its mail clients, written into the registry of the Wine prefix that the
// suite runs in. Every failure ends the suite. Never call these on a machine whose mail client is in use.
namespace mailclients
{

enum class Hive { User, Machine };

// Tells Wine which mapi32.dll it loads into programs of the tool's name: "builtin" its own, "native" the one
// beside the executable (which Windows takes unasked), empty for none at all (which Windows does not know).
// In the registry, since the environment of a process that another one starts does not reach Wine's loader.
void setSystemLibrary(const QString &loadOrder);

// Forgets all mail clients of both hives and all modules of MSMapiApps.
void removeAll();

// Makes `client` the default mail client of the hive.
void setDefault(Hive hive, const QString &client);

// A value under the client's key: REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD.
void setText(Hive hive, const QString &client, const QString &value, const QString &text);
void setExpandableText(Hive hive, const QString &client, const QString &value, const QString &text);
void setTexts(Hive hive, const QString &client, const QString &value, const QStringList &texts);
void setNumber(Hive hive, const QString &client, const QString &value, quint32 number);

// A REG_DWORD anywhere in the user's hive.
void setUserNumber(const QString &path, const QString &value, quint32 number);

// Lists the module under MSMapiApps: a process that has it loaded belongs to `client`.
void listModule(const QString &module, const QString &client);

// Publishes `file` as Windows Installer's qualified component `category` (a GUID with braces) under
// `qualifier`: an installed product with one feature and one component whose key path is the file.
void publishComponent(const QString &category, const QString &qualifier, const QString &file);
void unpublishComponents(const QString &category);

}
