#pragma once

#include "s3colorstops.h"

#include <QByteArray>
#include <QColor>
#include <QFlags>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <concepts>
#include <memory>

class QSettings;

// One settings file (INI format, UTF-8, with a generation mark in section "version", key "format") and a
// current section in it, for typed reading and writing. docs/settings.md tells what such a file looks like.
//
// The file at its real place is the master file. An object may work on a private copy of it in the process's
// temporary directory; closing copies that back if something was written and the master file is not
// protected. A file of an older generation is converted when it is loaded.
//
// States: unloaded; loaded; new (no such file yet: isOk() is false, but writing works and makes the file);
// failed (isOk() is false, reading gives defaults, writing is refused).
//
// Nothing here shows a message: isOk() and errorString() tell. An object belongs to one thread at a time.
// Processes may work on private copies of one master file at the same time: the last to close wins as a
// whole, and nobody sees a part of a file.
class s3Settings
{
public:
    // How the file was named. Each but File stands for one file, with the flags that it is loaded with.
    enum class Type : qint32 {
        None = 0, // none: never loaded, or closed
        File = 1, // the path and flags of the caller
        Ini = 2, // iniFileName() in glob_file_guiDir; private copy, protected
        Cfg = 3, // "zerkgui.cfg" in glob_file_guiDir; private copy, protected
        Private = 4, // the compiled-in ":/settings/zerkguiprivate.cfg"; protected
        IniWithPrivate = 5, // as Ini; a key that the file lacks is read from the Private file
        Local = 6, // localFileName() in glob_file_localSettingsDir
    };

    enum class LoadFlag : quint32 {
        copyToTempDir = 1, // work on a private copy
        CopyToTempDirForce = 2, // the same, and never reuse a private copy that is there already
        readOnlyOrig = 4, // protected: the master file is never written, and it must be there
    };
    Q_DECLARE_FLAGS(LoadFlags, LoadFlag)

    // loadFile and setSection in one.
    explicit s3Settings(const QString &fileName, LoadFlags loadFlags = {},
                        const QString &section = QString());
    explicit s3Settings(Type type, const QString &section = QString());
    // close().
    ~s3Settings();
    Q_DISABLE_COPY_MOVE(s3Settings)

    // Finishes the former file as close() does and loads another one; the section stays selected if the new
    // file loads. The result is isOk(). An empty name leaves the object unloaded. A private copy needs the
    // temporary directory (s3TempDirCreate) to exist, otherwise the load fails without a text; test flag 159
    // keeps every object on its master file. Two files of one name share their private copy.
    bool loadFile(const QString &fileName, LoadFlags loadFlags = {});

    // Loads the file that `type` stands for. None, File and any other number are a failed assertion; the
    // former file is closed and type() tells the wrong one.
    bool loadFile(Type type);

    // Writes out what is pending, copies a changed private copy back (updateOrigFile) and goes back to the
    // unloaded state. A failure to copy back is told by the trace alone.
    void close();

    // Copies the private copy over the master file, if something was written since the load, there is a copy
    // and the master file is not protected. False when that failed; the master file then keeps its content.
    bool updateOrigFile();

    // Makes the private copy of a load and goes over to it. A step of loadFile.
    bool copyToTempDir(QString &errorString);

    // The name of the types Ini and IniWithPrivate: the one that was set, else "zerkgui.ini". Set at the
    // start of the program and read-only afterwards.
    static void setIniFileName(const QString &name);
    [[nodiscard]] static QString iniFileName();

    // "zerkguilocaln.ini", or "localn.ini" behind the name of the white label in force.
    [[nodiscard]] static QString localFileName();

    // Whether the key lines of a file are in the form of the current generation; the file is not changed.
    // `errorString` may be null; it is empty unless the file could not be read.
    [[nodiscard]] static bool checkFormat(const QString &fileName, QString *errorString);

    [[nodiscard]] Type type() const { return m_type; }
    // Whether the load found the file and did not fail.
    [[nodiscard]] bool isOk() const { return ok; }
    // Whether something was written since the load; a generation mark counts.
    [[nodiscard]] bool isModified() const { return modified; }
    // Why the last load failed, for the user in the current language; often empty.
    [[nodiscard]] QString errorString() const { return m_errorString; }
    // The absolute paths of the file that is worked on and of the master file.
    [[nodiscard]] QString fileName() const { return file; }
    [[nodiscard]] QString fileNameOrig() const { return fileOrig; }

    // Selects a section; sections do not nest. Empty and "general" (in any case) are the root, where the keys
    // outside of all sections are.
    void setSection(const QString &section);
    // The selected section, "general" for the root; empty without a file.
    [[nodiscard]] QString section() const;
    // All sections. "general" is among them if the root has keys; only then is the list sorted.
    [[nodiscard]] QStringList sections() const;
    // The keys of the selected section.
    [[nodiscard]] QStringList keys() const;
    [[nodiscard]] bool sectionHasKeys() const;
    // Whether the file itself has the key in the selected section.
    [[nodiscard]] bool hasKey(const QString &key) const;
    void removeKey(const QString &key);
    // Removes the keys of the selected section; at the root, all other sections stay.
    void removeSection();
    // Removes everything; the generation mark is written anew.
    void clear();
    // The file, its sections or the selected section and its keys, for diagnostics, in the current language.
    [[nodiscard]] QString describe(bool keysOnly) const;

    // The text of a key in the selected section; a comma list is joined with ", ". The default when there is
    // no such key.
    [[nodiscard]] QString read(const QString &key, const QString &defaultValue = QString()) const;
    // Empty text gives the default, text that is no number 0. "0x1F" is hexadecimal, "010" octal.
    [[nodiscard]] int readInt(const QString &key, int defaultValue = 0) const;
    // Empty text gives the default, other text s3String::toBool.
    [[nodiscard]] bool readBool(const QString &key, bool defaultValue = false) const;
    // The numbers of a list, separated by commas, blanks and tabs; a part that is no number is 0.
    [[nodiscard]] QList<int> readIntList(const QString &key) const;
    // See s3SettingsWithInheritance.
    [[nodiscard]] QColor readColor(const QString &key, const QColor &defaultColor);
    [[nodiscard]] s3ColorStops readGradient(const QString &key, const s3ColorStops &defaultGradient);

    // The key, a point and the short name of the running system (s3OperatingSystem); empty when the key or
    // that name is empty.
    [[nodiscard]] static QString platformKey(const QString &key);
    // The text of the platform's key, else that of the key.
    [[nodiscard]] QString readForPlatform(const QString &key, const QString &defaultValue = QString()) const;

    // Write a key of the selected section. False, and nothing written, without a file or with an empty key.
    // The file on disk changes when the object closes, if not earlier.
    bool writeVariant(const QString &key, const QVariant &value);
    bool write(const QString &key, const QString &value);
    bool write(const QString &key, int value);
    // Keeps the lower 32 bits alone.
    bool write(const QString &key, qint64 value);
    // 1 or 0. Constrained, as a plain bool parameter would also take pointers.
    template <std::same_as<bool> Bool> bool write(const QString &key, Bool value)
    {
        return write(key, value ? 1 : 0);
    }
    bool write(const QString &key, const QList<int> &value);
    // Red, green and blue.
    bool write(const QString &key, const QColor &value);

    // One line of code for loading and saving a setting: writes `value` when `store` is set, otherwise sets
    // it to what is read. False only when writing was refused.
    bool transfer(QString &value, bool store, const QString &key, const QString &defaultValue);
    bool transfer(int &value, bool store, const QString &key, int defaultValue);
    bool transfer(bool &value, bool store, const QString &key, bool defaultValue);

private:
    [[nodiscard]] bool isProtected() const { return flags.testFlag(LoadFlag::readOnlyOrig); }

    // The steps of loadFile from the making of `settings` on; whether the file is there and fine. With
    // `fileOk` the file is there; `content` is what stands in it.
    [[nodiscard]] bool openSettings(bool fileOk, const QString &section);
    [[nodiscard]] bool bringUpToDate(const QByteArray &content);

    void writeFormat();
    void selectSection(const QString &section) const;

    Type m_type = Type::None;
    LoadFlags flags;
    QString file; // what QSettings works on: the master file, or its private copy
    QString fileOrig;
    QString m_errorString;
    bool ok = false;
    bool modified = false;
    std::unique_ptr<QSettings> settings;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(s3Settings::LoadFlags)
