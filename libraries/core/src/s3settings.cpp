#include "s3settings.h"

#include "processobjects.h"
#include "protocol/s3assert.h"
#include "s3dir.h"
#include "s3file.h"
#include "s3fileinfo.h"
#include "s3operatingsystem.h"
#include "s3settings_p.h"
#include "s3settingsprivate.h"
#include "s3settingswithinheritance.h"
#include "s3string.h"
#include "s3tempdir.h"
#include "s3translate.h"
#include "test/s3trace.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSettings>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto sourceFile = "libraries/core/src/s3settings";

constexpr qint32 traceFlag = 120;
constexpr qint32 noTempDirFlag = 159;

QString versionSection()
{
    return u"version"_s;
}

QString formatKey()
{
    return u"format"_s;
}

QString general()
{
    return u"general"_s;
}

QString pointerText(const void *pointer)
{
    return s3String::fromHex(reinterpret_cast<quintptr>(pointer));
}

QString nameOf(const QString &path)
{
    return s3FileInfo(path).fileName();
}

// A value as text: items of a list joined, empty for what has no text.
QString textOf(const QVariant &value)
{
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(u", "_s);
    return value.canConvert<QString>() ? value.toString() : QString();
}

// Reads a file to its end. False, with a text, when that fails: what QSettings got of such a file, it would
// take for all of it and write back. A pipe is left alone, as what is read of it is gone.
bool readToItsEnd(const QString &path, QByteArray &content, QString &errorString)
{
    s3File file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        errorString = file.errorText(QFileDevice::OpenError);
        return false;
    }
    if (file.isSequential())
        return true;
    std::array<char, 16384> block{};
    qint64 size = 0;
    while ((size = file.read(block.data(), block.size())) > 0)
        content.append(block.data(), qsizetype(size));
    if (size == 0 && file.error() == QFileDevice::NoError)
        return true;
    errorString = file.errorText(QFileDevice::ReadError);
    return false;
}

// What QSettings knows a file's content by: with the same size and time it does not read it again.
class FileState
{
public:
    explicit FileState(const QString &path) : m_path(path)
    {
        const s3FileInfo info(path);
        m_size = info.size();
        m_time = info.lastModified();
    }

    [[nodiscard]] bool isStillTheSame() const
    {
        const FileState now(m_path);
        return now.m_size == m_size && now.m_time == m_time;
    }

    // Makes sure that a file that was written anew does not look as it did.
    void makeDifferent() const
    {
        if (!isStillTheSame())
            return;
        s3File file(m_path);
        // Some file systems count in steps of 2 seconds.
        if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) || file.open(QIODevice::ReadOnly))
            file.setFileTime(m_time.addSecs(2), QFileDevice::FileModificationTime);
    }

private:
    QString m_path;
    qint64 m_size = 0;
    QDateTime m_time;
};

// Puts a file's former content back where it has changed; where nobody can read it any more, `former` tells.
void restoreContent(const QString &path, const QByteArray &content, const FileState &former)
{
    QByteArray current;
    QString errorString;
    const bool isReadable = readToItsEnd(path, current, errorString);
    if (content.isEmpty() || (isReadable ? current == content : former.isStillTheSame()))
        return;
    const FileState changed(path);
    s3File file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(content);
        file.close();
        changed.makeDifferent();
    }
}

}

QStringList s3SplitSettingsList(const QString &text)
{
    static const QRegularExpression separator(u"[, \t]"_s);
    return text.split(separator, Qt::SkipEmptyParts);
}

int s3SettingsInt(const QString &text, int defaultValue)
{
    return text.isEmpty() ? defaultValue : text.toInt(nullptr, 0);
}

bool s3SettingsBool(const QString &text, bool defaultValue)
{
    return text.isEmpty() ? defaultValue : s3String(text).toBool();
}

s3Settings::s3Settings(const QString &fileName, LoadFlags loadFlags, const QString &section)
{
    loadFile(fileName, loadFlags);
    setSection(section);
}

s3Settings::s3Settings(Type type, const QString &section)
{
    loadFile(type);
    setSection(section);
}

s3Settings::~s3Settings()
{
    close();
}

bool s3Settings::loadFile(Type type)
{
    constexpr LoadFlags protectedCopy = LoadFlags(LoadFlag::copyToTempDir) | LoadFlag::readOnlyOrig;
    switch (type) {
    case Type::Ini:
    case Type::IniWithPrivate:
        loadFile(s3PathJoin(glob_file_guiDir, iniFileName()), protectedCopy);
        break;
    case Type::Cfg:
        loadFile(s3PathJoin(glob_file_guiDir, u"zerkgui.cfg"_s), protectedCopy);
        break;
    case Type::Private:
        loadFile(u":/settings/zerkguiprivate.cfg"_s, LoadFlag::readOnlyOrig);
        break;
    case Type::Local:
        loadFile(s3PathJoin(glob_file_localSettingsDir, localFileName()));
        break;
    case Type::None:
    case Type::File:
    default:
        close();
        m_type = type;
        s3Assert(false, "false", sourceFile, "s3Settings::loadFile");
    }
    m_type = type;
    return ok;
}

bool s3Settings::loadFile(const QString &fileName, LoadFlags loadFlags)
{
    const QString formerSection = section();
    close();
    bool fileOk = false;
    bool copyToTempDirFailed = false;
    if (!fileName.isEmpty()) {
        m_type = Type::File;
        flags = loadFlags;
        file = s3FileInfo(fileName).absoluteFilePath();
        fileOrig = file;
        s3File master(fileName);
        fileOk = master.open(QIODevice::ReadOnly);
        if (fileOk)
            master.close();
        else if (isProtected())
            m_errorString = master.errorText(QFileDevice::OpenError);
        if (fileOk && (flags & (LoadFlags(LoadFlag::copyToTempDir) | LoadFlag::CopyToTempDirForce)))
            copyToTempDirFailed = !copyToTempDir(m_errorString);
        if (!copyToTempDirFailed && (fileOk || !isProtected()))
            fileOk = openSettings(fileOk, formerSection);
    }
    s3Trace(traceFlag, [&] {
        const auto flagText = [this](LoadFlag flag) {
            return s3String::fromBool(flags.testFlag(flag));
        };
        return u"s3Settings::loadFile"_s
            + s3String::arg(u"(this=%1, filename='%2', copyToTempDir=%3, CopyToTempDirForce=%4, "
                            "readOnlyOrig=%5): fileOk=%6 copyToTempDirFailed=%7 m_errorString=%8"_s,
                            pointerText(this), file, flagText(LoadFlag::copyToTempDir),
                            flagText(LoadFlag::CopyToTempDirForce), flagText(LoadFlag::readOnlyOrig),
                            s3String::fromBool(fileOk), s3String::fromBool(copyToTempDirFailed),
                            m_errorString);
    });
    ok = fileOk && !copyToTempDirFailed;
    return ok;
}

bool s3Settings::openSettings(bool fileOk, const QString &section)
{
    QByteArray content;
    if (fileOk && !readToItsEnd(file, content, m_errorString))
        return false;
    settings = std::make_unique<QSettings>(file, QSettings::IniFormat);
    // Where no file can be made beside it, a file that may be written is written in place.
    if (fileOk && !s3FileInfo(s3FileInfo(file).path()).isWritable())
        settings->setAtomicSyncRequired(false);
    if (!fileOk) {
        writeFormat();
    } else if (!bringUpToDate(content)) {
        modified = false;
        return false;
    }
    selectSection(section);
    return fileOk;
}

bool s3Settings::bringUpToDate(const QByteArray &content)
{
    selectSection(versionSection());
    const int generation = readInt(formatKey(), 0);
    selectSection(QString());
    if (generation >= s3SettingsPrivate::currentFormat())
        return true;

    const bool isPrivateCopy = file != fileOrig;
    const bool checkOnly = !isPrivateCopy && isProtected();
    const FileState former(file);
    bool formatOk = true;
    const bool isRewritten
        = s3SettingsPrivate::updateFormat(file, checkOnly, false, &formatOk, &m_errorString);
    // After a read error only a part of the file was looked at.
    formatOk = formatOk && m_errorString.isEmpty();
    if (formatOk && isRewritten) {
        former.makeDifferent();
        writeFormat();
        settings->sync();
        if (settings->status() != QSettings::NoError) {
            // Without its mark the file would be converted once more by the next load.
            m_errorString = s3File(file).errorText(QFileDevice::WriteError);
            formatOk = false;
            // QSettings keeps a mark that it could not write for the next object on this file, and would
            // then write it into the former content. In an empty file there is room for it.
            QFile::resize(file, 0);
            settings->sync();
        }
    } else if (formatOk && !checkOnly) {
        writeFormat();
    }
    if (formatOk)
        return true;
    settings.reset();
    // A private copy must not be taken for the file by a later load; the master file is worth restoring.
    if (isPrivateCopy)
        s3File(file).remove(true);
    else if (!checkOnly)
        restoreContent(file, content, former);
    return false;
}

void s3Settings::writeFormat()
{
    const QString formerSection = section();
    selectSection(versionSection());
    write(formatKey(), s3SettingsPrivate::currentFormat());
    selectSection(formerSection);
}

bool s3Settings::copyToTempDir(QString &errorString)
{
    if (s3TestFlagsInstance()->contains(noTempDirFlag))
        return true;
    errorString.clear();
    if (glob_file_tempDir.isEmpty()) {
        s3Trace(traceFlag, [&] {
            return u"s3Settings::copyToTempDir"_s
                + s3String::arg(u"(this=%1) failed [glob_file_tempDir.isEmpty() == true], file='%2'"_s,
                                pointerText(this), file);
        });
        return false;
    }
    const QString local = s3PathJoin(glob_file_tempDir, u'_' + nameOf(fileOrig));
    const bool localCopyExistsAlready = s3FileInfo(local).isFile();
    bool done = true;
    if (!localCopyExistsAlready || flags.testFlag(LoadFlag::CopyToTempDirForce) || !isProtected()) {
        const FileState former(local);
        done = s3File::copy(fileOrig, local, true, errorString);
        if (done && localCopyExistsAlready)
            former.makeDifferent();
    }
    if (done)
        file = s3FileInfo(local).absoluteFilePath();
    s3Trace(traceFlag, [&] {
        const QString detail = done
            ? s3String::arg(u"localCopyExistsAlready = %1 localCopyExistsAfterCopy = %2"_s,
                            s3String::fromBool(localCopyExistsAlready),
                            s3String::fromBool(s3FileInfo(local).isFile()))
            : u"errorString = "_s + errorString;
        return u"s3Settings::copyToTempDir"_s
            + s3String::arg(u"(this=%1): %2, fileOrig='%3' file='%4' readOnlyOrig=%5 -> %6"_s,
                            pointerText(this), s3String::fromBool(done), fileOrig, file,
                            s3String::fromBool(isProtected()), detail);
    });
    return done;
}

bool s3Settings::updateOrigFile()
{
    if (!modified || file.isEmpty() || isProtected() || fileOrig == file)
        return true;
    // Called on its own, there may be something that has not reached the private copy.
    if (settings)
        settings->sync();
    QString errorText;
    const bool done = s3File::copy(file, fileOrig, true, errorText);
    s3Trace(traceFlag, [&] {
        return u"s3Settings::updateOrigFile"_s
            + s3String::arg(u"(this=%1) s3File::copy('%2', '%3'): %4 (%5)"_s, pointerText(this), file,
                            fileOrig, s3String::fromBool(done), done ? u"ok"_s : errorText);
    });
    return done;
}

void s3Settings::close()
{
    settings.reset();
    updateOrigFile();
    m_type = Type::None;
    flags = {};
    file.clear();
    fileOrig.clear();
    m_errorString.clear();
    ok = false;
    modified = false;
}

void s3Settings::setIniFileName(const QString &name)
{
    settingsIniFileName() = name;
}

QString s3Settings::iniFileName()
{
    const QString &name = settingsIniFileName();
    return name.isEmpty() ? u"zerkgui.ini"_s : name;
}

QString s3Settings::localFileName()
{
    return s3SettingsLocalFileName();
}

bool s3Settings::checkFormat(const QString &fileName, QString *errorString)
{
    bool formatOk = false;
    s3SettingsPrivate::updateFormat(fileName, true, true, &formatOk, errorString);
    return formatOk;
}

void s3Settings::setSection(const QString &section)
{
    if (settings)
        selectSection(section);
}

void s3Settings::selectSection(const QString &section) const
{
    while (!settings->group().isEmpty())
        settings->endGroup();
    if (!section.isEmpty() && section.compare(general(), Qt::CaseInsensitive) != 0)
        settings->beginGroup(section);
}

QString s3Settings::section() const
{
    if (!settings)
        return QString();
    const QString group = settings->group();
    return group.isEmpty() ? general() : group;
}

QStringList s3Settings::sections() const
{
    if (!settings)
        return {};
    const QString formerSection = section();
    selectSection(QString());
    QStringList names = settings->childGroups();
    if (!settings->childKeys().isEmpty()) {
        names += general();
        names.sort(Qt::CaseSensitive);
    }
    selectSection(formerSection);
    return names;
}

QStringList s3Settings::keys() const
{
    if (!settings)
        return {};
    return settings->group().isEmpty() ? settings->childKeys() : settings->allKeys();
}

bool s3Settings::sectionHasKeys() const
{
    return !section().isEmpty() && !keys().isEmpty();
}

bool s3Settings::hasKey(const QString &key) const
{
    return settings && !key.isEmpty() && settings->contains(key);
}

void s3Settings::removeKey(const QString &key)
{
    if (!settings || key.isEmpty() || !sectionHasKeys())
        return;
    settings->remove(key);
    modified = true;
}

void s3Settings::removeSection()
{
    if (!settings || !sectionHasKeys())
        return;
    if (settings->group().isEmpty()) {
        // An empty key would take all sections with it here.
        const QStringList rootKeys = keys();
        for (const QString &key : rootKeys)
            settings->remove(key);
    } else {
        settings->remove(QString());
    }
    modified = true;
}

void s3Settings::clear()
{
    if (!settings)
        return;
    settings->clear();
    writeFormat();
}

QString s3Settings::describe(bool keysOnly) const
{
    const auto entry = [](const QString &label, const QString &content) {
        return s3String::arg(u"%1:\n%2"_s, s3Translate(label), content);
    };
    if (!ok)
        return entry(u"Datei nicht gefunden"_s, fileOrig);
    if (!sectionHasKeys())
        return entry(u"Abschnitte"_s, sections().join(u"; "_s));
    QString text;
    if (!keysOnly)
        text = entry(u"Abschnitt"_s, section()) + u"\n\n"_s;
    return text + entry(u"Schlüssel"_s, keys().join(u"; "_s));
}

QString s3Settings::read(const QString &key, const QString &defaultValue) const
{
    if (m_type == Type::IniWithPrivate && !key.isEmpty() && !hasKey(key))
        return s3Settings(Type::Private, section()).read(key, defaultValue);
    if (!settings || key.isEmpty())
        return defaultValue;
    const QVariant value = settings->value(key);
    const bool isFound = value.typeId() != QMetaType::UnknownType;
    QString text = isFound ? textOf(value) : defaultValue;
    s3Trace(traceFlag, [&] {
        return u"s3Settings::read"_s
            + s3String::arg(u"(this=%1, key='%2' defaultValue='%3') file='%4' section='%5' --> "
                            "value='%6' typeName='%7'"_s,
                            pointerText(this), key, defaultValue, nameOf(file), section(),
                            isFound ? text : u"(QMetaType::UnknownType)"_s,
                            isFound ? QString::fromLatin1(value.typeName()) : QString());
    });
    return text;
}

int s3Settings::readInt(const QString &key, int defaultValue) const
{
    return s3SettingsInt(read(key), defaultValue);
}

bool s3Settings::readBool(const QString &key, bool defaultValue) const
{
    return s3SettingsBool(read(key), defaultValue);
}

QList<int> s3Settings::readIntList(const QString &key) const
{
    QList<int> numbers;
    const QStringList parts = s3SplitSettingsList(read(key));
    for (const QString &part : parts)
        numbers += part.toInt(nullptr, 0);
    return numbers;
}

QColor s3Settings::readColor(const QString &key, const QColor &defaultColor)
{
    return s3SettingsWithInheritance(this).readColor(key, defaultColor);
}

s3ColorStops s3Settings::readGradient(const QString &key, const s3ColorStops &defaultGradient)
{
    return s3SettingsWithInheritance(this).readGradient(key, defaultGradient);
}

QString s3Settings::platformKey(const QString &key)
{
    const QString system = s3OperatingSystem::shortName();
    return key.isEmpty() || system.isEmpty() ? QString() : key + u'.' + system;
}

QString s3Settings::readForPlatform(const QString &key, const QString &defaultValue) const
{
    const QString base = read(key, defaultValue);
    const QString special = platformKey(key);
    return special.isEmpty() ? base : read(special, base);
}

bool s3Settings::writeVariant(const QString &key, const QVariant &value)
{
    if (!settings || key.isEmpty())
        return false;
    settings->setValue(key, value);
    s3Trace(traceFlag, [&] {
        return u"s3Settings::writeVariant"_s
            + s3String::arg(u"(this=%1, key='%2', value='%3', file='%4', section='%5')"_s, pointerText(this),
                            key, textOf(value), nameOf(file), section());
    });
    modified = true;
    return true;
}

bool s3Settings::write(const QString &key, const QString &value)
{
    return writeVariant(key, value);
}

bool s3Settings::write(const QString &key, int value)
{
    return writeVariant(key, value);
}

bool s3Settings::write(const QString &key, qint64 value)
{
    return write(key, static_cast<int>(value));
}

bool s3Settings::write(const QString &key, const QList<int> &value)
{
    QStringList numbers;
    for (const int number : value)
        numbers += QString::number(number);
    return writeVariant(key, numbers);
}

bool s3Settings::write(const QString &key, const QColor &value)
{
    return write(key, QList<int>{value.red(), value.green(), value.blue()});
}

bool s3Settings::transfer(QString &value, bool store, const QString &key, const QString &defaultValue)
{
    if (store)
        return write(key, value);
    value = read(key, defaultValue);
    return true;
}

bool s3Settings::transfer(int &value, bool store, const QString &key, int defaultValue)
{
    if (store)
        return write(key, value);
    value = readInt(key, defaultValue);
    return true;
}

bool s3Settings::transfer(bool &value, bool store, const QString &key, bool defaultValue)
{
    if (store)
        return write(key, value);
    value = readBool(key, defaultValue);
    return true;
}
