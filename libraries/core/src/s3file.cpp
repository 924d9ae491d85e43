#include "s3file.h"

#include "s3fileinfo.h"
#include "s3string.h"
#include "s3translate.h"
#include "test/s3trace.h"

#include <QStringView>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

// The source text for each QFileDevice::FileError, by its number; NoError has none.
constexpr std::array<QStringView, 15> errorTexts{
    QStringView(),
    u"Ein-/Ausgabefehler beim Lesen der Datei %1.",
    u"Ein-/Ausgabefehler beim Schreiben der Datei %1.",
    u"Fataler Fehler beim Zugriff auf die Datei %1.",
    u"Fehlende Systemressourcen beim Zugriff auf die Datei %1.",
    u"Datei %1 kann nicht geöffnet werden.",
    u"Zugriff auf die Datei %1 abgebrochen.",
    u"Zeitablauf beim Zugriff auf die Datei %1.",
    u"Unbekannter Fehler beim Zugriff auf die Datei %1.",
    u"Datei %1 kann nicht gelöscht werden.",
    u"Datei %1 kann nicht umbenannt werden.",
    u"Positionieren innerhalb der Datei %1 gescheitert.",
    u"Die Größe der Datei %1 kann nicht geändert werden.",
    u"Zugriffsrechte fehlen für die Datei %1.",
    u"Datei %1 kann nicht kopiert werden.",
};
static_assert(errorTexts.size() == QFileDevice::CopyError + 1);

struct NativeText {
    QStringView english;
    QStringView german;
};

// What Qt says most often, for the user who reads German.
constexpr std::array<NativeText, 4> nativeTexts{{
    {u"Permission denied", u"Zugriff verweigert"},
    {u"Too many open files", u"Es sind in diesem Prozess zuviele Dateien geöffnet."},
    {u"No such file or directory", u"Datei/Verzeichnis existiert nicht."},
    {u"No space left on device", u"zu wenig Speicherplatz"},
}};

QString normalised(const QString &path)
{
    return s3String(path).toForwardSlashes();
}

// Whether the source is gone once `target` is removed: both name one file, and not by `target` being a
// link to the source.
bool isSameFile(const QFile &source, const QFile &target)
{
    const s3FileInfo sourceInfo(source);
    const s3FileInfo targetInfo(target);
    if (sourceInfo == targetInfo)
        return true;
    return !targetInfo.isSymLink()
        && s3FileInfo(sourceInfo.canonicalFilePath()) == s3FileInfo(targetInfo.canonicalFilePath());
}

}

s3File::s3File(const QString &fileName) : QFile(normalised(fileName)) { }

s3File::s3File(const QFileInfo &info) : s3File(info.filePath()) { }

s3File::~s3File() = default;

QString s3File::fileName() const
{
    return QFile::fileName();
}

void s3File::setFileName(const QString &fileName)
{
    QFile::setFileName(normalised(fileName));
}

bool s3File::rename(const QString &newName)
{
    return QFile::rename(normalised(newName));
}

bool s3File::copy(const QString &newName)
{
    const QString target = normalised(newName);
    const bool result = QFile::copy(target);
    s3Trace(226, [&] {
        return u"s3File::copy() fileName=%1 fileSize=%2 newName=%3 --> ret=%4 newSize=%5"_s.arg(
            fileName(), QString::number(size()), target, result ? u"true"_s : u"false"_s,
            QString::number(s3File(target).size()));
    });
    return result;
}

bool s3File::exists() const
{
    const QFileInfo info(*this);
    return info.exists() && !info.isDir();
}

bool s3File::createIfMissing()
{
    if (exists())
        return true;
    if (!open(QIODevice::WriteOnly))
        return false;
    close();
    return true;
}

bool s3File::remove(bool force)
{
    if (!exists())
        return true;
    if (QFile::remove())
        return true;
    if (!force)
        return false;
    const QFileDevice::Permissions former = permissions();
    if (!makeWritable())
        return false;
    if (QFile::remove())
        return true;
    // Not through this object: a call that succeeds would clear the error of the removal. And without the
    // flags of the user, who may write where the mode does not say so: they would be added to the mode.
    constexpr QFileDevice::Permissions user
        = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser;
    QFile::setPermissions(fileName(), former & ~user);
    return false;
}

bool s3File::makeWritable()
{
    const QFileDevice::Permissions current = permissions();
    const QFileDevice::Permissions wanted
        = current | QFileDevice::WriteUser | QFileDevice::WriteGroup | QFileDevice::WriteOther;
    return wanted == current || setPermissions(wanted);
}

QString s3File::errorText(QFileDevice::FileError defaultError) const
{
    const QFileDevice::FileError own = error();
    const auto number = static_cast<std::size_t>(own != NoError ? own : defaultError);
    QString text;
    if (number == NoError)
        text = fileName();
    else if (number < errorTexts.size())
        text = s3Translate(errorTexts.at(number).toString()).arg(fileName());
    if (!text.isEmpty())
        text += u'\n';
    return text + nativeErrorText();
}

QString s3File::nativeErrorText() const
{
    QString text = errorString();
    for (const NativeText &entry : nativeTexts) {
        if (text == entry.english)
            return s3Translate(entry.german.toString());
    }
    return text;
}

bool s3File::copy(const QString &fileName, const QString &newName, bool overwrite,
                  QFileDevice::FileError &error, QString &errorString)
{
    s3File source(fileName);
    errorString.clear();
    if (overwrite) {
        s3File target(newName);
        if (target.exists() && source.exists() && !isSameFile(source, target) && !target.remove(true)) {
            error = target.error();
            errorString = target.errorText(RemoveError);
            return false;
        }
    }
    if (!source.copy(newName)) {
        error = source.error();
        errorString = s3Translate(u"Datei %1 konnte nicht nach %2 kopiert werden."_s).arg(fileName, newName)
            + u'\n' + source.nativeErrorText();
        return false;
    }
    error = NoError;
    return true;
}

bool s3File::copy(const QString &fileName, const QString &newName, bool overwrite, QString &errorString)
{
    QFileDevice::FileError error = NoError;
    return copy(fileName, newName, overwrite, error, errorString);
}

bool s3File::copy(const QString &fileName, const QString &newName, bool overwrite)
{
    QString errorString;
    return copy(fileName, newName, overwrite, errorString);
}
