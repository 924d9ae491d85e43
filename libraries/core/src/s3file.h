#pragma once

#include <QFile>
#include <QFileInfo>
#include <QString>

// A QFile that takes paths in either spelling, has readable German words for its failures, and can copy
// and remove forcefully.
//
// Each name that comes in is turned to forward slashes (nothing else changes) before it reaches Qt, and
// that form is what fileName() gives back. So on Linux a file whose name holds a backslash cannot be
// named through this class.
//
// Nothing here throws or shows anything: operations give a bool, and error() with errorText() tell why.
// Objects belong to the thread that uses them. No Q_OBJECT: the class is a QFile in all but its names.
class s3File : public QFile
{
public:
    // A closed file on the normalised name; the second form takes info.filePath().
    explicit s3File(const QString &fileName);
    explicit s3File(const QFileInfo &info);
    ~s3File() override;

    [[nodiscard]] QString fileName() const override;
    void setFileName(const QString &fileName);

    bool rename(const QString &newName);

    // Copies to `newName`, which must not exist. Under test flag 226 the outcome goes to the trace with
    // both sizes; they are told there and not compared.
    bool copy(const QString &newName);

    // Whether the name exists and is no directory. A link that leads nowhere does not exist.
    [[nodiscard]] bool exists() const;

    // Makes an empty file unless the file exists. False when it cannot be made, also where a directory
    // has that name.
    bool createIfMissing();

    // Removes the file; one that is not there (exists() is false, so also a directory) counts as removed
    // and is left alone. With `force` a file that refuses is made writable and tried once more; when that
    // fails too it gets its permissions back, and error() is still that of the failed removal.
    bool remove(bool force);

    // Adds write permission for user, group and others where it is missing. The flag of the owner is not
    // added; on both platforms that of the user does the same for the file's owner.
    bool makeWritable();

    // Two lines for the user in the current language: what went wrong with which file, then
    // nativeErrorText(), which may be empty. The file's own error() decides; `defaultError` stands in
    // when it reports none. NoError gives the file's name as the first line, a number that is no
    // FileError gives no first line.
    [[nodiscard]] QString errorText(QFileDevice::FileError defaultError) const;

    // The reason as Qt tells it, errorString(), in German where it is one of the four everyday ones.
    [[nodiscard]] QString nativeErrorText() const;

    // Copies `fileName` to `newName`; with `overwrite` an existing target is replaced, forcefully.
    // A target that is the source itself is left alone, and the copy fails, as it does on any existing
    // target without `overwrite`.
    //
    // A target is replaced in one step, by a whole copy that was made beside it: other processes see the
    // former file or the new one, and a failure leaves the former one. Only where the copy finds no room
    // beside the target, and does in its place, is the target removed first.
    //
    // "The source itself" are two paths that s3FileInfo holds to be equal, and two paths that lead to one
    // file over linked directories or a linked source: removing that target would lose the only copy.
    //
    // `error` and `errorString` are written in all cases: NoError and empty on success; otherwise the
    // failed file's error() and a text of two lines for the user. The text names the paths as given.
    static bool copy(const QString &fileName, const QString &newName, bool overwrite,
                     QFileDevice::FileError &error, QString &errorString);
    static bool copy(const QString &fileName, const QString &newName, bool overwrite, QString &errorString);
    static bool copy(const QString &fileName, const QString &newName, bool overwrite);

private:
    enum class Replacement { Done, NotCopied, TargetStays };

    // Puts a copy of `source` in the place of this file, which exists. NotCopied: the source tells why;
    // TargetStays: this file tells why it cannot be replaced.
    [[nodiscard]] Replacement replaceByCopyOf(s3File &source);

    void restorePermissions(QFileDevice::Permissions former) const;
};
