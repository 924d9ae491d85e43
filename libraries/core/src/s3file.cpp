#include "s3file.h"

#include "coreutil.h"
#include "platform/replacefile.h"
#include "s3dir.h"
#include "s3fileinfo.h"
#include "s3string.h"
#include "s3translate.h"
#include "test/s3trace.h"

#include <QRandomGenerator>
#include <QStorageInfo>
#include <QStringView>

#include <array>
#include <filesystem>
#include <system_error>

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

void traceCopy(const s3File &source, const QString &target, bool result)
{
    s3Trace(226, [&] {
        return u"s3File::copy() fileName=%1 fileSize=%2 newName=%3 --> ret=%4 newSize=%5"_s.arg(
            source.fileName(), QString::number(source.size()), target, result ? u"true"_s : u"false"_s,
            QString::number(s3File(target).size()));
    });
}

// A name for a copy in the directory of `target`. Short, so that it fits wherever the target's does.
QString nameBeside(const s3File &target)
{
    const QString name = u"s3copy.%1.tmp"_s.arg(QRandomGenerator::global()->generate64(), 0, 36);
    return s3PathJoin(s3FileInfo(target).path(), name);
}

// Whether a copy of `source` finds room where `target` is only when that is gone.
bool isRoomOfTargetNeeded(const s3File &source, const s3File &target)
{
    const s3FileInfo targetInfo(target);
    std::error_code error;
    const std::filesystem::path path(target.fileName().toStdU16String());
    if (targetInfo.isSymLink() || std::filesystem::hard_link_count(path, error) != 1)
        return false;
    const QStorageInfo storage(targetInfo.absolutePath());
    const qint64 block = qMax(storage.blockSize(), 1);
    const auto onDisk = [block](qint64 size) {
        return (size + block - 1) / block * block;
    };
    const qint64 available = storage.bytesAvailable();
    const qint64 needed = onDisk(source.size());
    return storage.isValid() && available >= 0 && available < needed
        && available + onDisk(target.size()) >= needed;
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
    traceCopy(*this, target, result);
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
    restorePermissions(former);
    return false;
}

void s3File::restorePermissions(QFileDevice::Permissions former) const
{
    // Not through this object: a call that succeeds would clear the error of the removal. And without the
    // flags of the user, who may write where the mode does not say so: they would be added to the mode.
    constexpr QFileDevice::Permissions user
        = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser;
    QFile::setPermissions(fileName(), former & ~user);
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
    s3File target(newName);
    errorString.clear();
    bool isCopied = false;
    if (overwrite && target.exists() && source.exists() && !isSameFile(source, target)) {
        const Replacement outcome = target.replaceByCopyOf(source);
        if (outcome == Replacement::TargetStays) {
            error = target.error() != NoError ? target.error() : RemoveError;
            errorString = target.errorText(RemoveError);
            return false;
        }
        isCopied = outcome == Replacement::Done;
    } else {
        isCopied = source.copy(newName);
    }
    if (!isCopied) {
        error = source.error();
        errorString = s3Translate(u"Datei %1 konnte nicht nach %2 kopiert werden."_s).arg(fileName, newName)
            + u'\n' + source.nativeErrorText();
        return false;
    }
    error = NoError;
    return true;
}

s3File::Replacement s3File::replaceByCopyOf(s3File &source)
{
    const QString whole = nameBeside(*this);
    if (!source.QFile::copy(whole)) {
        s3File part(whole);
        part.remove(true);
        if (!s3FileInfo(s3FileInfo(*this).path()).isWritable()) {
            // What takes no new file does not let this one go either. The attempt is for the reason.
            if (!part.open(WriteOnly)) {
                setErrorString(part.errorString());
                return Replacement::TargetStays;
            }
            part.close();
            part.remove(true);
        }
        bool isCopied = false;
        if (isRoomOfTargetNeeded(source, *this)) {
            if (!remove(true))
                return Replacement::TargetStays;
            isCopied = source.QFile::copy(fileName());
        } else {
            source.setErrorString(source.errorString().replace(whole, fileName()));
        }
        traceCopy(source, fileName(), isCopied);
        return isCopied ? Replacement::Done : Replacement::NotCopied;
    }

    quint32 failure = platform::replaceFile(whole, fileName());
    if (failure != 0) {
        // The read-only attribute of Windows.
        const QFileDevice::Permissions former = permissions();
        if (makeWritable())
            failure = platform::replaceFile(whole, fileName());
        if (failure != 0) {
            restorePermissions(former);
            s3File(whole).remove(true);
            unsetError();
            setErrorString(s3ErrorString(int(failure)));
            return Replacement::TargetStays;
        }
    }
    traceCopy(source, fileName(), true);
    return Replacement::Done;
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
