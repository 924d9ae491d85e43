#include "toolrun.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace
{

// Far beyond what a run takes on a busy machine, with a sanitizer or under Wine.
constexpr int timeLimit = 120000;

QString besideSuite(const char *relativePath)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + QString::fromUtf8(relativePath));
}

QList<QJsonObject> readCalls(const QString &fileName)
{
    QList<QJsonObject> calls;
    QFile file(fileName);
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (!line.trimmed().isEmpty())
                calls += QJsonDocument::fromJson(line).object();
        }
    }
    return calls;
}

}

QJsonObject ToolResult::message() const
{
    return calls.size() == 1 ? calls[0][u"message"_s].toObject() : QJsonObject();
}

ToolRun::ToolRun() : environment(QProcessEnvironment::systemEnvironment())
{
    workingDirectory = m_directory.path();
    for (const auto &name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s,
                             u"QT_MESSAGE_PATTERN"_s, u"QT_LOGGING_RULES"_s})
        environment.remove(name);
    const QString executable = besideSuite(OSTRELLE_TOOL);
    if (!QFile::copy(executable, m_toolDirectory.filePath(QFileInfo(executable).fileName())))
        qFatal("cannot copy %s", qPrintable(executable));
}

QString ToolRun::writeFile(const QString &name, const QByteArray &bytes) const
{
    QFile file(filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

QByteArray ToolRun::readFile(const QString &name) const
{
    QFile file(filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.size() == 0 ? QByteArray("") : file.readAll();
}

void ToolRun::letOthersRead() const
{
    const QFile::Permissions read
        = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    if (!QFile::setPermissions(m_directory.path(), read)
        || !QFile::setPermissions(m_toolDirectory.path(), read | QFile::WriteOther))
        qFatal("cannot share %s", qPrintable(m_directory.path()));
}

QString ToolRun::providers()
{
    return besideSuite(OSTRELLE_PROVIDERS);
}

std::unique_ptr<QProcess> ToolRun::start(const QStringList &arguments) const
{
    QFile::remove(recordFile());
    QProcessEnvironment toolEnvironment = environment;
    toolEnvironment.insert(u"OSTRELLE_RECORD"_s, QDir::toNativeSeparators(recordFile()));
    toolEnvironment.insert(u"OSTRELLE_RECORD_RESULT"_s, QString::number(m_result));
    toolplatform::installProvider(m_provider, providers(), m_toolDirectory.path(), toolEnvironment);

    auto tool = std::make_unique<QProcess>();
    tool->setProcessEnvironment(toolEnvironment);
    tool->setWorkingDirectory(workingDirectory);
    tool->start(m_toolDirectory.filePath(QFileInfo(QString::fromUtf8(OSTRELLE_TOOL)).fileName()), arguments);
    return tool;
}

ToolResult ToolRun::run(const QStringList &arguments) const
{
    const auto process = start(arguments);
    QProcess &tool = *process;
    ToolResult result;
    const auto watcher = toolplatform::makeBoxWatcher();
    QElapsedTimer timer;
    timer.start();
    do {
        result.ended = tool.waitForFinished(50);
        result.standardError += tool.readAllStandardError();
        while (const auto box = watcher->nextBox(tool, result.standardError))
            result.boxes += *box;
    } while (!result.ended && tool.state() != QProcess::NotRunning && timer.elapsed() < timeLimit);
    if (!result.ended) {
        tool.kill();
        tool.waitForFinished();
    }
    result.crashed = tool.exitStatus() == QProcess::CrashExit;
    result.exitCode = tool.exitCode();
    result.calls = readCalls(recordFile());
    return result;
}

ToolResult ToolRun::runZml(const QByteArray &lines) const
{
    return run({writeFile(u"mail.zml"_s, "[ZERKMAIL]\n" + lines)});
}
