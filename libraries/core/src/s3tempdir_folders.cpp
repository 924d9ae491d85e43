// The well-known places beside the temporary directory: known folders, local settings, programs.

#include "coreutil.h"
#include "s3dir.h"
#include "s3file.h"
#include "s3fileinfo.h"
#include "s3string.h"
#include "s3tempdir.h"
#include "s3tempdir_p.h"
#include "s3translate.h"
#include "s3whitelabel.h"
#include "test/s3trace.h"

#include <QCoreApplication>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

struct Location {
    QLatin1String keyword;
    QUuid folder;
};

// In the order in which one takes the place of the one before.
constexpr std::array<Location, 3> locations = {{
    {QLatin1String("local_appdata"), platform::localAppDataFolder},
    {QLatin1String("appdata"), platform::roamingAppDataFolder},
    {QLatin1String("common_appdata"), platform::programDataFolder},
}};

// The known folder for `keyword` or the first one behind it that is to be had; empty when there is none.
QString knownFolderFrom(platform::Folders &folders, const QString &keyword)
{
    bool isReached = false;
    for (const Location &location : locations) {
        isReached = isReached || location.keyword == keyword;
        QString path;
        if (isReached && s3GetKnownFolderPathIn(folders, path, location.folder, true))
            return path;
    }
    return QString();
}

QString expanded(const QString &text)
{
    return s3String(text).expandEnvironmentStrings();
}

}

bool s3GetKnownFolderPath(QString &path, const QUuid &knownFolderID, bool create)
{
    return s3GetKnownFolderPathIn(platform::folders(), path, knownFolderID, create);
}

bool s3GetKnownFolderPathIn(platform::Folders &folders, QString &path, const QUuid &knownFolderID,
                            bool create)
{
    path = folders.knownFolder(knownFolderID, create);
    s3Trace(120, [&] {
        return s3TraceText(u"s3GetKnownFolderPath"_s)
            .argument(u"path"_s, path)
            .argument(u"knownFolderID"_s, knownFolderID);
    });
    return !path.isEmpty();
}

QStringList s3SettingsLocalDirLocations()
{
    QStringList keywords;
    for (const Location &location : locations)
        keywords += location.keyword;
    return keywords;
}

QString s3SettingsLocalFileName()
{
    const s3WhiteLabel *brand = s3WhiteLabelInstance();
    return (brand->isActive() ? brand->name() : u"zerkgui"_s) + u"localn.ini"_s;
}

bool s3SettingsFindLocalDir(const QString &location, bool *dirProblem, QString *errorString)
{
    return s3SettingsFindLocalDirIn(platform::folders(), location, dirProblem, errorString);
}

bool s3SettingsFindLocalDirIn(platform::Folders &folders, const QString &location, bool *dirProblem,
                              QString *errorString)
{
    bool isDirMissing = false;
    bool ok = true;
    s3SetErrorString(errorString, QString());
    if (dirProblem != nullptr)
        *dirProblem = false;
    if (s3TestFlagsInstance()->contains(406)) {
        glob_file_localSettingsDir = s3TempDirFilePath(u"local_settings"_s);
        return true;
    }

    const QString wanted = location.isEmpty() ? QString(locations.front().keyword) : location;
    QString path = wanted;
    if (s3SettingsLocalDirLocations().contains(wanted)) {
        path = knownFolderFrom(folders, wanted);
        if (path.isEmpty()) {
            ok = false;
            isDirMissing = true;
            s3SetErrorString(errorString,
                             s3Translate(u"Verzeichnis nicht gefunden"_s) + u"\n\n<%1>"_s.arg(wanted));
        } else {
            path = s3PathJoin(path, QCoreApplication::organizationName());
        }
    }
    if (!path.isEmpty()) {
        if (!s3MakePath(path, errorString)) {
            ok = false;
            isDirMissing = true;
        }
        if (ok) {
            s3File file(s3PathJoin(path, s3SettingsLocalFileName()));
            ok = file.open(QIODevice::WriteOnly | QIODevice::Append);
            if (!ok)
                s3SetErrorString(errorString, file.errorText(QFileDevice::OpenError));
        }
    }
    glob_file_localSettingsDir = s3String(path).toForwardSlashes();
    if (dirProblem != nullptr)
        *dirProblem = isDirMissing;
    return ok;
}

bool s3FindAppPath(const QString &name, QString &path)
{
    return s3FindAppPathIn(platform::folders(), name, path);
}

bool s3FindAppPathIn(platform::Folders &folders, const QString &name, QString &path)
{
    path.clear();
    const QString wanted = expanded(name);
    if (wanted != s3FileInfo(wanted).fileName())
        return false;
    QStringList candidates = {wanted};
    if (!wanted.contains(u'.'))
        candidates += wanted + u".exe"_s;
    for (const QString &candidate : candidates) {
        path = s3GetRegistryValue(u"HKEY_LOCAL_MACHINE"_s,
                                  u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\"_s + candidate,
                                  QString());
        if (path.isEmpty())
            path = folders.findProgram(candidate);
        if (!path.isEmpty()) {
            path = expanded(path);
            return true;
        }
    }
    return false;
}

QString s3AppPathOrName(const QString &name)
{
    QString path;
    return s3FindAppPath(name, path) ? path : expanded(name);
}
