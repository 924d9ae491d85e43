#include "ostrelletest/filecontent.h"
#include "ostrelletest/lockedfile.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/smallvolume.h"
#include "ostrelletest/symboliclink.h"
#include "ostrelletest/tracerecorder.h"
#include "s3file.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

namespace
{

constexpr QFileDevice::Permissions readOnly
    = QFileDevice::ReadOwner | QFileDevice::ReadUser | QFileDevice::ReadGroup | QFileDevice::ReadOther;

const auto noSymbolicLinks = "symbolic links cannot be made here (Wine 8 has none)";

// Lets a test put words into the file's mouth that no test can provoke.
class TalkingFile final : public s3File
{
public:
    using QIODevice::setErrorString;
    using s3File::s3File;
};

struct CopyOutcome {
    bool copied = false;
    // Wrong from the start, so that a call that leaves them alone shows.
    QFileDevice::FileError error = QFileDevice::TimeOutError;
    QString errorString = u"left over"_s;
};

CopyOutcome copyFile(const QString &from, const QString &to, bool overwrite)
{
    CopyOutcome outcome;
    outcome.copied = s3File::copy(from, to, overwrite, outcome.error, outcome.errorString);
    return outcome;
}

QString couldNotCopy(const QString &from, const QString &to)
{
    return u"Datei "_s + from + u" konnte nicht nach "_s + to + u" kopiert werden.\n"_s;
}

}

class TestFile final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void normalisesNames_data();
    void normalisesNames();
    void fileNameIsVirtual();
    void renamesToANormalisedName();
    void existsMeansAFile_data();
    void existsMeansAFile();
    void danglingLinkDoesNotExist();
    void createsAMissingFile();
    void createLeavesAnExistingFile();
    void createFailsOnADirectory();
    void createFailsInAMissingDirectory();
    void removesWhatIsThere_data();
    void removesWhatIsThere();
    void removeLeavesADirectory();
    void forcedRemovalGetsPastReadOnly();
    void plainRemovalTellsTheTruthOnReadOnly();
    void failedRemovalRestoresPermissions_data();
    void failedRemovalRestoresPermissions();
    void makesWritable();
    void makeWritableFailsOnAMissingFile();
    void makeWritableFailsOnAForeignFile();
    void errorTextByDefaultError_data();
    void errorTextByDefaultError();
    void ownErrorWins();
    void errorTextIsUtf8ByteByByte();
    void nativeErrorText_data();
    void nativeErrorText();
    void refusedOpenIsExplained();
    void fullDeviceIsExplained();
    void copyNormalisesItsTarget();
    void copyIsTraced();
    void copyIsSilentWithoutItsFlag();
    void staticCopy_data();
    void staticCopy();
    void copyReplacesAReadOnlyTarget();
    void copyKeepsTheTargetOfAMissingSource();
    void copyOntoItselfFails_data();
    void copyOntoItselfFails();
    void copyFailsOnAnExistingTarget();
    void copyFailsOnADirectory();
    void copyFailsOnAnUnremovableTarget();
    void copyFailsOnAnUnreadableSource();
    void copyNeverLosesItsSourceBehindLinks_data();
    void copyNeverLosesItsSourceBehindLinks();
    void copyReplacesALinkToItsSource();
    void copyKeepsTheTargetOfAnUnreadableSource();
    void copyReplacesTheTargetAsAWhole();
    void copyOntoAFullVolume_data();
    void copyOntoAFullVolume();
    void copyOfATargetIsTracedOnce();
    void copyTakesPlaceholdersInNamesLiterally();
    void shortFormsOfCopy();
    void copiesOverLongPaths();
};

void TestFile::normalisesNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("drive") << u"C:\\temp\\a.txt"_s << u"C:/temp/a.txt"_s;
    QTest::newRow("mixed") << u"a\\b/c\\d"_s << u"a/b/c/d"_s;
    QTest::newRow("share") << u"\\\\server\\share\\ä ö.txt"_s << u"//server/share/ä ö.txt"_s;
    QTest::newRow("doubled and dots stay") << u"a\\\\b\\..\\c"_s << u"a//b/../c"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("resource") << u":\\x\\y"_s << u":/x/y"_s;
}

void TestFile::normalisesNames()
{
    QFETCH(const QString, name);
    QFETCH(const QString, expected);
    QCOMPARE(s3File(name).fileName(), expected);
    QCOMPARE(s3File(QFileInfo(name)).fileName(), expected);
    s3File file(u"other"_s);
    file.setFileName(name);
    QCOMPARE(file.fileName(), expected);
    QVERIFY(!file.isOpen());
}

void TestFile::fileNameIsVirtual()
{
    const s3File file(u"a\\b"_s);
    const QFileDevice &device = file;
    QCOMPARE(device.fileName(), u"a/b"_s);
}

void TestFile::renamesToANormalisedName()
{
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    s3File file(dir.filePath(u"a"_s));
    QVERIFY(file.rename(dir.path() + u"\\sub\\b"_s));
    QCOMPARE(file.fileName(), dir.filePath(u"sub/b"_s));
    QCOMPARE(readFile(dir.filePath(u"sub/b"_s)), "text");
    QVERIFY(!file.rename(dir.path() + u"\\missing\\b"_s));
    QCOMPARE(file.error(), QFileDevice::RenameError);
}

void TestFile::existsMeansAFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("expected");
    QTest::newRow("file") << u"file"_s << true;
    QTest::newRow("hidden file") << u".hidden"_s << true;
    QTest::newRow("file in a directory") << u"dir\\ä file"_s << true;
    QTest::newRow("directory") << u"dir"_s << false;
    QTest::newRow("missing") << u"none"_s << false;
    QTest::newRow("below a missing directory") << u"none/file"_s << false;
}

void TestFile::existsMeansAFile()
{
    QFETCH(const QString, name);
    QFETCH(const bool, expected);
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"dir"_s));
    for (const QString &file : {u"file"_s, u".hidden"_s, u"dir/ä file"_s})
        QVERIFY(writeFile(dir.filePath(file), "x"));
    QCOMPARE(s3File(dir.filePath(name)).exists(), expected);
}

void TestFile::danglingLinkDoesNotExist()
{
    const QTemporaryDir dir;
    if (!makeSymbolicLink(dir.filePath(u"none"_s), dir.filePath(u"link"_s)))
        QSKIP(noSymbolicLinks);
    s3File link(dir.filePath(u"link"_s));
    QVERIFY(!link.exists());
    QVERIFY(link.remove(true));
    QVERIFY(QFileInfo(dir.filePath(u"link"_s)).isSymLink());
}

void TestFile::createsAMissingFile()
{
    const QTemporaryDir dir;
    s3File file(dir.filePath(u"ü new"_s));
    QVERIFY(file.createIfMissing());
    QVERIFY(!file.isOpen());
    QCOMPARE(readFile(dir.filePath(u"ü new"_s)), "");
    QVERIFY(file.createIfMissing());
}

void TestFile::createLeavesAnExistingFile()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    QVERIFY(QFile::setPermissions(dir.filePath(u"a"_s), readOnly));
    QVERIFY(s3File(dir.filePath(u"a"_s)).createIfMissing());
    QCOMPARE(readFile(dir.filePath(u"a"_s)), "text");
}

void TestFile::createFailsOnADirectory()
{
    const QTemporaryDir dir;
    s3File file(dir.path());
    QVERIFY(!file.createIfMissing());
    QVERIFY(QFileInfo(dir.path()).isDir());
    QVERIFY(file.error() != QFileDevice::NoError);
}

void TestFile::createFailsInAMissingDirectory()
{
    const QTemporaryDir dir;
    s3File file(dir.filePath(u"none/file"_s));
    QVERIFY(!file.createIfMissing());
    QVERIFY(!QFileInfo::exists(dir.filePath(u"none"_s)));
    QCOMPARE(file.error(), QFileDevice::OpenError);
}

void TestFile::removesWhatIsThere_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("force");
    QTest::addColumn<bool>("make");
    for (const bool force : {false, true}) {
        const auto row = [force](const char *text) -> QTestData & {
            return QTest::addRow("%s, %s", text, force ? "forced" : "plain");
        };
        row("file") << u"a file"_s << force << true;
        row("hidden file") << u".hidden"_s << force << true;
        row("non-ASCII name") << u"Прайс ä"_s << force << true;
        row("missing file") << u"none"_s << force << false;
        row("below a missing directory") << u"none/none"_s << force << false;
    }
}

void TestFile::removesWhatIsThere()
{
    QFETCH(const QString, name);
    QFETCH(const bool, force);
    QFETCH(const bool, make);
    const QTemporaryDir dir;
    if (make)
        QVERIFY(writeFile(dir.filePath(name), "x"));
    s3File file(dir.filePath(name));
    QVERIFY(file.remove(force));
    QVERIFY(!QFileInfo::exists(dir.filePath(name)));
    QCOMPARE(file.error(), QFileDevice::NoError);
}

void TestFile::removeLeavesADirectory()
{
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(s3File(dir.filePath(u"sub"_s)).remove(false));
    QVERIFY(s3File(dir.filePath(u"sub"_s)).remove(true));
    QVERIFY(QFileInfo(dir.filePath(u"sub"_s)).isDir());
}

void TestFile::forcedRemovalGetsPastReadOnly()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "x"));
    QVERIFY(QFile::setPermissions(dir.filePath(u"a"_s), readOnly));
    QVERIFY(!QFileInfo(dir.filePath(u"a"_s)).isWritable());
    QVERIFY(s3File(dir.filePath(u"a"_s)).remove(true));
    QVERIFY(!QFileInfo::exists(dir.filePath(u"a"_s)));
}

// Whether a read-only file can be removed is the platform's affair: Linux asks the directory.
void TestFile::plainRemovalTellsTheTruthOnReadOnly()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "x"));
    QVERIFY(QFile::setPermissions(dir.filePath(u"a"_s), readOnly));
    const QFileDevice::Permissions before = QFile::permissions(dir.filePath(u"a"_s));
    s3File file(dir.filePath(u"a"_s));
    const bool removed = file.remove(false);
    QCOMPARE(QFileInfo::exists(dir.filePath(u"a"_s)), !removed);
    QCOMPARE(file.error(), removed ? QFileDevice::NoError : QFileDevice::RemoveError);
    if (!removed)
        QCOMPARE(QFile::permissions(dir.filePath(u"a"_s)), before);
}

void TestFile::failedRemovalRestoresPermissions_data()
{
    QTest::addColumn<QFileDevice::Permissions>("permissions");
    QTest::newRow("read-only") << readOnly;
    QTest::newRow("ordinary") << (readOnly | QFileDevice::WriteOwner | QFileDevice::WriteUser);
    QTest::newRow("writable for all") << (readOnly | QFileDevice::WriteOwner | QFileDevice::WriteUser
                                          | QFileDevice::WriteGroup | QFileDevice::WriteOther);
}

void TestFile::failedRemovalRestoresPermissions()
{
    QFETCH(const QFileDevice::Permissions, permissions);
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a"_s);
    QVERIFY(writeFile(path, "text"));
    QVERIFY(QFile::setPermissions(path, permissions));
    const QFileDevice::Permissions before = QFile::permissions(path);
    {
        const ScopedUnremovableFile locked(path);
        QVERIFY(locked.isLocked());
        s3File file(path);
        QVERIFY(!file.remove(false));
        QCOMPARE(file.error(), QFileDevice::RemoveError);
        QVERIFY(!file.remove(true));
        QCOMPARE(file.error(), QFileDevice::RemoveError);
        QVERIFY(file.errorText(QFileDevice::OpenError)
                    .startsWith(u"Datei "_s + path + u" kann nicht gelöscht werden.\n"_s));
        QVERIFY(!file.nativeErrorText().isEmpty());
    }
    QCOMPARE(QFile::permissions(path), before);
    QCOMPARE(readFile(path), "text");
}

void TestFile::makesWritable()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a"_s);
    QVERIFY(writeFile(path, "text"));
    QVERIFY(QFile::setPermissions(path, readOnly));
    QVERIFY(!QFile::permissions(path).testFlag(QFileDevice::WriteUser));
    s3File file(path);
    QVERIFY(file.makeWritable());
    constexpr QFileDevice::Permissions added
        = QFileDevice::WriteUser | QFileDevice::WriteGroup | QFileDevice::WriteOther;
    QCOMPARE(QFile::permissions(path) & added, added);
    QVERIFY(file.open(QIODevice::Append));
    file.close();
    QVERIFY(file.makeWritable());
}

void TestFile::makeWritableFailsOnAMissingFile()
{
    const QTemporaryDir dir;
    s3File file(dir.filePath(u"none"_s));
    QVERIFY(!file.makeWritable());
    QCOMPARE(file.error(), QFileDevice::PermissionsError);
}

void TestFile::makeWritableFailsOnAForeignFile()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a"_s);
    QVERIFY(writeFile(path, "text"));
    QVERIFY(QFile::setPermissions(path, readOnly));
    const OrdinaryUser user;
    // The directory is the former user's. Where there is no other user, the file is one's own.
    s3File file(path);
    const bool foreign = !QFileInfo(path).isReadable();
    QCOMPARE(file.makeWritable(), !foreign);
    QCOMPARE(file.error(), foreign ? QFileDevice::PermissionsError : QFileDevice::NoError);
}

void TestFile::errorTextByDefaultError_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("firstLine");
    QTest::newRow("NoError") << 0 << u"x/y.txt\n"_s;
    QTest::newRow("ReadError") << 1 << u"Ein-/Ausgabefehler beim Lesen der Datei x/y.txt.\n"_s;
    QTest::newRow("WriteError") << 2 << u"Ein-/Ausgabefehler beim Schreiben der Datei x/y.txt.\n"_s;
    QTest::newRow("FatalError") << 3 << u"Fataler Fehler beim Zugriff auf die Datei x/y.txt.\n"_s;
    QTest::newRow("ResourceError") << 4
                                   << u"Fehlende Systemressourcen beim Zugriff auf die Datei x/y.txt.\n"_s;
    QTest::newRow("OpenError") << 5 << u"Datei x/y.txt kann nicht ge\u00f6ffnet werden.\n"_s;
    QTest::newRow("AbortError") << 6 << u"Zugriff auf die Datei x/y.txt abgebrochen.\n"_s;
    QTest::newRow("TimeOutError") << 7 << u"Zeitablauf beim Zugriff auf die Datei x/y.txt.\n"_s;
    QTest::newRow("UnspecifiedError") << 8 << u"Unbekannter Fehler beim Zugriff auf die Datei x/y.txt.\n"_s;
    QTest::newRow("RemoveError") << 9 << u"Datei x/y.txt kann nicht gel\u00f6scht werden.\n"_s;
    QTest::newRow("RenameError") << 10 << u"Datei x/y.txt kann nicht umbenannt werden.\n"_s;
    QTest::newRow("PositionError") << 11 << u"Positionieren innerhalb der Datei x/y.txt gescheitert.\n"_s;
    QTest::newRow("ResizeError")
        << 12 << u"Die Gr\u00f6\u00dfe der Datei x/y.txt kann nicht ge\u00e4ndert werden.\n"_s;
    QTest::newRow("PermissionsError") << 13 << u"Zugriffsrechte fehlen f\u00fcr die Datei x/y.txt.\n"_s;
    QTest::newRow("CopyError") << 14 << u"Datei x/y.txt kann nicht kopiert werden.\n"_s;
    QTest::newRow("number behind the table") << 15 << QString();
}

void TestFile::errorTextByDefaultError()
{
    QFETCH(const int, code);
    QFETCH(const QString, firstLine);
    const auto error = static_cast<QFileDevice::FileError>(code);
    TalkingFile file(u"x\\y.txt"_s);
    QCOMPARE(file.errorText(error), firstLine + file.errorString());
    file.setErrorString(u"No such file or directory"_s);
    QCOMPARE(file.errorText(error), firstLine + u"Datei/Verzeichnis existiert nicht."_s);
    if (!firstLine.isEmpty()) {
        TalkingFile odd(u"100%1 %2 ä"_s);
        odd.setErrorString(u"%1"_s);
        QCOMPARE(odd.errorText(error), QString(firstLine).replace(u"x/y.txt"_s, u"100%1 %2 ä"_s) + u"%1"_s);
    }
}

void TestFile::ownErrorWins()
{
    const QTemporaryDir dir;
    s3File file(dir.filePath(u"none/x"_s));
    QVERIFY(!file.open(QIODevice::ReadOnly));
    QCOMPARE(file.error(), QFileDevice::OpenError);
    const QString text = file.errorText(QFileDevice::CopyError);
    QCOMPARE(text,
             u"Datei "_s + file.fileName() + u" kann nicht geöffnet werden.\n"_s + file.nativeErrorText());
    file.unsetError();
    QVERIFY(file.errorText(QFileDevice::CopyError)
                .startsWith(u"Datei "_s + file.fileName() + u" kann nicht kopiert werden.\n"_s));
}

void TestFile::errorTextIsUtf8ByteByByte()
{
    TalkingFile file(u"a"_s);
    file.setErrorString(u"Too many open files"_s);
    QCOMPARE(file.errorText(QFileDevice::ResizeError).toUtf8(),
             "Die Gr\xC3\xB6\xC3\x9F"
             "e der Datei a kann nicht ge\xC3\xA4ndert werden.\n"
             "Es sind in diesem Prozess zuviele Dateien ge\xC3\xB6"
             "ffnet.");
    QCOMPARE(file.errorText(QFileDevice::PermissionsError).section(u'\n', 0, 0).toUtf8(),
             "Zugriffsrechte fehlen f\xC3\xBCr die Datei a.");
}

void TestFile::nativeErrorText_data()
{
    QTest::addColumn<QString>("qtText");
    QTest::addColumn<QString>("expected");
    QTest::newRow("EACCES") << u"Permission denied"_s << u"Zugriff verweigert"_s;
    QTest::newRow("EMFILE") << u"Too many open files"_s
                            << u"Es sind in diesem Prozess zuviele Dateien ge\u00f6ffnet."_s;
    QTest::newRow("ENOENT") << u"No such file or directory"_s << u"Datei/Verzeichnis existiert nicht."_s;
    QTest::newRow("ENOSPC") << u"No space left on device"_s << u"zu wenig Speicherplatz"_s;
    QTest::newRow("another text") << u"Is a directory"_s << u"Is a directory"_s;
    QTest::newRow("other case") << u"permission denied"_s << u"permission denied"_s;
    QTest::newRow("more than the text") << u"Permission denied."_s << u"Permission denied."_s;
    QTest::newRow("blank in front") << u" Permission denied"_s << u" Permission denied"_s;
    QTest::newRow("German already") << u"Zugriff verweigert"_s << u"Zugriff verweigert"_s;
}

void TestFile::nativeErrorText()
{
    QFETCH(const QString, qtText);
    QFETCH(const QString, expected);
    TalkingFile file(u"x"_s);
    file.setErrorString(qtText);
    QCOMPARE(file.nativeErrorText(), expected);
}

void TestFile::refusedOpenIsExplained()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a"_s);
    QVERIFY(writeFile(path, "x"));
    const ScopedUnreadableFile locked(path);
    QVERIFY(locked.isLocked());
    s3File file(path);
    QVERIFY(!file.open(QIODevice::ReadOnly));
    // Windows has other words for it, which stay.
    const QString reason
        = file.errorString() == u"Permission denied"_s ? u"Zugriff verweigert"_s : file.errorString();
    QCOMPARE(file.errorText(QFileDevice::NoError).section(u'\n', 1), reason);
}

void TestFile::fullDeviceIsExplained()
{
    s3File file(u"/dev/full"_s);
    if (!file.exists())
        QSKIP("there is no full device on this platform");
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    QCOMPARE(file.write("x"), -1);
    const QString text = file.errorText(QFileDevice::OpenError);
    QVERIFY2(
        text == u"Fehlende Systemressourcen beim Zugriff auf die Datei /dev/full.\nzu wenig Speicherplatz"_s
            || text == u"Ein-/Ausgabefehler beim Schreiben der Datei /dev/full.\nzu wenig Speicherplatz"_s,
        qPrintable(text));
}

void TestFile::copyNormalisesItsTarget()
{
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    s3File file(dir.filePath(u"a"_s));
    QVERIFY(file.copy(dir.path() + u"\\sub\\b"_s));
    QCOMPARE(readFile(dir.filePath(u"sub/b"_s)), "text");
    QVERIFY(!file.copy(dir.path() + u"\\sub\\b"_s));
    QCOMPARE(file.error(), QFileDevice::CopyError);
}

void TestFile::copyIsTraced()
{
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    QVERIFY(QDir().mkdir(u"sub"_s));
    QVERIFY(writeFile(u"a %3.txt"_s, "12345"));
    const ScopedTestFlag flag(226);
    const TraceRecorder recorder;
    QVERIFY(s3File(u"a %3.txt"_s).copy(u"sub\\b"_s));
    QVERIFY(!s3File(u"none"_s).copy(u"sub/c"_s));
    QCOMPARE(
        recorder.lines(),
        QStringList({u"s3File::copy() fileName=a %3.txt fileSize=5 newName=sub/b --> ret=true newSize=5"_s,
                     u"s3File::copy() fileName=none fileSize=0 newName=sub/c --> ret=false newSize=0"_s}));
}

void TestFile::copyIsSilentWithoutItsFlag()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "x"));
    const ScopedTestFlag flag(225);
    const TraceRecorder recorder;
    QVERIFY(s3File(dir.filePath(u"a"_s)).copy(dir.filePath(u"b"_s)));
    QCOMPARE(recorder.lines(), QStringList());
}

void TestFile::staticCopy_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("overwrite");
    QTest::addColumn<QByteArray>("former");
    const QByteArray all = [] {
        QByteArray bytes;
        for (int i = 0; i < 3 * 1024 * 1024; ++i)
            bytes += static_cast<char>((i * 7 + i / 4096) & 0xff);
        return bytes;
    }();
    QTest::newRow("to a new file") << QByteArray("text") << u"b"_s << false << QByteArray();
    QTest::newRow("to a new file, overwriting") << QByteArray("text") << u"b"_s << true << QByteArray();
    QTest::newRow("over a file") << QByteArray("text") << u"b"_s << true << QByteArray("a longer text");
    QTest::newRow("over an empty file") << QByteArray("text") << u"b"_s << true << QByteArray("");
    QTest::newRow("an empty file over a text") << QByteArray("") << u"b"_s << true << QByteArray("text");
    QTest::newRow("3 MiB of all bytes") << all << u"b"_s << true << QByteArray("text");
    QTest::newRow("name with blanks and non-ASCII")
        << QByteArray("text") << u"Größe – 价格 🖂.txt"_s << true << QByteArray("old");
    QTest::newRow("backslashes in the target") << QByteArray("text") << u"sub\\b"_s << true << QByteArray();
}

void TestFile::staticCopy()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, target);
    QFETCH(const bool, overwrite);
    QFETCH(const QByteArray, former);
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(writeFile(dir.filePath(u"a ü"_s), content));
    const QString path = dir.filePath(target);
    if (!former.isNull())
        QVERIFY(writeFile(path, former));
    const CopyOutcome outcome = copyFile(dir.filePath(u"a ü"_s), path, overwrite);
    QVERIFY2(outcome.copied, qPrintable(outcome.errorString));
    QCOMPARE(outcome.error, QFileDevice::NoError);
    QCOMPARE(outcome.errorString, QString());
    QVERIFY(readFile(QString(path).replace(u'\\', u'/')) == content);
    QVERIFY(readFile(dir.filePath(u"a ü"_s)) == content);
}

void TestFile::copyReplacesAReadOnlyTarget()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "new"));
    QVERIFY(writeFile(dir.filePath(u"b"_s), "old"));
    QVERIFY(QFile::setPermissions(dir.filePath(u"b"_s), readOnly));
    const CopyOutcome outcome = copyFile(dir.filePath(u"a"_s), dir.filePath(u"b"_s), true);
    QVERIFY2(outcome.copied, qPrintable(outcome.errorString));
    QCOMPARE(readFile(dir.filePath(u"b"_s)), "new");
}

void TestFile::copyKeepsTheTargetOfAMissingSource()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"b"_s), "old"));
    const CopyOutcome outcome = copyFile(dir.filePath(u"none"_s), dir.filePath(u"b"_s), true);
    QVERIFY(!outcome.copied);
    QCOMPARE(outcome.error, QFileDevice::CopyError);
    QVERIFY(outcome.errorString.startsWith(couldNotCopy(dir.filePath(u"none"_s), dir.filePath(u"b"_s))));
    QCOMPARE(readFile(dir.filePath(u"b"_s)), "old");
}

void TestFile::copyOntoItselfFails_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("same name") << u"a.txt"_s;
    QTest::newRow("with a dot") << u"./a.txt"_s;
    QTest::newRow("backslash") << u".\\a.txt"_s;
    QTest::newRow("absolute") << u"%cwd%/a.txt"_s;
    QTest::newRow("around a directory") << u"sub/../a.txt"_s;
    QTest::newRow("doubled slash") << u".//a.txt"_s;
}

void TestFile::copyOntoItselfFails()
{
    QFETCH(QString, target);
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    QVERIFY(QDir().mkdir(u"sub"_s));
    QVERIFY(writeFile(u"a.txt"_s, "text"));
    target.replace(u"%cwd%"_s, QDir::currentPath());
    for (const bool overwrite : {true, false}) {
        const CopyOutcome outcome = copyFile(u"a.txt"_s, target, overwrite);
        QVERIFY(!outcome.copied);
        QCOMPARE(outcome.error, QFileDevice::CopyError);
        QVERIFY2(outcome.errorString.startsWith(couldNotCopy(u"a.txt"_s, target)),
                 qPrintable(outcome.errorString));
        QCOMPARE(readFile(u"a.txt"_s), "text");
    }
}

void TestFile::copyFailsOnAnExistingTarget()
{
    const QTemporaryDir dir;
    const QString from = dir.filePath(u"a"_s);
    const QString to = dir.filePath(u"b"_s);
    QVERIFY(writeFile(from, "new"));
    QVERIFY(writeFile(to, "old"));
    const CopyOutcome outcome = copyFile(from, to, false);
    QVERIFY(!outcome.copied);
    QCOMPARE(outcome.error, QFileDevice::CopyError);
    QFile plain(from);
    QVERIFY(!plain.copy(to));
    QCOMPARE(outcome.errorString, couldNotCopy(from, to) + plain.errorString());
    QCOMPARE(readFile(to), "old");
}

void TestFile::copyFailsOnADirectory()
{
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    const CopyOutcome onto = copyFile(dir.filePath(u"a"_s), dir.filePath(u"sub"_s), true);
    QVERIFY(!onto.copied);
    QVERIFY(QFileInfo(dir.filePath(u"sub"_s)).isDir());
    const CopyOutcome of = copyFile(dir.filePath(u"sub"_s), dir.filePath(u"a"_s), true);
    QVERIFY(!of.copied);
    QVERIFY(of.error != QFileDevice::NoError);
    QCOMPARE(readFile(dir.filePath(u"a"_s)), "text");
}

void TestFile::copyFailsOnAnUnremovableTarget()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    const QString to = dir.filePath(u"sub/b"_s);
    QVERIFY(writeFile(dir.filePath(u"a"_s), "new"));
    QVERIFY(writeFile(to, "old"));
    {
        const ScopedUnremovableFile locked(to);
        QVERIFY(locked.isLocked());
        const CopyOutcome outcome = copyFile(dir.filePath(u"a"_s), to, true);
        QVERIFY(!outcome.copied);
        QCOMPARE(outcome.error, QFileDevice::RemoveError);
        QVERIFY2(outcome.errorString.startsWith(u"Datei "_s + to + u" kann nicht gelöscht werden.\n"_s),
                 qPrintable(outcome.errorString));
    }
    QCOMPARE(readFile(to), "old");
}

void TestFile::copyFailsOnAnUnreadableSource()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    {
        const ScopedUnreadableFile locked(dir.filePath(u"a"_s));
        QVERIFY(locked.isLocked());
        const CopyOutcome outcome = copyFile(dir.filePath(u"a"_s), dir.filePath(u"b"_s), false);
        QVERIFY(!outcome.copied);
        QVERIFY(outcome.error != QFileDevice::NoError);
        QVERIFY(outcome.errorString.startsWith(couldNotCopy(dir.filePath(u"a"_s), dir.filePath(u"b"_s))));
    }
    QVERIFY(!QFileInfo::exists(dir.filePath(u"b"_s)));
    QCOMPARE(readFile(dir.filePath(u"a"_s)), "text");
}

void TestFile::copyNeverLosesItsSourceBehindLinks_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("target");
    QTest::newRow("source through a linked directory") << u"linked/a"_s << u"sub/a"_s;
    QTest::newRow("target through a linked directory") << u"sub/a"_s << u"linked/a"_s;
    QTest::newRow("source is a link to the target") << u"link"_s << u"sub/a"_s;
    QTest::newRow("both") << u"link"_s << u"linked/a"_s;
}

void TestFile::copyNeverLosesItsSourceBehindLinks()
{
    QFETCH(const QString, source);
    QFETCH(const QString, target);
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(writeFile(dir.filePath(u"sub/a"_s), "text"));
    if (!makeSymbolicLink(dir.filePath(u"sub"_s), dir.filePath(u"linked"_s))
        || !makeSymbolicLink(dir.filePath(u"sub/a"_s), dir.filePath(u"link"_s)))
        QSKIP(noSymbolicLinks);
    const CopyOutcome outcome = copyFile(dir.filePath(source), dir.filePath(target), true);
    QVERIFY(!outcome.copied);
    QCOMPARE(outcome.error, QFileDevice::CopyError);
    QVERIFY(outcome.errorString.startsWith(couldNotCopy(dir.filePath(source), dir.filePath(target))));
    QCOMPARE(readFile(dir.filePath(u"sub/a"_s)), "text");
}

void TestFile::copyReplacesALinkToItsSource()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    if (!makeSymbolicLink(dir.filePath(u"a"_s), dir.filePath(u"link"_s)))
        QSKIP(noSymbolicLinks);
    const CopyOutcome outcome = copyFile(dir.filePath(u"a"_s), dir.filePath(u"link"_s), true);
    QVERIFY2(outcome.copied, qPrintable(outcome.errorString));
    QVERIFY(!QFileInfo(dir.filePath(u"link"_s)).isSymLink());
    QCOMPARE(readFile(dir.filePath(u"link"_s)), "text");
    QCOMPARE(readFile(dir.filePath(u"a"_s)), "text");
}

void TestFile::copyKeepsTheTargetOfAnUnreadableSource()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    const QString from = dir.filePath(u"a"_s);
    const QString to = dir.filePath(u"b"_s);
    QVERIFY(writeFile(from, "new"));
    QVERIFY(writeFile(to, "old"));
    {
        const ScopedUnreadableFile locked(from);
        QVERIFY(locked.isLocked());
        const CopyOutcome outcome = copyFile(from, to, true);
        QVERIFY(!outcome.copied);
        QVERIFY(outcome.error != QFileDevice::NoError);
        QVERIFY2(outcome.errorString.startsWith(couldNotCopy(from, to)), qPrintable(outcome.errorString));
        QVERIFY(!outcome.errorString.contains(u"s3copy"_s));
    }
    QCOMPARE(readFile(to), "old");
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"a"_s, u"b"_s}));
}

// The former file is not written into: another name of it keeps its content.
void TestFile::copyReplacesTheTargetAsAWhole()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "new"));
    QVERIFY(writeFile(dir.filePath(u"b"_s), "old"));
    std::error_code error;
    std::filesystem::create_hard_link(dir.filePath(u"b"_s).toStdU16String(),
                                      dir.filePath(u"other name"_s).toStdU16String(), error);
    if (error)
        QSKIP("hard links cannot be made here");
    const CopyOutcome outcome = copyFile(dir.filePath(u"a"_s), dir.filePath(u"b"_s), true);
    QVERIFY2(outcome.copied, qPrintable(outcome.errorString));
    QCOMPARE(readFile(dir.filePath(u"b"_s)), "new");
    QCOMPARE(readFile(dir.filePath(u"other name"_s)), "old");
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"a"_s, u"b"_s, u"other name"_s}));
}

void TestFile::copyOntoAFullVolume_data()
{
    QTest::addColumn<int>("sourceSize");
    QTest::addColumn<bool>("hasSecondName");
    QTest::addColumn<bool>("copied");
    // The volume has 256 KiB, and the target has 160 of them.
    QTest::newRow("room beside the target") << 65536 << false << true;
    QTest::newRow("room in its place alone") << 204800 << false << true;
    QTest::newRow("no room even in its place") << 409600 << false << false;
    QTest::newRow("removing one name of it makes no room") << 204800 << true << false;
}

void TestFile::copyOntoAFullVolume()
{
    QFETCH(const int, sourceSize);
    QFETCH(const bool, hasSecondName);
    QFETCH(const bool, copied);
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"small"_s));
    const SmallVolume volume(dir.filePath(u"small"_s), 262144);
    if (!volume.isMounted())
        QSKIP("a full volume needs the right to mount (and Linux)");
    const QString from = dir.filePath(u"a"_s);
    const QString to = dir.filePath(u"small/b"_s);
    const QByteArray source(sourceSize, 'n');
    const QByteArray target(163840, 'o');
    QVERIFY(writeFile(from, source));
    QVERIFY(writeFile(to, target));
    if (hasSecondName)
        std::filesystem::create_hard_link(to.toStdU16String(), dir.filePath(u"small/c"_s).toStdU16String());
    const CopyOutcome outcome = copyFile(from, to, true);
    QVERIFY2(outcome.copied == copied, qPrintable(outcome.errorString));
    QVERIFY(readFile(to) == (copied ? source : target));
    if (!copied) {
        QCOMPARE(outcome.error, QFileDevice::CopyError);
        QVERIFY2(outcome.errorString.startsWith(couldNotCopy(from, to)), qPrintable(outcome.errorString));
        QVERIFY(outcome.errorString.size() > couldNotCopy(from, to).size());
        QVERIFY(!outcome.errorString.contains(u"s3copy"_s));
    }
    QCOMPARE(QDir(dir.filePath(u"small"_s)).entryList(QDir::Files | QDir::Hidden),
             hasSecondName ? QStringList({u"b"_s, u"c"_s}) : QStringList({u"b"_s}));
}

void TestFile::copyOfATargetIsTracedOnce()
{
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    QVERIFY(writeFile(u"a"_s, "12345"));
    QVERIFY(writeFile(u"b"_s, "1"));
    const ScopedTestFlag flag(226);
    const TraceRecorder recorder;
    QVERIFY(s3File::copy(u"a"_s, u"b"_s, true));
    QCOMPARE(recorder.lines(),
             QStringList({u"s3File::copy() fileName=a fileSize=5 newName=b --> ret=true newSize=5"_s}));
}

void TestFile::copyTakesPlaceholdersInNamesLiterally()
{
    const QString from = u"none %2 %1"_s;
    const QString to = u"x %1 %2"_s;
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    const CopyOutcome outcome = copyFile(from, to, true);
    QVERIFY(!outcome.copied);
    QVERIFY2(outcome.errorString.startsWith(couldNotCopy(from, to)), qPrintable(outcome.errorString));
}

void TestFile::shortFormsOfCopy()
{
    const QTemporaryDir dir;
    const QString from = dir.filePath(u"a"_s);
    const QString to = dir.filePath(u"b"_s);
    QVERIFY(writeFile(from, "1"));
    QVERIFY(s3File::copy(from, to, false));
    QVERIFY(!s3File::copy(from, to, false));
    QString error = u"left over"_s;
    QVERIFY(s3File::copy(from, to, true, error));
    QCOMPARE(error, QString());
    QVERIFY(!s3File::copy(from, to, false, error));
    QVERIFY(error.startsWith(couldNotCopy(from, to)));
}

void TestFile::copiesOverLongPaths()
{
    const QTemporaryDir dir;
    // Longer than the 260 code units of old Windows calls.
    QString deep = dir.path();
    for (int i = 0; i < 8; ++i)
        deep += u"/"_s + QString(48, u'ä');
    QVERIFY(QDir().mkpath(deep));
    QVERIFY(deep.size() > 300);
    QVERIFY(writeFile(dir.filePath(u"a"_s), "text"));
    const CopyOutcome outcome = copyFile(dir.filePath(u"a"_s), deep + u"/b"_s, true);
    QVERIFY2(outcome.copied, qPrintable(outcome.errorString));
    QCOMPARE(readFile(deep + u"/b"_s), "text");
    QVERIFY(writeFile(deep + u"/b"_s, "old"));
    const CopyOutcome over = copyFile(dir.filePath(u"a"_s), deep + u"/b"_s, true);
    QVERIFY2(over.copied, qPrintable(over.errorString));
    QCOMPARE(readFile(deep + u"/b"_s), "text");
    QVERIFY(s3File(deep + u"/b"_s).remove(true));
    // One that no system takes.
    const CopyOutcome tooLong = copyFile(dir.filePath(u"a"_s), dir.filePath(QString(40000, u'x')), true);
    QVERIFY(!tooLong.copied);
    QVERIFY(!tooLong.errorString.isEmpty());
    QCOMPARE(readFile(dir.filePath(u"a"_s)), "text");
}

QTEST_GUILESS_MAIN(TestFile)
#include "tst_s3file.moc"
