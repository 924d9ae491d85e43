#pragma once

#include "mailreader.h"
#include "privatebus.h"
#include "receivingrules.h"

#include <mapitypes.h>

#include <ostrelletest/filecontent.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

#include <sys/stat.h>

// A desktop made for one test: private directories, desktop entries, programs named like the clients that
// write down their arguments, and a bus with portals. The library is called by a program of its own.
class TestDesktop
{
public:
    TestDesktop(const TestDesktop &) = delete;
    TestDesktop &operator=(const TestDesktop &) = delete;

protected:
    TestDesktop() = default;
    ~TestDesktop() = default;

    struct Entry {
        QString id;
        QString exec;
        QByteArray more = {};
    };

    [[nodiscard]] bool setUp();
    void tearDown();

    [[nodiscard]] QString path(const QString &name) const { return m_dir->filePath(name); }
    void write(const QString &name, const QByteArray &content) const;
    // A program in PATH that writes down how it was called; `end` is its last line. Another `interpreter`
    // than a shell makes it one that cannot be started.
    void installProgram(const QString &name, const QByteArray &end = "exit 0",
                        const QByteArray &interpreter = "/bin/sh") const;
    void installEntry(const Entry &entry, const QByteArray &types = "x-scheme-handler/mailto;") const;
    void makeDefault(const QByteArray &type, const QString &id) const;
    void installDefault(const Entry &entry) const;
    // An application for mail files.
    void installHandler(const QString &exec) const;
    void startBus(const QString &mode, unsigned version = 4);

    // The result code of the library; -1 when there is none.
    int call(const QJsonObject &mail);
    // The same in two steps, for what is to happen meanwhile.
    [[nodiscard]] bool startCall(QProcess &process, const QJsonObject &mail) const;
    [[nodiscard]] static int resultOf(QProcess &process);

    // What the client was given; nothing when none was started.
    [[nodiscard]] QStringList recorded() const;
    [[nodiscard]] std::vector<std::string> recordedArguments() const;
    // What the bus was asked.
    [[nodiscard]] QList<QJsonObject> asked() const;
    [[nodiscard]] QStringList outbox(const QString &name = QStringLiteral("outbox")) const;
    [[nodiscard]] QStringList staged() const;
    [[nodiscard]] QJsonObject mailWithFiles() const;

    // What a client of the table has read in its arguments; nothing when it refuses them.
    [[nodiscard]] static std::optional<receiving::Fields>
    readByClient(const QString &client, const std::vector<std::string> &arguments);
    // All values of a key, between commas.
    [[nodiscard]] static QString textOf(const receiving::Fields &fields, const char *key);

    const QString awkward = QStringLiteral("a, b 'c' \"d\" ü € 😀 %41.txt");
    std::unique_ptr<QTemporaryDir> m_dir;
    QProcessEnvironment m_environment;
    QJsonObject m_mail;
    std::unique_ptr<PrivateBus> m_bus;
    // Done in the calling program before it starts.
    std::function<void()> m_inCaller;
};
