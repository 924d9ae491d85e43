#include "platform/folders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <array>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// A directory from the environment; empty when it is not set or not absolute.
QString absoluteVariable(const char *name)
{
    const QString path = QFile::decodeName(qgetenv(name));
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path) : QString();
}

// Empty when neither the environment nor the user database tells.
QString homeDirectory()
{
    QString home = absoluteVariable("HOME");
    if (!home.isEmpty())
        return home;
    std::array<char, 16384> buffer = {};
    passwd user = {};
    passwd *found = nullptr;
    getpwuid_r(geteuid(), &user, buffer.data(), buffer.size(), &found);
    const QString path = found != nullptr ? QFile::decodeName(found->pw_dir) : QString();
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path) : QString();
}

QString baseDirectory(const char *variable, const QString &belowHome)
{
    QString path = absoluteVariable(variable);
    if (!path.isEmpty())
        return path;
    const QString home = homeDirectory();
    return home.isEmpty() ? QString() : QDir(home).filePath(belowHome);
}

QString sharedDirectory()
{
    const QStringList paths = QFile::decodeName(qgetenv("XDG_DATA_DIRS")).split(u':', Qt::SkipEmptyParts);
    for (const QString &path : paths) {
        if (QDir::isAbsolutePath(path))
            return QDir::cleanPath(path);
    }
    return u"/usr/local/share"_s;
}

class XdgFolders final : public Folders
{
public:
    QString knownFolder(const QUuid &id, bool create) override
    {
        QString path;
        if (id == localAppDataFolder)
            path = baseDirectory("XDG_DATA_HOME", u".local/share"_s);
        else if (id == roamingAppDataFolder)
            path = baseDirectory("XDG_CONFIG_HOME", u".config"_s);
        else if (id == programDataFolder)
            path = sharedDirectory();
        if (path.isEmpty() || QFileInfo(path).isDir())
            return path;
        const bool isMade = create && QDir().mkpath(QFileInfo(path).path()) && makePrivateDirectory(path);
        // Another process may have made it in between.
        return isMade || (create && QFileInfo(path).isDir()) ? path : QString();
    }

    QString findProgram(const QString &name) override { return QStandardPaths::findExecutable(name); }
};

}

Folders &folders()
{
    static XdgFolders real;
    return real;
}

bool makePrivateDirectory(const QString &path)
{
    return mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0;
}

bool isOwnDirectory(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode)
        && status.st_uid == geteuid();
}

}
