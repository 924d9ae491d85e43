#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>

// The sections of the diagnostic report that are texts, each as its lines stand in the record. What a
// section cannot find out for itself in any program is an argument. On the crash path any thread.

// 90 times "-" and a line feed, the end of a list.
[[nodiscard]] QString reportRule();

// Time, program and process.
[[nodiscard]] QString reportHead(const QDateTime &now);

// Versions of the server and of this client.
[[nodiscard]] QString reportVersions();

// The arguments with their passwords masked.
[[nodiscard]] QString reportArguments(const QStringList &arguments);

// The program's directory, empty when there is none.
[[nodiscard]] QString reportDirectory();

// The operating system by its name, an additional version text and its edition, the last two possibly empty.
[[nodiscard]] QString reportOperatingSystem(const QString &name, const QString &additional,
                                            const QString &edition);

// The memory of the machine and of this process, empty when it cannot be found out.
[[nodiscard]] QString reportMemoryUsage();

// The graphics adapters of platform::gpuList().
[[nodiscard]] QString reportGpus(const QVariant &gpus);

// The variables of the environment that Qt's graphics listen to, empty when none is set.
[[nodiscard]] QString reportEnvironment();

// Name and build of the server; client, zone and workstation of the session.
[[nodiscard]] QString reportServer();
[[nodiscard]] QString reportIdentity();

// A list of lines behind which a rule stands.
[[nodiscard]] QString reportHistory(const QStringList &lines);

// The modules in three groups: those of the installation, those of the system, and of `loaded`, which are
// paths, those that are neither. A module whose version cannot be read has none; one that faults meanwhile
// is left out.
[[nodiscard]] QString reportModules(const QStringList &loaded);

// One line of that list.
[[nodiscard]] QString reportModule(const QString &path);
