#include "s3tempdir.h"

#include "coreutil.h"
#include "processobjects.h"
#include "s3dir.h"
#include "s3file.h"
#include "s3fileinfo.h"
#include "s3string.h"
#include "s3tempdir_p.h"
#include "s3translate.h"
#include "s3whitelabel.h"
#include "test/s3trace.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QThread>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 traceFlag = 226;
constexpr qint32 debuggerLeftoversFlag = 201;

const QString &markerName()
{
    static const QString name = u"can_be_deleted"_s;
    return name;
}

const QStringList &subdirectories()
{
    static const QStringList suffixes = {u"/cache"_s, u"/var"_s};
    return suffixes;
}

bool isDirectory(const QString &path)
{
    return !path.isEmpty() && s3FileInfo(path).isDir();
}

// s3MakePath with a choice of how the directory itself is made.
template <class Make> bool makePath(const QString &path, QString *errorString, Make make)
{
    s3SetErrorString(errorString, QString());
    if (path.isEmpty() || isDirectory(path) || make(s3Dir::current()))
        return true;
    QString text = s3Translate(u"Verzeichnis kann nicht erzeugt werden"_s);
    // A dictionary that is not usable yet marks the text as unknown.
    if (text.startsWith(u"*** "_s))
        text = u"Directory cannot be created"_s;
    s3SetErrorString(errorString, u"%1\n\n%2"_s.arg(text, path));
    return false;
}

// As s3MakePath does, but the directory itself can be entered by its user alone, from the first moment on.
bool makePrivatePath(const QString &path, QString *errorString)
{
    // Usually there is nothing more to do, and a process that starts and ends should not ask twice.
    if (platform::makePrivateDirectory(path)) {
        s3SetErrorString(errorString, QString());
        return true;
    }
    return makePath(path, errorString, [&path](const s3Dir &current) {
        return current.mkpath(s3FileInfo(path).path()) && platform::makePrivateDirectory(path);
    });
}

// Directories below `parent` that a process of this user may have left there. A name with a backslash is
// none of ours, and the library's file classes would take it for a path.
QFileInfoList leftovers(const s3Dir &parent, const QString &nameFilter)
{
    QFileInfoList entries = parent.entryInfoList(
        {nameFilter}, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Unsorted);
    entries.removeIf([](const QFileInfo &entry) {
        return entry.fileName().contains(u'\\') || !platform::isOwnDirectory(entry.filePath());
    });
    return entries;
}

// What cannot be removed gets the marker, which the removal may have taken away.
void removeOrMark(const QString &directory)
{
    if (!s3Dir(directory).removeTree(true))
        s3File(s3PathJoin(directory, markerName())).createIfMissing();
}

bool isMarked(const QFileInfo &directory)
{
    return s3FileInfo(s3PathJoin(directory.filePath(), markerName())).isFile();
}

void removeDebuggerLeftovers(const s3Dir &parent, const QString &prefix, platform::Processes &processes)
{
    for (const QFileInfo &entry : leftovers(parent, prefix + u"*.debug.*"_s)) {
        const QStringList parts = entry.fileName().split(u'.');
        if (parts.size() < 4)
            continue;
        const qint64 id = parts.at(parts.size() - 2).toLongLong();
        if (id != QCoreApplication::applicationPid() && !s3ProcessExistsAmong(processes, id))
            s3Dir(entry).removeTree(true);
    }
}

void traceVariable(const QString &function, const QString &name, const QString &before, const QString &after)
{
    s3Trace(traceFlag, [&] {
        return s3TraceText(function).append(u" %1 = \"%2\"  -->  \"%3\""_s.arg(name, before, after));
    });
}

}

QString s3MakeTempDirName(QString *errorString)
{
    return s3MakeTempDirNameIn(QDir::tempPath(), platform::isDebuggerAttached(), errorString);
}

QString s3MakeTempDirNameIn(const QString &tempPath, bool isDebuggerAttached, QString *errorString)
{
    s3SetErrorString(errorString, QString());
    if (tempPath.isEmpty()) {
        // The error's text first: a translation may call the system.
        const QString reason = s3LastErrorText();
        s3SetErrorString(errorString,
                         s3Translate(u"Der Name des Temporärverzeichnisses kann nicht bestimmt werden"_s)
                             + u".\n\n"_s + reason);
        return QString();
    }
    const s3WhiteLabel *brand = s3WhiteLabelInstance();
    QString word = brand->isActive() ? brand->name() : u"zerkgui"_s;
    if (isDebuggerAttached)
        word += u".debug"_s;
    // TMPDIR may be relative; the directory must stay the same when the working directory changes.
    const QString base = s3PathJoin(s3Dir(tempPath).absolutePath(), word);
    const auto random = static_cast<quint32>(QRandomGenerator64::global()->generate());
    QString name = u"%1.%2.%3"_s.arg(base, QString::number(QCoreApplication::applicationPid()),
                                     QString::number(random));
    s3Trace(traceFlag,
            [&] { return s3TraceText(u"s3MakeTempDirName"_s).append(u" tempPath=%1"_s.arg(name)); });
    return name;
}

bool s3TempDirCreate(QString *errorString)
{
    return s3TempDirCreateNamed(s3MakeTempDirName, errorString);
}

bool s3TempDirCreateNamed(const std::function<QString(QString *errorString)> &makeName, QString *errorString)
{
    constexpr int attempts = 10;
    constexpr unsigned long pause = 10; // milliseconds
    for (int attempt = 0; attempt < attempts; ++attempt) {
        glob_file_tempDir = makeName(errorString);
        if (!isDirectory(glob_file_tempDir))
            break;
        QThread::msleep(pause);
    }
    if (glob_file_tempDir.isEmpty())
        return false;
    if (!makePrivatePath(glob_file_tempDir, errorString))
        return false;
    for (const QString &suffix : subdirectories()) {
        if (!makePrivatePath(glob_file_tempDir + suffix, errorString))
            return false;
    }
    s3Trace(traceFlag, [&] {
        return s3TraceText(u"s3TempDirCreate"_s).argument(u"glob_file_tempDir"_s, glob_file_tempDir);
    });
    return true;
}

bool s3TempDirExists(QString *errorString)
{
    s3SetErrorString(errorString, QString());
    if (isDirectory(glob_file_tempDir))
        return true;
    s3SetErrorString(errorString,
                     s3Translate(u"Temporärverzeichnis wurde gelöscht"_s) + u":\n\n"_s + glob_file_tempDir);
    return false;
}

bool s3TestTempDir(QString *errorString)
{
    if (s3TempDirExists(errorString))
        return true;
    glob_file_tempDir.clear();
    s3Trace(traceFlag, [] { return s3TraceText(u"s3TestTempDir"_s).append(u" glob_file_tempDir="_s); });
    QString reason;
    const bool isMade = s3TempDirCreate(&reason);
    s3SetErrorString(
        errorString,
        isMade ? QString()
               : s3Translate(
                     u"Das Temporärverzeichnis wurde gelöscht und konnte nicht erneut angelegt werden."_s)
                + u"\n\n"_s + reason);
    return isMade;
}

QString s3TempDirFilePath(const QString &name)
{
    s3TestTempDir(nullptr);
    return s3PathJoin(glob_file_tempDir, name);
}

void s3TempDirCleanup()
{
    s3TempDirCleanupAmong(platform::processes());
}

void s3TempDirCleanupAmong(platform::Processes &processes)
{
    if (glob_file_tempDir.isEmpty())
        return;
    if (platform::isOwnDirectory(glob_file_tempDir)) {
        // Usually these are empty, and without them the directory goes in one step.
        for (const QString &suffix : subdirectories())
            s3Dir(glob_file_tempDir + suffix).removeTree(false);
        removeOrMark(glob_file_tempDir);
    }
    const s3FileInfo own(glob_file_tempDir);
    const s3Dir parent(own.absolutePath());
    const QString prefix = own.fileName().section(u'.', 0, 0);
    for (const QFileInfo &entry : leftovers(parent, prefix + u".*"_s)) {
        if (entry.fileName() != own.fileName() && isMarked(entry))
            removeOrMark(entry.filePath());
    }
    if (s3TestFlagsInstance()->contains(debuggerLeftoversFlag))
        removeDebuggerLeftovers(parent, prefix, processes);
}

bool s3ProcessExistsAmong(platform::Processes &processes, qint64 id)
{
    const std::unique_ptr<platform::ProcessSnapshot> snapshot = processes.snapshot();
    if (!snapshot)
        return false;
    platform::ProcessEntry entry;
    for (bool found = snapshot->first(entry); found; found = snapshot->next(entry)) {
        if (entry.id == id)
            return true;
    }
    return false;
}

void s3TempDirSetEnvironmentVariables()
{
    QList<s3EnvironmentVariable> &records = environmentRecords();
    for (const QString &name : {u"TMP"_s, u"TEMP"_s, u"TMPDIR"_s})
        records += s3EnvironmentVariable(name);
    const QString value = s3String(glob_file_tempDir).toBackslashes();
    for (s3EnvironmentVariable &record : records) {
        record.set(value);
        traceVariable(u"s3TempDirSetEnvironmentVariables"_s, record.name(), record.savedValue(),
                      record.value());
    }
}

void s3TempDirResetEnvironmentVariables()
{
    for (s3EnvironmentVariable &record : environmentRecords()) {
        const QString before = record.value();
        record.restore();
        traceVariable(u"s3TempDirResetEnvironmentVariables"_s, record.name(), before, record.value());
    }
}

bool s3MakePath(const QString &path, QString *errorString)
{
    return makePath(path, errorString, [&path](const s3Dir &current) { return current.mkpath(path); });
}
