#pragma once

#include "toolplatform.h"

#include <QJsonObject>
#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// What came of one run of the tool.
struct ToolResult {
    bool ended = false; // false: it was still running after the time limit and was killed
    bool crashed = false;
    int exitCode = 0;
    QList<toolplatform::SeenBox> boxes;
    QByteArray standardError;
    QList<QJsonObject> calls; // what the recording provider was handed

    // The one box of the run; empty when there was none or more than one.
    [[nodiscard]] QString boxText() const { return boxes.size() == 1 ? boxes[0].text : QString(); }
    // The message of the one call; empty when there was none or more than one.
    [[nodiscard]] QJsonObject message() const;
};

// Starts the tool's built executable as a client does: a process, a path, an environment. Each object has
// a private directory for the zml file and its neighbours, and its own copy of the executable so that
// nothing of the build tree stands beside it.
class ToolRun
{
public:
    ToolRun();

    // The private directory, and a file in it.
    [[nodiscard]] QString directory() const { return m_directory.path(); }
    [[nodiscard]] QString filePath(const QString &name) const { return m_directory.filePath(name); }
    QString writeFile(const QString &name, const QByteArray &bytes) const;
    // The bytes of a file in it; null when there is none.
    [[nodiscard]] QByteArray readFile(const QString &name) const;

    // Lets other users read this object's files and run its copy of the tool; they can write no new file
    // beside the zml file.
    void letOthersRead() const;

    // The folder that the tool is started from.
    [[nodiscard]] QString toolDirectory() const { return m_toolDirectory.path(); }
    // The folder of the built recording providers.
    [[nodiscard]] static QString providers();

    // Which entries the mail client has ("both" at first; empty: the suite arranges that itself) and what it
    // answers (0 at first).
    void setProvider(const QString &choice) { m_provider = choice; }
    void setResult(quint32 code) { m_result = code; }

    QProcessEnvironment environment;
    QString workingDirectory;

    // Starts the tool with `arguments` and leaves it to the caller.
    [[nodiscard]] std::unique_ptr<QProcess> start(const QStringList &arguments) const;

    // Runs the tool with `arguments` to its end; its boxes are seen and answered.
    [[nodiscard]] ToolResult run(const QStringList &arguments) const;
    // Writes `zml` as mail.zml, a section head in front, and runs the tool with its absolute path.
    [[nodiscard]] ToolResult runZml(const QByteArray &lines) const;

private:
    [[nodiscard]] QString recordFile() const
    {
        return m_toolDirectory.filePath(QStringLiteral("record.json"));
    }

    QTemporaryDir m_directory;
    QTemporaryDir m_toolDirectory;
    QString m_provider = QStringLiteral("both");
    quint32 m_result = 0;
};
