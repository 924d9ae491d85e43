#include "s3settings.h"

#include "ostrelletest/childrun.h"
#include "ostrelletest/memoryresource.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/smallvolume.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "privatemembers.h"
#include "s3file.h"
#include "s3operatingsystem.h"
#include "s3string.h"
#include "s3translate.h"
#include "s3whitelabel.h"
#include "settingsfixture.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QMap>
#include <QPoint>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <memory>
#include <tuple>
#include <type_traits>
#include <vector>

using namespace Qt::StringLiterals;

using Flag = s3Settings::LoadFlag;
using Flags = s3Settings::LoadFlags;
using Type = s3Settings::Type;

static_assert(!std::is_polymorphic_v<s3Settings>);
static_assert(int(Type::None) == 0 && int(Type::File) == 1 && int(Type::Ini) == 2 && int(Type::Cfg) == 3);
static_assert(int(Type::Private) == 4 && int(Type::IniWithPrivate) == 5 && int(Type::Local) == 6);
static_assert(sizeof(Type) == 4 && sizeof(Flags) == 4);
static_assert(int(Flag::copyToTempDir) == 1 && int(Flag::CopyToTempDirForce) == 2
              && int(Flag::readOnlyOrig) == 4);

struct SettingsMembers {
    friend auto membersOf(SettingsMembers);
};
template struct ExposeMembers<SettingsMembers, &s3Settings::m_type, &s3Settings::flags, &s3Settings::file,
                              &s3Settings::fileOrig, &s3Settings::m_errorString, &s3Settings::ok,
                              &s3Settings::modified, &s3Settings::settings>;

// At global scope, as the macros want it.
static void removeCompiledInFile()
{
    Q_CLEANUP_RESOURCE(s3core_settings);
}

static void addCompiledInFile()
{
    Q_INIT_RESOURCE(s3core_settings);
}

namespace
{

constexpr Flags copying = Flag::copyToTempDir;
constexpr Flags forcedCopy = Flag::CopyToTempDirForce;
constexpr Flags readOnly = Flag::readOnlyOrig;
constexpr Flags protectedCopy = Flags(Flag::copyToTempDir) | Flag::readOnlyOrig;

const QByteArray mark("[version]\nformat=2\n");

// What such a file holds, key by key with the section in front, as QSettings itself sees it. It gets a copy
// of its own, since it keeps what it has read of a path.
QMap<QString, QString> contentOf(const QString &path)
{
    const QTemporaryDir dir;
    if (!writeFile(dir.filePath(u"copy.ini"_s), readFile(path)))
        return {};
    const QSettings settings(dir.filePath(u"copy.ini"_s), QSettings::IniFormat);
    QMap<QString, QString> content;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys) {
        const QVariant value = settings.value(key);
        content[key]
            = value.typeId() == QMetaType::QStringList ? value.toStringList().join(u'|') : value.toString();
    }
    return content;
}

QStringList entriesOf(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

QString pointerText(const void *pointer)
{
    return s3String::fromHex(reinterpret_cast<quintptr>(pointer));
}

QStringList linesOf(const TraceRecorder &recorder, const QString &function)
{
    return recorder.lines().filter(QRegularExpression(u"^%1\\("_s.arg(function)));
}

// An assertion with the condition "false" does not tell it.
bool isUnknownTypeAssertion(const QString &message)
{
    static const QRegularExpression pattern(QRegularExpression::anchoredPattern(
        u"\\nFehlernummer -1111: in libraries/core/src/s3settings:[1-9][0-9]* in "
        "s3Settings::loadFile\\(\\)\\n\\n"_s));
    return pattern.match(message).hasMatch();
}

QString openError(const QString &path)
{
    return u"Datei "_s + path + u" kann nicht geöffnet werden.\n"_s;
}

}

class TestSettings final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void membersInOrder();
    void unloaded();
    void load_data();
    void load();
    void relativeAndBackslashPaths();
    void emptyNameUnloads();
    void copyFailsWithoutATempDirectory_data();
    void copyFailsWithoutATempDirectory();
    void copyFailsIntoAMissingTempDirectory_data();
    void copyFailsIntoAMissingTempDirectory();
    void noCopyUnderItsFlag();
    void noCopyOfAnOldFileUnderItsFlag();
    void copyClearsTheText_data();
    void copyClearsTheText();
    void missingFileIsNotCopied();
    void protectedCopyIsReused();
    void unprotectedCopyIsAlwaysRefreshed();
    void copyOfTheSameSizeIsSeen();
    void closingCopiesBackWhatWasWritten();
    void closingWithoutAWriteCopiesNothing();
    void updateOrigFileOnItsOwn();
    void copyingBackFails();
    void copyingBackOntoAFullVolume();
    void sameNamesShareTheirCopy();
    void objectsOnOneFileSeeEachOther();
    void secondLoadFinishesTheFirst();
    void secondLoadKeepsTheSection_data();
    void secondLoadKeepsTheSection();
    void generationMark_data();
    void generationMark();
    void convertedFileOfTheSameSizeIsReadAnew();
    void conversionOfAProtectedCopy();
    void conversionCannotWrite();
    void worksInAClosedDirectory();
    void conversionHasNoRoomForTheMark();
    void conversionOnAFullVolume_data();
    void conversionOnAFullVolume();
    void unreadableContent_data();
    void unreadableContent();
    void brokenCopyIsNotReused();
    void types_data();
    void types();
    void typesWithoutDirectories();
    void localFileUnderAWhiteLabel();
    void unknownType_data();
    void unknownType();
    void unknownTypeInTheConstructor();
    void compiledInFile();
    void missingCompiledInFile();
    void privateFileFillsIn();
    void privateFileBehindAMissingIni();
    void selectsSections_data();
    void selectsSections();
    void listsSections();
    void listsKeys();
    void removesKeys();
    void removesSections();
    void clears();
    void describes();
    void describesInFailure();
    void describesInTheLanguageOfTheUser();
    void readsTexts_data();
    void readsTexts();
    void readsInts_data();
    void readsInts();
    void readsBools_data();
    void readsBools();
    void readsIntLists_data();
    void readsIntLists();
    void readsColors();
    void readsForThePlatform();
    void writes_data();
    void writes();
    void writingIsRefused();
    void transfers();
    void checksFormat_data();
    void checksFormat();
    void checkFormatOfAMissingFile();
    void tracesLoading();
    void tracesAFailedConversion();
    void tracesCopies();
    void tracesReadingAndWriting();
    void silentWithoutTheFlag();
    void processesShareAMasterFile();
};

void TestSettings::membersInOrder()
{
    const s3Settings settings(QString{});
    QVERIFY(areMembersInOrder<SettingsMembers>(settings));
    QCOMPARE(static_cast<const void *>(&(settings.*std::get<0>(membersOf(SettingsMembers())))),
             static_cast<const void *>(&settings));
}

void TestSettings::unloaded()
{
    s3Settings settings(QString(), protectedCopy, u"section"_s);
    QCOMPARE(settings.type(), Type::None);
    QVERIFY(!settings.isOk());
    QVERIFY(!settings.isModified());
    QCOMPARE(settings.errorString(), QString());
    QCOMPARE(settings.fileName(), QString());
    QCOMPARE(settings.fileNameOrig(), QString());
    settings.setSection(u"a"_s);
    QCOMPARE(settings.section(), QString());
    QCOMPARE(settings.sections(), QStringList());
    QCOMPARE(settings.keys(), QStringList());
    QVERIFY(!settings.sectionHasKeys());
    QVERIFY(!settings.hasKey(u"a"_s));
    settings.removeKey(u"a"_s);
    settings.removeSection();
    settings.clear();
    QCOMPARE(settings.read(u"a"_s, u"default"_s), u"default"_s);
    QCOMPARE(settings.readInt(u"a"_s, 7), 7);
    QCOMPARE(settings.readBool(u"a"_s, true), true);
    QCOMPARE(settings.readIntList(u"a"_s), QList<int>());
    QCOMPARE(settings.readColor(u"a"_s, Qt::red), QColor(Qt::red));
    QCOMPARE(settings.readForPlatform(u"a"_s, u"default"_s), u"default"_s);
    QVERIFY(!settings.write(u"a"_s, 1));
    QVERIFY(settings.updateOrigFile());
    settings.close();
    QVERIFY(!settings.isModified());
}

void TestSettings::load_data()
{
    QTest::addColumn<QByteArray>("content"); // null: no such file; "/": a directory
    QTest::addColumn<int>("flags");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<bool>("works"); // writing is possible
    QTest::addColumn<bool>("modified");
    QTest::addColumn<bool>("isCopy");
    QTest::addColumn<bool>("hasText");
    QTest::addColumn<QString>("masterAfter"); // "same", "converted", "marked", "new"

    struct State {
        const char *name;
        QByteArray content;
    };
    const std::array<State, 9> states{{
        {"missing", QByteArray()},
        {"directory", "/"},
        {"generation 2", "[paths]\npath=C:\\\\temp\n[version]\nformat=2\n"},
        {"generation 7", "[paths]\npath=C:\\\\temp\n[version]\nformat=7\n"},
        {"generation 0, to be converted", "[paths]\npath = C:\\temp\n"},
        {"generation 1, to be converted", "[version]\nformat=1\n[paths]\npath=C:\\temp"},
        {"no number as generation, to be converted", "[version]\nformat=two\n[paths]\npath=C:\\temp\n"},
        {"generation 0, as it should be", "[paths]\npath=C:/temp\n"},
        {"empty", ""},
    }};
    for (const State &state : states) {
        for (int flags = 0; flags < 8; ++flags) {
            const bool copies = (flags & 3) != 0;
            const bool isProtected = (flags & 4) != 0;
            const bool isThere = !state.content.isNull() && state.content != "/";
            const bool isCurrent = state.content.contains("format=2") || state.content.contains("format=7");
            const bool mustChange = isThere && !isCurrent && state.content.contains(":\\");
            const bool mayChange = copies || !isProtected;
            auto &row = QTest::addRow("%s, flags %d", state.name, flags);
            row << state.content << flags;
            if (!isThere) {
                row << false << !isProtected << !isProtected << false << isProtected
                    << (state.content.isNull() && !isProtected ? u"new"_s : u"same"_s);
            } else if (isCurrent) {
                row << true << true << false << copies << false << u"same"_s;
            } else if (mustChange) {
                row << mayChange << mayChange << mayChange << copies << false
                    << (isProtected ? u"same"_s : u"converted"_s);
            } else {
                row << true << true << mayChange << copies << false
                    << (isProtected ? u"same"_s : u"marked"_s);
            }
        }
    }
}

void TestSettings::load()
{
    QFETCH(const QByteArray, content);
    QFETCH(const int, flags);
    QFETCH(const bool, ok);
    QFETCH(const bool, works);
    QFETCH(const bool, modified);
    QFETCH(const bool, isCopy);
    QFETCH(const bool, hasText);
    QFETCH(const QString, masterAfter);
    const SettingsFixture fixture;
    QVERIFY(fixture.isValid());
    const QString master = fixture.path(u"master/größe 1.ini"_s);
    if (content == "/")
        QVERIFY(QDir().mkdir(master));
    else if (!content.isNull())
        QVERIFY(writeFile(master, content));
    const QString copy = fixture.privateCopy(u"größe 1.ini"_s);

    s3Settings settings(master, Flags::fromInt(flags), u"paths"_s);
    QCOMPARE(settings.isOk(), ok);
    QCOMPARE(settings.type(), Type::File);
    QCOMPARE(settings.isModified(), modified);
    QCOMPARE(settings.fileNameOrig(), master);
    QCOMPARE(settings.fileName(), isCopy && works ? copy : isCopy ? copy : master);
    QCOMPARE(QFileInfo::exists(copy), isCopy);
    QCOMPARE(settings.errorString().startsWith(openError(master)), hasText);
    QVERIFY(hasText || settings.errorString().isEmpty());
    QCOMPARE(settings.section(), works ? u"paths"_s : QString());
    const bool hasPath = content.contains("path");
    const QString path = content.contains("C:/temp") ? u"C:/temp"_s : u"C:\\temp"_s;
    QCOMPARE(settings.read(u"path"_s, u"default"_s), works && hasPath ? path : u"default"_s);

    settings.close();
    QCOMPARE(settings.type(), Type::None);
    QVERIFY(!settings.isOk());
    QCOMPARE(settings.fileName(), QString());
    QCOMPARE(settings.fileNameOrig(), QString());
    QCOMPARE(settings.errorString(), QString());
    if (masterAfter == u"same"_s) {
        QCOMPARE(readFile(master), content == "/" ? QByteArray() : content);
        QCOMPARE(QFileInfo(master).isDir(), content == "/");
    } else if (masterAfter == u"new"_s) {
        QCOMPARE(readLines(master), mark);
    } else {
        const QMap<QString, QString> after = contentOf(master);
        QCOMPARE(after.value(u"version/format"_s), u"2"_s);
        QCOMPARE(after.value(u"paths/path"_s), hasPath ? path : QString());
        QCOMPARE(after.size(), hasPath ? 2 : 1);
    }
    QCOMPARE(entriesOf(fixture.path(u"master"_s)),
             QFileInfo::exists(master) ? QStringList(u"größe 1.ini"_s) : QStringList());
}

void TestSettings::relativeAndBackslashPaths()
{
    const SettingsFixture fixture;
    const ScopedCurrentDir inside(fixture.path(u"master"_s));
    QVERIFY(inside.entered());
    QVERIFY(writeFile(u"a.ini"_s, mark));
    const QString absolute = QDir::currentPath() + u"/a.ini"_s;
    const s3Settings relative(u"..\\master\\a.ini"_s, copying);
    QVERIFY(relative.isOk());
    QCOMPARE(QDir::cleanPath(relative.fileNameOrig()), absolute);
    QCOMPARE(relative.fileName(), fixture.privateCopy());
    const s3Settings plain(u"a.ini"_s);
    QVERIFY(plain.isOk());
    QCOMPARE(plain.fileName(), absolute);
}

void TestSettings::emptyNameUnloads()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark);
    s3Settings settings(master);
    QVERIFY(settings.write(u"key"_s, 1));
    QVERIFY(!settings.loadFile(QString()));
    QCOMPARE(settings.type(), Type::None);
    QCOMPARE(settings.fileName(), QString());
    QVERIFY(!settings.isModified());
    QCOMPARE(contentOf(master).value(u"key"_s), u"1"_s);
}

void TestSettings::copyFailsWithoutATempDirectory_data()
{
    QTest::addColumn<int>("flags");
    for (int flags = 1; flags < 8; ++flags) {
        if ((flags & 3) != 0)
            QTest::addRow("flags %d", flags) << flags;
    }
}

void TestSettings::copyFailsWithoutATempDirectory()
{
    QFETCH(const int, flags);
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark);
    glob_file_tempDir.clear();
    s3Settings settings(master, Flags::fromInt(flags));
    QVERIFY(!settings.isOk());
    QCOMPARE(settings.errorString(), QString());
    QCOMPARE(settings.type(), Type::File);
    QCOMPARE(settings.fileName(), master);
    QCOMPARE(settings.fileNameOrig(), master);
    QVERIFY(!settings.write(u"key"_s, 1));
    QCOMPARE(settings.read(u"key"_s, u"default"_s), u"default"_s);
    QCOMPARE(settings.describe(false), u"Datei nicht gefunden:\n"_s + master);
    settings.close();
    QCOMPARE(readFile(master), mark);
}

void TestSettings::copyFailsIntoAMissingTempDirectory_data()
{
    copyFailsWithoutATempDirectory_data();
}

void TestSettings::copyFailsIntoAMissingTempDirectory()
{
    QFETCH(const int, flags);
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark);
    glob_file_tempDir = fixture.path(u"none"_s);
    s3Settings settings(master, Flags::fromInt(flags));
    QVERIFY(!settings.isOk());
    const QString expected
        = u"Datei %1 konnte nicht nach %2 kopiert werden.\n"_s.arg(master, fixture.path(u"none/_a.ini"_s));
    QVERIFY2(settings.errorString().startsWith(expected), qPrintable(settings.errorString()));
    QVERIFY(!settings.write(u"key"_s, 1));
    QCOMPARE(settings.fileName(), master);
    settings.close();
    QCOMPARE(readFile(master), mark);
    QVERIFY(!QFileInfo::exists(fixture.path(u"none"_s)));
}

void TestSettings::noCopyUnderItsFlag()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark);
    const ScopedTestFlag flag(159);
    glob_file_tempDir.clear();
    s3Settings settings(master, Flags(Flag::copyToTempDir) | Flag::CopyToTempDirForce);
    QVERIFY(settings.isOk());
    QCOMPARE(settings.fileName(), master);
    QVERIFY(settings.write(u"key"_s, 1));
    QString error = u"left alone"_s;
    QVERIFY(settings.copyToTempDir(error));
    QCOMPARE(error, u"left alone"_s);
    settings.close();
    QCOMPARE(contentOf(master).value(u"key"_s), u"1"_s);
    QCOMPARE(entriesOf(fixture.path(u"temp"_s)), QStringList());
}

// The master file itself is what must not change then.
void TestSettings::noCopyOfAnOldFileUnderItsFlag()
{
    const SettingsFixture fixture;
    const QByteArray before = "[a]\nkey=x\\y\n";
    const QString master = fixture.masterFile(before);
    const ScopedTestFlag flag(159);
    s3Settings settings(master, protectedCopy, u"a"_s);
    QVERIFY(!settings.isOk());
    QCOMPARE(settings.errorString(), QString());
    QVERIFY(!settings.write(u"key"_s, 1));
    settings.close();
    QVERIFY(settings.loadFile(master, copying));
    settings.setSection(u"a"_s);
    QCOMPARE(settings.read(u"key"_s), u"x\\y"_s);
    settings.close();
    QCOMPARE(contentOf(master).value(u"version/format"_s), u"2"_s);
    QCOMPARE(entriesOf(fixture.path(u"temp"_s)), QStringList());
}

void TestSettings::copyClearsTheText_data()
{
    QTest::addColumn<bool>("hasDirectory");
    QTest::newRow("copied") << true;
    QTest::newRow("no directory") << false;
}

void TestSettings::copyClearsTheText()
{
    QFETCH(const bool, hasDirectory);
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile(mark));
    if (!hasDirectory)
        glob_file_tempDir.clear();
    QString error = u"left over"_s;
    QCOMPARE(settings.copyToTempDir(error), hasDirectory);
    QCOMPARE(error, QString());
    QCOMPARE(settings.fileName(), hasDirectory ? fixture.privateCopy() : settings.fileNameOrig());
}

void TestSettings::missingFileIsNotCopied()
{
    const SettingsFixture fixture;
    const QString master = fixture.path(u"master/a.ini"_s);
    s3Settings settings(master, copying);
    QVERIFY(!settings.isOk());
    QCOMPARE(settings.fileName(), settings.fileNameOrig());
    QVERIFY(settings.write(u"key"_s, u"text"_s));
    QCOMPARE(settings.read(u"key"_s), u"text"_s);
    QVERIFY(settings.updateOrigFile());
    settings.close();
    QCOMPARE(entriesOf(fixture.path(u"temp"_s)), QStringList());
    QCOMPARE(contentOf(master),
             (QMap<QString, QString>{{u"key"_s, u"text"_s}, {u"version/format"_s, u"2"_s}}));
    QVERIFY(settings.loadFile(master, copying));
}

void TestSettings::protectedCopyIsReused()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=first\n" + mark);
    QCOMPARE(s3Settings(master, protectedCopy).read(u"key"_s), u"first"_s);
    QVERIFY(writeFile(master, "key=second one\n" + mark));
    QCOMPARE(s3Settings(master, protectedCopy).read(u"key"_s), u"first"_s);
    QCOMPARE(s3Settings(master, protectedCopy | Flag::CopyToTempDirForce).read(u"key"_s), u"second one"_s);
    QVERIFY(writeFile(master, "key=the third one\n" + mark));
    QCOMPARE(s3Settings(master, forcedCopy | Flag::readOnlyOrig).read(u"key"_s), u"the third one"_s);
    // Another temporary directory.
    QVERIFY(writeFile(master, "key=the very fourth one\n" + mark));
    QVERIFY(QDir().mkdir(fixture.path(u"temp2"_s)));
    glob_file_tempDir = fixture.path(u"temp2"_s);
    QCOMPARE(s3Settings(master, protectedCopy).read(u"key"_s), u"the very fourth one"_s);
}

void TestSettings::unprotectedCopyIsAlwaysRefreshed()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=first\n" + mark);
    for (const Flags flags : {copying, forcedCopy, copying | Flag::CopyToTempDirForce}) {
        const QByteArray value = QByteArray::number(flags.toInt()) + QByteArray(flags.toInt(), 'x');
        QVERIFY(writeFile(master, "key=" + value + '\n' + mark));
        const s3Settings settings(master, flags);
        QCOMPARE(settings.read(u"key"_s).toLatin1(), value);
        QCOMPARE(settings.fileName(), fixture.privateCopy());
    }
}

// Copied at the same moment and with the same size, a file must not be taken for the former one.
void TestSettings::copyOfTheSameSizeIsSeen()
{
    const SettingsFixture fixture;
    for (int i = 100; i < 300; ++i) {
        const QString master = fixture.masterFile("key=" + QByteArray::number(i) + '\n' + mark);
        const s3Settings settings(master, copying);
        QCOMPARE(settings.readInt(u"key"_s), i);
    }
}

void TestSettings::closingCopiesBackWhatWasWritten()
{
    const SettingsFixture fixture;
    for (const Flags flags : {copying, forcedCopy, protectedCopy, forcedCopy | Flag::readOnlyOrig}) {
        const QString name = u"%1.ini"_s.arg(flags.toInt());
        const QByteArray before = "key=old\n[other]\nkey=stays\n" + mark;
        const QString master = fixture.masterFile(before, name);
        {
            s3Settings settings(master, flags);
            QVERIFY(settings.isOk());
            QVERIFY(settings.write(u"key"_s, u"neu – 价格"_s));
            QVERIFY(settings.isModified());
            QCOMPARE(readFile(master), before);
        }
        const QString copy = fixture.privateCopy(name);
        QCOMPARE(contentOf(copy).value(u"key"_s), u"neu – 价格"_s);
        if (flags.testFlag(Flag::readOnlyOrig)) {
            QCOMPARE(readFile(master), before);
        } else {
            QCOMPARE(readFile(master), readFile(copy));
            QCOMPARE(contentOf(master).value(u"other/key"_s), u"stays"_s);
        }
    }
}

void TestSettings::closingWithoutAWriteCopiesNothing()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=old\n" + mark);
    {
        const s3Settings settings(master, copying);
        QCOMPARE(settings.read(u"key"_s), u"old"_s);
        QVERIFY(!settings.isModified());
        QVERIFY(writeFile(master, "key=changed meanwhile\n" + mark));
    }
    QCOMPARE(readFile(master), "key=changed meanwhile\n" + mark);
}

void TestSettings::updateOrigFileOnItsOwn()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=old\n" + mark);
    s3Settings settings(master, copying);
    QVERIFY(settings.updateOrigFile());
    QCOMPARE(readFile(master), "key=old\n" + mark);
    QVERIFY(settings.write(u"key"_s, u"new"_s));
    QVERIFY(settings.updateOrigFile());
    QCOMPARE(contentOf(master).value(u"key"_s), u"new"_s);
    QCOMPARE(settings.read(u"key"_s), u"new"_s);
    QVERIFY(settings.isModified());
}

void TestSettings::copyingBackFails()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=old\n" + mark);
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    s3Settings settings(master, copying);
    QVERIFY(settings.write(u"key"_s, u"new"_s));
    // A directory in the place of the master file.
    QVERIFY(QFile::remove(master));
    QVERIFY(QDir().mkdir(master));
    QVERIFY(!settings.updateOrigFile());
    settings.close();
    QCOMPARE(settings.type(), Type::None);
    QCOMPARE(contentOf(fixture.privateCopy()).value(u"key"_s), u"new"_s);
    const QStringList lines = linesOf(recorder, u"s3Settings::updateOrigFile"_s);
    QCOMPARE(lines.size(), 2);
    const QString expected
        = u"s3Settings::updateOrigFile(this=%1) s3File::copy('%2', '%3'): false (Datei %2 konnte nicht nach "
          "%3 kopiert werden.\n"_s.arg(pointerText(&settings), fixture.privateCopy(), master);
    QVERIFY2(lines[0].startsWith(expected), qPrintable(lines[0]));
}

void TestSettings::copyingBackOntoAFullVolume()
{
    const SettingsFixture fixture;
    QVERIFY(QDir().mkdir(fixture.path(u"small"_s)));
    const SmallVolume volume(fixture.path(u"small"_s), 65536);
    if (!volume.isMounted())
        QSKIP("a full volume needs the right to mount (and Linux)");
    const QString master = fixture.path(u"small/a.ini"_s);
    const QByteArray before = "key=old\n" + mark;
    QVERIFY(writeFile(master, before));
    s3Settings settings(master, copying);
    QVERIFY(settings.isOk());
    // Takes all the room that there is.
    QFile filler(fixture.path(u"small/filler"_s));
    QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    while (filler.write(QByteArray(4096, 'x')) == 4096) { }
    // More than fits in the place of the master file.
    QVERIFY(settings.write(u"key"_s, QString(20000, u'n')));
    QVERIFY(!settings.updateOrigFile());
    QCOMPARE(readFile(master), before);
    // What fits there is brought back.
    QVERIFY(settings.write(u"key"_s, u"new"_s));
    settings.close();
    QCOMPARE(contentOf(master).value(u"key"_s), u"new"_s);
    QCOMPARE(entriesOf(fixture.path(u"small"_s)), QStringList({u"a.ini"_s, u"filler"_s}));
}

void TestSettings::sameNamesShareTheirCopy()
{
    const SettingsFixture fixture;
    QVERIFY(QDir().mkdir(fixture.path(u"master2"_s)));
    QVERIFY(writeFile(fixture.path(u"master2/a.ini"_s), "key=other one\n" + mark));
    const s3Settings first(fixture.masterFile("key=one\n" + mark), protectedCopy);
    const s3Settings second(fixture.path(u"master2/a.ini"_s), protectedCopy);
    QCOMPARE(second.fileName(), first.fileName());
    QCOMPARE(second.read(u"key"_s), u"one"_s);
}

void TestSettings::objectsOnOneFileSeeEachOther()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("[a]\nkey=old\n" + mark);
    s3Settings first(master, {}, u"a"_s);
    QSettings second(master, QSettings::IniFormat);
    QCOMPARE(first.read(u"key"_s), u"old"_s);
    QVERIFY(!first.hasKey(u"other"_s));
    second.setValue(u"a/key"_s, u"new"_s);
    second.setValue(u"a/other"_s, 1);
    QCOMPARE(first.read(u"key"_s), u"new"_s);
    QVERIFY(first.hasKey(u"other"_s));
    QVERIFY(first.write(u"key"_s, u"newer"_s));
    QCOMPARE(second.value(u"a/key"_s).toString(), u"newer"_s);
    second.remove(u"a/other"_s);
    QVERIFY(!first.hasKey(u"other"_s));
}

void TestSettings::secondLoadFinishesTheFirst()
{
    const SettingsFixture fixture;
    const QString first = fixture.masterFile("key=1\n" + mark, u"first.ini"_s);
    const QString second = fixture.masterFile("key=2\n" + mark, u"second.ini"_s);
    s3Settings settings(first, copying);
    QVERIFY(settings.write(u"key"_s, 11));
    QVERIFY(settings.loadFile(second, copying));
    QCOMPARE(contentOf(first).value(u"key"_s), u"11"_s);
    QVERIFY(!settings.isModified());
    QCOMPARE(settings.readInt(u"key"_s), 2);
    // The same file again, named by its own object.
    QVERIFY(settings.write(u"key"_s, 22));
    QVERIFY(settings.loadFile(settings.fileNameOrig(), copying));
    QCOMPARE(settings.readInt(u"key"_s), 22);
}

void TestSettings::secondLoadKeepsTheSection_data()
{
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("second");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QString>("sectionAfter");
    QTest::newRow("loaded") << u"b"_s << u"second.ini"_s << 0 << u"b"_s;
    QTest::newRow("root") << u"general"_s << u"second.ini"_s << 0 << u"general"_s;
    QTest::newRow("new file") << u"b"_s << u"none.ini"_s << 0 << u"b"_s;
    QTest::newRow("converted") << u"b"_s << u"old.ini"_s << 1 << u"b"_s;
    QTest::newRow("failed, missing") << u"b"_s << u"none.ini"_s << 4 << QString();
    QTest::newRow("failed, old and protected") << u"b"_s << u"old.ini"_s << 4 << QString();
}

void TestSettings::secondLoadKeepsTheSection()
{
    QFETCH(const QString, section);
    QFETCH(const QString, second);
    QFETCH(const int, flags);
    QFETCH(const QString, sectionAfter);
    const SettingsFixture fixture;
    QVERIFY(!fixture.masterFile(mark, u"second.ini"_s).isEmpty());
    QVERIFY(!fixture.masterFile("a=\\\n", u"old.ini"_s).isEmpty());
    s3Settings settings(fixture.masterFile(mark), {}, section);
    settings.loadFile(fixture.path(u"master/"_s + second), Flags::fromInt(flags));
    QCOMPARE(settings.section(), sectionAfter);
}

void TestSettings::generationMark_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("converted");
    QTest::newRow("none") << QByteArray("[a]\nkey=x\\y\n") << true;
    QTest::newRow("0") << QByteArray("[version]\nformat=0\n[a]\nkey=x\\y\n") << true;
    QTest::newRow("-1") << QByteArray("[version]\nformat=-1\n[a]\nkey=x\\y\n") << true;
    QTest::newRow("1") << QByteArray("[version]\nformat=1\n[a]\nkey=x\\y\n") << true;
    QTest::newRow("empty") << QByteArray("[version]\nformat=\n[a]\nkey=x\\y\n") << true;
    QTest::newRow("word") << QByteArray("[version]\nformat=two\n[a]\nkey=x\\y\n") << true;
    QTest::newRow("in another section") << QByteArray("[a]\nformat=2\nkey=x\\y\n") << true;
    QTest::newRow("version as a key") << QByteArray("version=2\n[a]\nkey=x\\y\n") << true;
    QTest::newRow("2") << QByteArray("[version]\nformat=2\n[a]\nkey=x\\\\y\n") << false;
    QTest::newRow("hexadecimal 2") << QByteArray("[version]\nformat=0x2\n[a]\nkey=x\\\\y\n") << false;
    QTest::newRow("3") << QByteArray("[version]\nformat=3\n[a]\nkey=x\\\\y\n") << false;
    QTest::newRow("as a path") << QByteArray("version/format=2\n[a]\nkey=x\\y\n") << true;
}

void TestSettings::generationMark()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, converted);
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(content);
    s3Settings settings(master, {}, u"a"_s);
    QVERIFY(settings.isOk());
    QCOMPARE(settings.read(u"key"_s), u"x\\y"_s);
    QCOMPARE(settings.isModified(), converted);
    settings.close();
    if (!converted) {
        QCOMPARE(readFile(master), content);
        return;
    }
    QCOMPARE(contentOf(master).value(u"version/format"_s), u"2"_s);
    const QByteArray once = readFile(master);
    // It is converted once and for all.
    s3Settings again(master, {}, u"a"_s);
    QCOMPARE(again.read(u"key"_s), u"x\\y"_s);
    QVERIFY(!again.isModified());
    again.close();
    QCOMPARE(readFile(master), once);
}

// The blanks that go make room for the backslash that comes.
void TestSettings::convertedFileOfTheSameSizeIsReadAnew()
{
    const SettingsFixture fixture;
    for (int i = 0; i < 50; ++i) {
        const QString name = u"%1.ini"_s.arg(i);
        const QString master = fixture.masterFile("[a]\n key=x\\y\n", name);
        const s3Settings settings(master, {}, u"a"_s);
        QCOMPARE(settings.read(u"key"_s), u"x\\y"_s);
    }
}

void TestSettings::conversionOfAProtectedCopy()
{
    const SettingsFixture fixture;
    const QByteArray before = "[version]\nformat=1\n[a]\nkey=x\\y, z\n";
    const QString master = fixture.masterFile(before);
    s3Settings settings(master, protectedCopy, u"a"_s);
    QVERIFY(settings.isOk());
    QVERIFY(settings.isModified());
    QCOMPARE(settings.read(u"key"_s), u"x\\y, z"_s);
    settings.close();
    QCOMPARE(readFile(master), before);
    QCOMPARE(contentOf(fixture.privateCopy()).value(u"version/format"_s), u"2"_s);
    // Reused, and not converted again.
    QCOMPARE(s3Settings(master, protectedCopy, u"a"_s).read(u"key"_s), u"x\\y, z"_s);
}

void TestSettings::conversionCannotWrite()
{
    const SettingsFixture fixture;
    const QByteArray before = "[a]\nkey=x\\y\n";
    const QString master = fixture.masterFile(before);
    constexpr QFileDevice::Permissions readable = QFileDevice::ReadOwner | QFileDevice::ReadOther;
    constexpr QFileDevice::Permissions enterable = readable | QFileDevice::ExeOwner | QFileDevice::ExeOther;
    QVERIFY(QFile::setPermissions(fixture.path(QString()), enterable | QFileDevice::WriteOwner));
    QVERIFY(QFile::setPermissions(fixture.path(u"master"_s), enterable | QFileDevice::WriteOwner));
    QVERIFY(QFile::setPermissions(master, readable));
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    if (QFile::setPermissions(master, readable))
        QSKIP("there is no other user here whose file it could be");
    if (readFile(master) != before)
        QSKIP("the directory for temporary files is closed to other users");
    s3Settings settings(master);
    QVERIFY(!settings.isOk());
    QVERIFY2(settings.errorString().startsWith(openError(master)), qPrintable(settings.errorString()));
    QVERIFY(!settings.write(u"a"_s, 1));
    settings.close();
    QCOMPARE(readFile(master), before);
}

// The file itself can be written, but no file beside it.
void TestSettings::worksInAClosedDirectory()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("[version]\nformat=1\n[a]\nkey=x\\y\n");
    const QString directory = fixture.path(u"master"_s);
    const QFileDevice::Permissions former = QFile::permissions(directory);
    QVERIFY(QFile::setPermissions(directory, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    if (writeFile(fixture.path(u"master/probe"_s), "x")) {
        QFile::remove(fixture.path(u"master/probe"_s));
        QSKIP("directories cannot be closed here");
    }
    s3Settings settings(master, {}, u"a"_s);
    const bool isOk = settings.isOk();
    const QString value = settings.read(u"key"_s);
    const bool isWritten = settings.write(u"other"_s, 1);
    const QString error = settings.errorString();
    settings.close();
    // Copying back cannot replace the file; it stays as it is.
    const QByteArray converted = readFile(master);
    s3Settings copy(master, copying, u"a"_s);
    const bool isCopyWritten = copy.write(u"other"_s, 2);
    const bool isCopiedBack = copy.updateOrigFile();
    copy.close();
    QVERIFY(QFile::setPermissions(directory, former));
    QVERIFY2(isOk, qPrintable(error));
    QCOMPARE(value, u"x\\y"_s);
    QVERIFY(isWritten);
    QVERIFY(isCopyWritten);
    QVERIFY(!isCopiedBack);
    QCOMPARE(readFile(master), converted);
    QCOMPARE(contentOf(master),
             (QMap<QString, QString>{
                 {u"a/key"_s, u"x\\y"_s}, {u"a/other"_s, u"1"_s}, {u"version/format"_s, u"2"_s}}));
}

// The converted file has room, the new one that QSettings makes for the mark has not.
void TestSettings::conversionHasNoRoomForTheMark()
{
    const SettingsFixture fixture;
    QVERIFY(QDir().mkdir(fixture.path(u"small"_s)));
    const SmallVolume volume(fixture.path(u"small"_s), 262144);
    if (!volume.isMounted())
        QSKIP("a full volume needs the right to mount (and Linux)");
    const QString master = fixture.path(u"small/a.ini"_s);
    const QByteArray before = "[version]\nformat=1\n[a]\nkey=x\\y\npad=" + QByteArray(100000, 'p') + '\n';
    QVERIFY(writeFile(master, before));
    const QString fillerPath = fixture.path(u"small/filler"_s);
    {
        QFile filler(fillerPath);
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(4096, 'x')) == 4096) { }
    }
    for (int i = 0; i < 2; ++i) {
        s3Settings settings(master, {}, u"a"_s);
        QVERIFY(!settings.isOk());
        QVERIFY2(
            settings.errorString().startsWith(u"Ein-/Ausgabefehler beim Schreiben der Datei "_s + master),
            qPrintable(settings.errorString()));
        QVERIFY(!settings.write(u"b"_s, 1));
        QVERIFY(!settings.isModified());
        settings.close();
        QVERIFY(readFile(master) == before);
    }
    QVERIFY(QFile::remove(fillerPath));
    s3Settings settings(master, {}, u"a"_s);
    QVERIFY2(settings.isOk(), qPrintable(settings.errorString()));
    QCOMPARE(settings.read(u"key"_s), u"x\\y"_s);
    settings.close();
    QCOMPARE(contentOf(master).value(u"version/format"_s), u"2"_s);
    QCOMPARE(contentOf(master).value(u"a/key"_s), u"x\\y"_s);
}

void TestSettings::conversionOnAFullVolume_data()
{
    QTest::addColumn<bool>("isCopy");
    QTest::newRow("master file") << false;
    QTest::newRow("private copy") << true;
}

void TestSettings::conversionOnAFullVolume()
{
    QFETCH(const bool, isCopy);
    const SettingsFixture fixture;
    QVERIFY(QDir().mkdir(fixture.path(u"small"_s)));
    const SmallVolume volume(fixture.path(u"small"_s), 65536);
    if (!volume.isMounted())
        QSKIP("a full volume needs the right to mount (and Linux)");
    // Converted it is nearly twice as long.
    const QByteArray before = "[a]\nkey=" + QByteArray(40000, '\\') + '\n';
    const QString master = isCopy ? fixture.masterFile(before) : fixture.path(u"small/a.ini"_s);
    QVERIFY(writeFile(master, before));
    if (isCopy)
        glob_file_tempDir = fixture.path(u"small"_s);
    for (int i = 0; i < 2; ++i) {
        s3Settings settings(master, isCopy ? protectedCopy : Flags(), u"a"_s);
        QVERIFY(!settings.isOk());
        const QString error = settings.errorString();
        QVERIFY2(error.startsWith(u"Ein-/Ausgabefehler beim Schreiben der Datei "_s)
                     || error.startsWith(u"Fehlende Systemressourcen beim Zugriff auf die Datei "_s),
                 qPrintable(error));
        QVERIFY(!settings.write(u"b"_s, 1));
        QVERIFY(!settings.isModified());
        settings.close();
        QCOMPARE(readFile(master), before);
        QCOMPARE(entriesOf(fixture.path(u"small"_s)), isCopy ? QStringList() : QStringList(u"a.ini"_s));
    }
}

void TestSettings::unreadableContent_data()
{
    QTest::addColumn<int>("flags");
    QTest::newRow("no flags") << 0;
    QTest::newRow("readOnlyOrig") << 4;
}

// A file that opens and then fails to be read.
void TestSettings::unreadableContent()
{
    QFETCH(const int, flags);
    const QString path = QFileInfo(u"/proc/self/mem"_s).absoluteFilePath();
    QFile probe(path);
    if (!probe.open(QIODevice::ReadOnly))
        QSKIP("there is no file here that opens and cannot be read");
    const SettingsFixture fixture;
    s3Settings settings(path, Flags::fromInt(flags), u"a"_s);
    QVERIFY(!settings.isOk());
    QVERIFY(!settings.write(u"key"_s, 1));
    QCOMPARE(settings.read(u"key"_s, u"default"_s), u"default"_s);
    QVERIFY2(settings.errorString().startsWith(u"Ein-/Ausgabefehler beim Lesen der Datei "_s + path)
                 || settings.errorString().startsWith(u"Datei "_s + path),
             qPrintable(settings.errorString()));
    QVERIFY(!settings.isModified());
}

void TestSettings::brokenCopyIsNotReused()
{
    const SettingsFixture fixture;
    QVERIFY(QDir().mkdir(fixture.path(u"small"_s)));
    const SmallVolume volume(fixture.path(u"small"_s), 65536);
    if (!volume.isMounted())
        QSKIP("a full volume needs the right to mount (and Linux)");
    glob_file_tempDir = fixture.path(u"small"_s);
    const QByteArray before = "[a]\nkey=" + QByteArray(100000, 'x') + '\n' + mark;
    const QString master = fixture.masterFile(before);
    const s3Settings failing(master, protectedCopy, u"a"_s);
    QVERIFY(!failing.isOk());
    QVERIFY(!failing.errorString().isEmpty());
    QCOMPARE(entriesOf(fixture.path(u"small"_s)), QStringList());
    QVERIFY(writeFile(master, "[a]\nkey=short\n" + mark));
    QCOMPARE(s3Settings(master, protectedCopy, u"a"_s).read(u"key"_s), u"short"_s);
}

void TestSettings::types_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("iniName");
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("isProtectedCopy");
    QTest::newRow("Ini") << 2 << QString() << u"gui/zerkgui.ini"_s << true;
    QTest::newRow("Ini, another name") << 2 << u"größe.ini"_s << u"gui/größe.ini"_s << true;
    QTest::newRow("Cfg") << 3 << u"other.ini"_s << u"gui/zerkgui.cfg"_s << true;
    QTest::newRow("IniWithPrivate") << 5 << QString() << u"gui/zerkgui.ini"_s << true;
    QTest::newRow("IniWithPrivate, another name") << 5 << u"other.ini"_s << u"gui/other.ini"_s << true;
    QTest::newRow("Local") << 6 << u"other.ini"_s << u"local/zerkguilocaln.ini"_s << false;
}

void TestSettings::types()
{
    QFETCH(const int, type);
    QFETCH(const QString, iniName);
    QFETCH(const QString, file);
    QFETCH(const bool, isProtectedCopy);
    const SettingsFixture fixture;
    s3Settings::setIniFileName(iniName);
    QCOMPARE(s3Settings::iniFileName(), iniName.isEmpty() ? u"zerkgui.ini"_s : iniName);
    const QString path = fixture.path(file);
    {
        const s3Settings missing(static_cast<Type>(type));
        QCOMPARE(int(missing.type()), type);
        QVERIFY(!missing.isOk());
        QCOMPARE(missing.fileName(), path);
        QCOMPARE(missing.errorString().startsWith(openError(path)), isProtectedCopy);
    }
    QCOMPARE(QFileInfo::exists(path), !isProtectedCopy);
    QVERIFY(writeFile(path, "[a]\nkey=x\n" + mark));
    s3Settings settings(static_cast<Type>(type), u"a"_s);
    QVERIFY(settings.isOk());
    QCOMPARE(int(settings.type()), type);
    QCOMPARE(settings.fileNameOrig(), path);
    QCOMPARE(settings.fileName(), isProtectedCopy ? fixture.privateCopy(QFileInfo(path).fileName()) : path);
    QCOMPARE(settings.read(u"key"_s), u"x"_s);
    QVERIFY(settings.write(u"key"_s, u"y"_s));
    settings.close();
    QCOMPARE(contentOf(path).value(u"a/key"_s), isProtectedCopy ? u"x"_s : u"y"_s);
    // By its name it is a file like others.
    QVERIFY(settings.loadFile(path));
    QCOMPARE(settings.type(), Type::File);
}

void TestSettings::typesWithoutDirectories()
{
    const SettingsFixture fixture;
    glob_file_guiDir.clear();
    glob_file_localSettingsDir.clear();
    const ScopedCurrentDir inside(fixture.path(u"master"_s));
    QVERIFY(writeFile(u"zerkgui.cfg"_s, "key=x\n" + mark));
    QVERIFY(writeFile(u"zerkguilocaln.ini"_s, "key=y\n" + mark));
    QCOMPARE(s3Settings(Type::Cfg).read(u"key"_s), u"x"_s);
    const s3Settings local(Type::Local);
    QCOMPARE(local.read(u"key"_s), u"y"_s);
    QCOMPARE(local.fileName(), QDir::currentPath() + u"/zerkguilocaln.ini"_s);
    QCOMPARE(s3Settings::localFileName(), u"zerkguilocaln.ini"_s);
}

void TestSettings::localFileUnderAWhiteLabel()
{
    const ChildRun run = runChild(u"whitelabel"_s);
    QVERIFY2(run.ended, run.standardError.constData());
    QCOMPARE(run.standardOutput.trimmed(), "acmelocaln.ini dir/acmelocaln.ini");
}

void TestSettings::unknownType_data()
{
    QTest::addColumn<int>("type");
    for (const int type : {0, 1, 7, 8, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        QTest::addRow("%d", type) << type;
}

void TestSettings::unknownType()
{
    QFETCH(const int, type);
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=old\n" + mark);
    s3Settings settings(master, copying);
    QVERIFY(settings.write(u"key"_s, u"new"_s));
    const QString message = thrownMessage([&] { settings.loadFile(static_cast<Type>(type)); });
    QVERIFY2(isUnknownTypeAssertion(message), qPrintable(message));
    QCOMPARE(int(settings.type()), type);
    QVERIFY(!settings.isOk());
    QVERIFY(!settings.isModified());
    QCOMPARE(settings.fileName(), QString());
    QCOMPARE(settings.read(u"key"_s, u"default"_s), u"default"_s);
    QVERIFY(!settings.write(u"key"_s, 1));
    QCOMPARE(contentOf(master).value(u"key"_s), u"new"_s);
}

void TestSettings::unknownTypeInTheConstructor()
{
    const QString message = thrownMessage([] { const s3Settings settings(static_cast<Type>(7)); });
    QVERIFY(isUnknownTypeAssertion(message));
}

void TestSettings::compiledInFile()
{
    const SettingsFixture fixture;
    QString error;
    QVERIFY(s3Settings::checkFormat(u":/settings/zerkguiprivate.cfg"_s, &error));
    QCOMPARE(error, QString());
    s3Settings settings(Type::Private, u"version"_s);
    QVERIFY2(settings.isOk(), qPrintable(settings.errorString()));
    QCOMPARE(settings.type(), Type::Private);
    QCOMPARE(settings.fileName(), u":/settings/zerkguiprivate.cfg"_s);
    QCOMPARE(settings.readInt(u"format"_s), 2);
    QVERIFY(!settings.isModified());
    QCOMPARE(entriesOf(fixture.path(u"temp"_s)), QStringList());
}

// The compiled-in file with another content.
class ScopedPrivateFile
{
public:
    explicit ScopedPrivateFile(const QByteArray &content)
    {
        removeCompiledInFile();
        m_file = std::make_unique<MemoryResource>(u":/settings/zerkguiprivate.cfg"_s, content);
    }
    ~ScopedPrivateFile()
    {
        m_file.reset();
        addCompiledInFile();
    }
    Q_DISABLE_COPY_MOVE(ScopedPrivateFile)

private:
    std::unique_ptr<MemoryResource> m_file;
};

void TestSettings::missingCompiledInFile()
{
    const SettingsFixture fixture;
    QVERIFY(writeFile(fixture.path(u"gui/zerkgui.ini"_s), "[a]\nkey=x\n" + mark));
    removeCompiledInFile();
    const s3Settings settings(Type::Private, u"version"_s);
    const s3Settings ini(Type::IniWithPrivate, u"a"_s);
    const QString fallback = ini.read(u"only"_s, u"default"_s);
    addCompiledInFile();
    QVERIFY(!settings.isOk());
    QCOMPARE(settings.type(), Type::Private);
    QVERIFY2(settings.errorString().startsWith(openError(u":/settings/zerkguiprivate.cfg"_s)),
             qPrintable(settings.errorString()));
    QCOMPARE(settings.readInt(u"format"_s, 7), 7);
    QCOMPARE(fallback, u"default"_s);
    QCOMPARE(ini.read(u"key"_s), u"x"_s);
}

void TestSettings::privateFileFillsIn()
{
    const SettingsFixture fixture;
    const ScopedPrivateFile privateFile("root=private root\n[a]\nempty=private\nboth=private\nonly=private\n"
                                        "number=0x10\n[b]\nonly=private b\n"
                                        + mark);
    QVERIFY(writeFile(fixture.path(u"gui/zerkgui.ini"_s), "[a]\nempty=\nboth=ini\n" + mark));
    s3Settings settings(Type::IniWithPrivate, u"a"_s);
    QVERIFY(settings.isOk());
    QCOMPARE(settings.read(u"both"_s, u"default"_s), u"ini"_s);
    QCOMPARE(settings.read(u"empty"_s, u"default"_s), QString());
    QCOMPARE(settings.read(u"only"_s, u"default"_s), u"private"_s);
    QVERIFY(!settings.hasKey(u"only"_s));
    QCOMPARE(settings.readInt(u"number"_s, 1), 16);
    QCOMPARE(settings.read(u"none"_s, u"default"_s), u"default"_s);
    QCOMPARE(settings.read(QString(), u"default"_s), u"default"_s);
    QVERIFY(!settings.keys().contains(u"only"_s));
    settings.setSection(u"b"_s);
    QCOMPARE(settings.read(u"only"_s), u"private b"_s);
    settings.setSection(u"General"_s);
    QCOMPARE(settings.read(u"root"_s), u"private root"_s);
    QCOMPARE(settings.read(u"only"_s, u"default"_s), u"default"_s);
    // What is written hides it.
    settings.setSection(u"a"_s);
    QVERIFY(settings.write(u"only"_s, u"written"_s));
    QCOMPARE(settings.read(u"only"_s), u"written"_s);
    // The plain type does not look there.
    QCOMPARE(s3Settings(Type::Ini, u"a"_s).read(u"number"_s, u"default"_s), u"default"_s);
}

void TestSettings::privateFileBehindAMissingIni()
{
    const SettingsFixture fixture;
    const ScopedPrivateFile privateFile("root=the private root\n[a]\nkey=private\n" + mark);
    const s3Settings settings(Type::IniWithPrivate, u"a"_s);
    QVERIFY(!settings.isOk());
    // Without a file there is no section either.
    QCOMPARE(settings.read(u"root"_s, u"default"_s), u"the private root"_s);
    QCOMPARE(settings.read(u"key"_s, u"default"_s), u"default"_s);
}

void TestSettings::selectsSections_data()
{
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("reported");
    QTest::addColumn<QString>("value");
    QTest::newRow("empty") << QString() << u"general"_s << u"root"_s;
    QTest::newRow("general") << u"general"_s << u"general"_s << u"root"_s;
    QTest::newRow("General") << u"General"_s << u"general"_s << u"root"_s;
    QTest::newRow("GENERAL") << u"GENERAL"_s << u"general"_s << u"root"_s;
    QTest::newRow("a") << u"a"_s << u"a"_s << u"in a"_s;
    QTest::newRow("nested by its name") << u"a/b"_s << u"a/b"_s << u"in a/b"_s;
    QTest::newRow("slashes around") << u"/a/"_s << u"a"_s << u"in a"_s;
    QTest::newRow("a slash alone") << u"/"_s << u"general"_s << u"root"_s;
    QTest::newRow("blank and non-ASCII") << u"größe 1"_s << u"größe 1"_s << u"in größe 1"_s;
    QTest::newRow("missing") << u"none"_s << u"none"_s << u"default"_s;
    QTest::newRow("almost general") << u"generals"_s << u"generals"_s << u"default"_s;
}

void TestSettings::selectsSections()
{
    QFETCH(const QString, section);
    QFETCH(const QString, reported);
    QFETCH(const QString, value);
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("key=root\n[a]\nkey=in a\nb\\key=in a/b\n"
                                              "[gr%U00F6%U00DFe%201]\nkey=in größe 1\n"
                                              + mark);
    s3Settings settings(master, {}, section);
    QCOMPARE(settings.section(), reported);
    QCOMPARE(settings.read(u"key"_s, u"default"_s), value);
    // From another section it is the same.
    settings.setSection(u"a"_s);
    settings.setSection(section);
    QCOMPARE(settings.section(), reported);
    QCOMPARE(settings.read(u"key"_s, u"default"_s), value);
    settings.setSection(QString());
    QCOMPARE(settings.read(u"key"_s, u"default"_s), u"root"_s);
}

void TestSettings::listsSections()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("[b]\nx=1\n[A]\nx=1\n"), {}, u"b"_s);
    settings.setSection(u"version"_s);
    settings.removeSection();
    settings.setSection(u"b"_s);
    const QSettings plain(settings.fileName(), QSettings::IniFormat);
    QCOMPARE(settings.sections(), plain.childGroups());
    QVERIFY(!settings.sections().contains(u"general"_s));
    QCOMPARE(settings.section(), u"b"_s);
    settings.setSection(u"general"_s);
    QVERIFY(settings.write(u"root"_s, 1));
    settings.setSection(u"A"_s);
    QCOMPARE(settings.sections(), QStringList({u"A"_s, u"b"_s, u"general"_s}));
    QCOMPARE(settings.section(), u"A"_s);
}

void TestSettings::listsKeys()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("r=1\n[a]\nx=1\ny=2\nsub\\z=3\n" + mark));
    QCOMPARE(settings.keys(), QStringList(u"r"_s));
    QVERIFY(settings.sectionHasKeys());
    QVERIFY(settings.hasKey(u"r"_s));
    QVERIFY(!settings.hasKey(u"x"_s));
    QVERIFY(!settings.hasKey(QString()));
    settings.setSection(u"a"_s);
    QCOMPARE(settings.keys(), QStringList({u"sub/z"_s, u"x"_s, u"y"_s}));
    QVERIFY(settings.hasKey(u"x"_s));
    QVERIFY(!settings.hasKey(u"r"_s));
    settings.setSection(u"none"_s);
    QCOMPARE(settings.keys(), QStringList());
    QVERIFY(!settings.sectionHasKeys());
}

void TestSettings::removesKeys()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("r=1\n[a]\nx=1\ny=2\n[b]\nx=1\n" + mark);
    s3Settings settings(master, {}, u"none"_s);
    settings.removeKey(u"x"_s);
    QVERIFY(!settings.isModified());
    settings.setSection(u"a"_s);
    settings.removeKey(QString());
    QVERIFY(!settings.isModified());
    settings.removeKey(u"x"_s);
    QVERIFY(settings.isModified());
    QVERIFY(!settings.hasKey(u"x"_s));
    settings.setSection(QString());
    settings.removeKey(u"r"_s);
    settings.close();
    QCOMPARE(contentOf(master),
             (QMap<QString, QString>{{u"a/y"_s, u"2"_s}, {u"b/x"_s, u"1"_s}, {u"version/format"_s, u"2"_s}}));
}

void TestSettings::removesSections()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("r=1\ns=1\n[a]\nx=1\n[b]\nx=1\n" + mark);
    s3Settings settings(master, {}, u"none"_s);
    settings.removeSection();
    QVERIFY(!settings.isModified());
    settings.setSection(u"general"_s);
    settings.removeSection();
    QVERIFY(settings.isModified());
    QCOMPARE(settings.keys(), QStringList());
    QCOMPARE(settings.sections(), QStringList({u"a"_s, u"b"_s, u"version"_s}));
    settings.close();
    QVERIFY(settings.loadFile(master));
    settings.removeSection();
    QVERIFY(!settings.isModified());
    settings.setSection(u"a"_s);
    settings.removeSection();
    settings.close();
    QCOMPARE(contentOf(master), (QMap<QString, QString>{{u"b/x"_s, u"1"_s}, {u"version/format"_s, u"2"_s}}));
}

void TestSettings::clears()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("r=1\n[a]\nx=1\n" + mark);
    s3Settings settings(master, {}, u"a"_s);
    settings.clear();
    QVERIFY(settings.isModified());
    QCOMPARE(settings.section(), u"a"_s);
    QCOMPARE(settings.sections(), QStringList(u"version"_s));
    settings.close();
    QCOMPARE(readLines(master), mark);
}

void TestSettings::describes()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("[b]\nx %1=1\ny=2\n[A]\n" + mark), {}, u"b"_s);
    QCOMPARE(settings.describe(false), u"Abschnitt:\nb\n\nSchlüssel:\nx %1; y"_s);
    QCOMPARE(settings.describe(true), u"Schlüssel:\nx %1; y"_s);
    for (const QString &section : {u"none"_s, QString()}) {
        settings.setSection(section);
        QCOMPARE(settings.describe(false), u"Abschnitte:\nb; version"_s);
        QCOMPARE(settings.describe(true), u"Abschnitte:\nb; version"_s);
    }
    QVERIFY(settings.write(u"root"_s, 1));
    QCOMPARE(settings.describe(false), u"Abschnitt:\ngeneral\n\nSchlüssel:\nroot"_s);
}

void TestSettings::describesInFailure()
{
    const SettingsFixture fixture;
    const QString master = fixture.path(u"master/none.ini"_s);
    for (const Flags flags : {Flags(), readOnly, copying, protectedCopy}) {
        QFile::remove(master);
        s3Settings settings(master, flags);
        if (settings.write(u"key"_s, 1))
            QCOMPARE(settings.read(u"key"_s), u"1"_s);
        QCOMPARE(settings.describe(false), u"Datei nicht gefunden:\n"_s + master);
        QCOMPARE(settings.describe(true), u"Datei nicht gefunden:\n"_s + master);
    }
    QCOMPARE(s3Settings(QString{}).describe(true), u"Datei nicht gefunden:\n"_s);
}

// Without a dictionary a text stands for itself, and is remembered.
void TestSettings::describesInTheLanguageOfTheUser()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("[b]\nx=1\n" + mark), {}, u"b"_s);
    static_cast<void>(settings.describe(false));
    settings.setSection(u"none"_s);
    static_cast<void>(settings.describe(false));
    settings.close();
    static_cast<void>(settings.describe(false));
    for (const QString &label : {u"Abschnitt"_s, u"Schlüssel"_s, u"Abschnitte"_s, u"Datei nicht gefunden"_s})
        QVERIFY2(s3UnknownTexts().contains(label), qPrintable(label));
}

void TestSettings::readsTexts_data()
{
    QTest::addColumn<QByteArray>("value"); // null: no such key
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << QByteArray("text") << u"text"_s;
    QTest::newRow("missing") << QByteArray() << u"default"_s;
    QTest::newRow("empty") << QByteArray("") << QString();
    QTest::newRow("empty in quotes") << QByteArray("\"\"") << QString();
    QTest::newRow("number") << QByteArray("010") << u"010"_s;
    QTest::newRow("list") << QByteArray("a,b ,  c") << u"a, b, c"_s;
    QTest::newRow("list with quotes") << QByteArray("\"a, b\", c") << u"a, b, c"_s;
    QTest::newRow("quoted comma") << QByteArray("\"a,b\"") << u"a,b"_s;
    QTest::newRow("escapes") << QByteArray("a\\nb\\\\c\\\"d") << u"a\nb\\c\"d"_s;
    QTest::newRow("UTF-8") << QByteArray("Gr\xC3\xB6\xC3\x9F"
                                         "e \xE4\xBB\xB7")
                           << u"Größe 价"_s;
    QTest::newRow("at sign") << QByteArray("@@name") << u"@name"_s;
    QTest::newRow("bytes") << QByteArray("@ByteArray(abc)") << u"abc"_s;
    QTest::newRow("no value") << QByteArray("@Invalid()") << u"default"_s;
    QTest::newRow("a point has no text") << QByteArray("@Point(1 2)") << QString();
    QTest::newRow("1 MiB") << QByteArray(1048576, 'x') << QString(1048576, u'x');
}

void TestSettings::readsTexts()
{
    QFETCH(const QByteArray, value);
    QFETCH(const QString, expected);
    const SettingsFixture fixture;
    const QByteArray line = value.isNull() ? QByteArray() : "key=" + value + '\n';
    const s3Settings settings(fixture.masterFile(line + mark));
    QVERIFY(settings.isOk());
    QVERIFY(settings.read(u"key"_s, u"default"_s) == expected);
    QCOMPARE(settings.hasKey(u"key"_s), !value.isNull());
    QCOMPARE(settings.read(QString(), u"default"_s), u"default"_s);
}

void TestSettings::readsInts_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("missing") << QByteArray() << 7;
    QTest::newRow("empty") << QByteArray("") << 7;
    QTest::newRow("decimal") << QByteArray("42") << 42;
    QTest::newRow("negative") << QByteArray("-42") << -42;
    QTest::newRow("hexadecimal") << QByteArray("0x1F") << 31;
    QTest::newRow("hexadecimal 16") << QByteArray("0x10") << 16;
    QTest::newRow("octal") << QByteArray("010") << 8;
    QTest::newRow("zero") << QByteArray("0") << 0;
    QTest::newRow("no octal") << QByteArray("08") << 0;
    QTest::newRow("word") << QByteArray("many") << 0;
    QTest::newRow("number and word") << QByteArray("5 apples") << 0;
    QTest::newRow("fraction") << QByteArray("1.5") << 0;
    QTest::newRow("largest") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("smallest") << QByteArray("-2147483648") << std::numeric_limits<int>::min();
    QTest::newRow("too large") << QByteArray("2147483648") << 0;
    QTest::newRow("list") << QByteArray("1, 2") << 0;
    QTest::newRow("blank in quotes") << QByteArray("\" \"") << 0;
}

void TestSettings::readsInts()
{
    QFETCH(const QByteArray, value);
    QFETCH(const int, expected);
    const SettingsFixture fixture;
    const QByteArray line = value.isNull() ? QByteArray() : "key=" + value + '\n';
    const s3Settings settings(fixture.masterFile(line + mark));
    QCOMPARE(settings.readInt(u"key"_s, 7), expected);
}

void TestSettings::readsBools_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<bool>("isDefault");
    QTest::newRow("missing") << QByteArray() << false << true;
    QTest::newRow("empty") << QByteArray("") << false << true;
    QTest::newRow("TRUE with a blank") << QByteArray("\"TRUE \"") << true << false;
    QTest::newRow("true") << QByteArray("true") << true << false;
    QTest::newRow("2") << QByteArray("2") << true << false;
    QTest::newRow("-1") << QByteArray("-1") << true << false;
    QTest::newRow("1") << QByteArray("1") << true << false;
    QTest::newRow("0") << QByteArray("0") << false << false;
    QTest::newRow("yes") << QByteArray("yes") << false << false;
    QTest::newRow("false") << QByteArray("false") << false << false;
    QTest::newRow("true and more") << QByteArray("true!") << false << false;
    QTest::newRow("hexadecimal") << QByteArray("0x1") << false << false;
}

void TestSettings::readsBools()
{
    QFETCH(const QByteArray, value);
    QFETCH(const bool, expected);
    QFETCH(const bool, isDefault);
    const SettingsFixture fixture;
    const QByteArray line = value.isNull() ? QByteArray() : "key=" + value + '\n';
    const s3Settings settings(fixture.masterFile(line + mark));
    QCOMPARE(settings.readBool(u"key"_s, false), expected);
    QCOMPARE(settings.readBool(u"key"_s, true), expected || isDefault);
}

void TestSettings::readsIntLists_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QList<int>>("expected");
    using Numbers = QList<int>;
    QTest::newRow("missing") << QByteArray() << Numbers();
    QTest::newRow("empty") << QByteArray("") << Numbers();
    QTest::newRow("one") << QByteArray("5") << Numbers{5};
    QTest::newRow("list of QSettings") << QByteArray("255, 0, 7") << Numbers{255, 0, 7};
    QTest::newRow("quoted") << QByteArray("\"255,0,7\"") << Numbers{255, 0, 7};
    QTest::newRow("blanks") << QByteArray("1 2   3") << Numbers{1, 2, 3};
    QTest::newRow("tabs") << QByteArray("\"1\\t2\"") << Numbers{1, 2};
    QTest::newRow("empty parts") << QByteArray("\", ,1,,2, \"") << Numbers{1, 2};
    QTest::newRow("bases and words") << QByteArray("0x10, 010, red, -1") << Numbers{16, 8, 0, -1};
}

void TestSettings::readsIntLists()
{
    QFETCH(const QByteArray, value);
    QFETCH(const QList<int>, expected);
    const SettingsFixture fixture;
    const QByteArray line = value.isNull() ? QByteArray() : "key=" + value + '\n';
    const s3Settings settings(fixture.masterFile(line + mark));
    QCOMPARE(settings.readIntList(u"key"_s), expected);
}

// The rules are the chain's; here only that this object is asked, in its section, and lives on.
void TestSettings::readsColors()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("[a]\nc=other\nother=10, 20, 30\ng=red, 0, blue, 100\n" + mark),
                        {}, u"a"_s);
    QCOMPARE(settings.readColor(u"c"_s, QColor()), QColor(10, 20, 30));
    QCOMPARE(settings.readColor(u"none"_s, Qt::green), QColor(Qt::green));
    const s3ColorStops gradient = settings.readGradient(u"g"_s, s3ColorStops());
    QCOMPARE(gradient.count(), 2);
    QCOMPARE(gradient.colorAt(1), QColor(0, 0, 255));
    QCOMPARE(settings.readGradient(u"none"_s, s3ColorStops(Qt::green)), s3ColorStops(Qt::green));
    QVERIFY(settings.isOk());
}

void TestSettings::readsForThePlatform()
{
    const QString system = s3OperatingSystem::shortName();
    QCOMPARE(s3Settings::platformKey(QString()), QString());
    QCOMPARE(s3Settings::platformKey(u"key"_s), system.isEmpty() ? QString() : u"key."_s + system);
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("both=plain\nplain=plain\n" + mark));
    QCOMPARE(settings.readForPlatform(u"plain"_s, u"default"_s), u"plain"_s);
    QCOMPARE(settings.readForPlatform(u"none"_s, u"default"_s), u"default"_s);
    QCOMPARE(settings.readForPlatform(QString(), u"default"_s), u"default"_s);
    if (system.isEmpty())
        QSKIP("this system has no short name");
    QVERIFY(settings.write(u"both."_s + system, u"special"_s));
    QVERIFY(settings.write(u"only."_s + system, QString()));
    QCOMPARE(settings.readForPlatform(u"both"_s, u"default"_s), u"special"_s);
    QCOMPARE(settings.read(u"both"_s), u"plain"_s);
    QCOMPARE(settings.readForPlatform(u"only"_s, u"default"_s), QString());
}

void TestSettings::writes_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("text") << QVariant(u"text"_s) << QByteArray("key=text");
    QTest::newRow("empty text") << QVariant(QString()) << QByteArray("key=");
    QTest::newRow("text with a comma") << QVariant(u"a, b"_s) << QByteArray("key=\"a, b\"");
    QTest::newRow("backslash") << QVariant(u"C:\\temp"_s) << QByteArray("key=C:\\\\temp");
    QTest::newRow("int") << QVariant(-42) << QByteArray("key=-42");
    QTest::newRow("qint64") << QVariant(Q_INT64_C(42)) << QByteArray("key=42");
    QTest::newRow("upper half lost") << QVariant(Q_INT64_C(0x100000002)) << QByteArray("key=2");
    QTest::newRow("qint64 to a negative int")
        << QVariant(Q_INT64_C(0x80000000)) << QByteArray("key=-2147483648");
    QTest::newRow("true") << QVariant(true) << QByteArray("key=1");
    QTest::newRow("false") << QVariant(false) << QByteArray("key=0");
    QTest::newRow("list") << QVariant::fromValue(QList<int>{255, 0, -1}) << QByteArray("key=255, 0, -1");
    QTest::newRow("list of one") << QVariant::fromValue(QList<int>{5}) << QByteArray("key=5");
    QTest::newRow("empty list") << QVariant::fromValue(QList<int>()) << QByteArray("key=@Invalid()");
    QTest::newRow("colour") << QVariant(QColor(1, 20, 255, 7)) << QByteArray("key=1, 20, 255");
}

void TestSettings::writes()
{
    QFETCH(const QVariant, value);
    QFETCH(const QByteArray, line);
    const SettingsFixture fixture;
    const QString master = fixture.path(u"master/a.ini"_s);
    s3Settings settings(master, {}, u"a"_s);
    bool isWritten = false;
    switch (value.typeId()) {
    case QMetaType::QString:
        isWritten = settings.write(u"key"_s, value.toString());
        break;
    case QMetaType::Int:
        isWritten = settings.write(u"key"_s, value.toInt());
        break;
    case QMetaType::LongLong:
        isWritten = settings.write(u"key"_s, qint64(value.toLongLong()));
        break;
    case QMetaType::Bool:
        isWritten = settings.write(u"key"_s, value.toBool());
        break;
    case QMetaType::QColor:
        isWritten = settings.write(u"key"_s, value.value<QColor>());
        break;
    default:
        isWritten = settings.write(u"key"_s, value.value<QList<int>>());
        break;
    }
    QVERIFY(isWritten);
    QVERIFY(settings.isModified());
    QVERIFY(!QFileInfo::exists(master));
    settings.close();
    // The order of the sections is Qt's affair.
    QVERIFY2(readLines(master).contains("[a]\n" + line + '\n'), readLines(master).constData());
    QVERIFY(readLines(master).contains(mark));
    QCOMPARE(contentOf(master).size(), 2);
    QVERIFY(settings.loadFile(master));
    settings.setSection(u"a"_s);
    if (value.typeId() == QMetaType::QString)
        QCOMPARE(settings.read(u"key"_s, u"default"_s), value.toString());
    else if (value.typeId() == QMetaType::QColor)
        QCOMPARE(settings.readColor(u"key"_s, QColor()), QColor(1, 20, 255));
    else if (value.typeId() == QMetaType::Bool)
        QCOMPARE(settings.readBool(u"key"_s, !value.toBool()), value.toBool());
    else if (value.canConvert<QList<int>>() && value.typeId() == qMetaTypeId<QList<int>>())
        QCOMPARE(settings.readIntList(u"key"_s), value.value<QList<int>>());
    else
        QCOMPARE(settings.readInt(u"key"_s, 7), static_cast<int>(value.toLongLong()));
}

void TestSettings::writingIsRefused()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark);
    s3Settings settings(master);
    QVERIFY(!settings.write(QString(), u"x"_s));
    QVERIFY(!settings.write(QString(), 1));
    QVERIFY(!settings.write(QString(), Q_INT64_C(1)));
    QVERIFY(!settings.write(QString(), true));
    QVERIFY(!settings.write(QString(), QList<int>{1}));
    QVERIFY(!settings.write(QString(), QColor(Qt::red)));
    QVERIFY(!settings.writeVariant(QString(), 1));
    QVERIFY(!settings.isModified());
    QVERIFY(settings.writeVariant(u"point"_s, QPoint(1, 2)));
    QVERIFY(settings.isModified());
    QCOMPARE(settings.read(u"point"_s, u"default"_s), QString());
}

void TestSettings::transfers()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("text=old\nint=5\nbool=1\n" + mark));
    QString text = u"x"_s;
    int number = 1;
    bool isOn = false;
    QVERIFY(settings.transfer(text, false, u"text"_s, u"default"_s));
    QVERIFY(settings.transfer(number, false, u"int"_s, 9));
    QVERIFY(settings.transfer(isOn, false, u"bool"_s, false));
    QVERIFY(!settings.isModified());
    QCOMPARE(text, u"old"_s);
    QCOMPARE(number, 5);
    QCOMPARE(isOn, true);
    QVERIFY(settings.transfer(text, false, u"none"_s, u"default"_s));
    QVERIFY(settings.transfer(number, false, u"none"_s, 9));
    QVERIFY(settings.transfer(isOn, false, u"none"_s, false));
    QCOMPARE(text, u"default"_s);
    QCOMPARE(number, 9);
    QCOMPARE(isOn, false);
    QVERIFY(settings.transfer(text, true, u"text"_s, u"other"_s));
    QVERIFY(settings.transfer(number, true, u"int"_s, 1));
    QVERIFY(settings.transfer(isOn, true, u"bool"_s, true));
    QVERIFY(settings.isModified());
    QCOMPARE(settings.read(u"text"_s), u"default"_s);
    QCOMPARE(settings.read(u"int"_s), u"9"_s);
    QCOMPARE(settings.read(u"bool"_s), u"0"_s);
    settings.close();
    QVERIFY(!settings.transfer(text, true, u"text"_s, u"other"_s));
    QVERIFY(!settings.transfer(number, true, u"int"_s, 1));
    QVERIFY(!settings.transfer(isOn, true, u"bool"_s, true));
    QVERIFY(settings.transfer(number, false, u"int"_s, 4));
    QCOMPARE(number, 4);
}

void TestSettings::checksFormat_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("expected");
    QTest::newRow("doubled backslash in quotes") << "key=\"C:\\\\temp\"\n" + mark << true;
    QTest::newRow("doubled backslash") << "key=C:\\\\temp\n" + mark << true;
    QTest::newRow("one backslash") << "key=C:\\temp\n" + mark << false;
    QTest::newRow("the mark is not looked at") << QByteArray("key=x\n") << true;
    QTest::newRow("bare comma") << QByteArray("key=a,b\n") << false;
    QTest::newRow("empty") << QByteArray("") << true;
}

void TestSettings::checksFormat()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, expected);
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(content);
    QString error = u"left over"_s;
    QCOMPARE(s3Settings::checkFormat(master, &error), expected);
    QCOMPARE(error, QString());
    QCOMPARE(s3Settings::checkFormat(master, nullptr), expected);
    QCOMPARE(readFile(master), content);
}

void TestSettings::checkFormatOfAMissingFile()
{
    const SettingsFixture fixture;
    const QString path = fixture.path(u"none"_s);
    QString error;
    QVERIFY(!s3Settings::checkFormat(path, &error));
    QVERIFY(error.startsWith(openError(path)));
    QVERIFY(!QFileInfo::exists(path));
}

void TestSettings::tracesLoading()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark, u"a %2.ini"_s);
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    s3Settings settings(master, forcedCopy | Flag::readOnlyOrig);
    settings.loadFile(QString());
    settings.loadFile(fixture.path(u"none"_s), protectedCopy);
    const QString missing = settings.errorString();
    glob_file_tempDir.clear();
    settings.loadFile(master, copying);
    const QString self = pointerText(&settings);
    QCOMPARE(
        linesOf(recorder, u"s3Settings::loadFile"_s),
        QStringList(
            {u"s3Settings::loadFile(this=%1, filename='%2', copyToTempDir=false, CopyToTempDirForce=true, "
             "readOnlyOrig=true): fileOk=true copyToTempDirFailed=false m_errorString="_s.arg(
                 self, fixture.privateCopy(u"a %2.ini"_s)),
             u"s3Settings::loadFile(this=%1, filename='', copyToTempDir=false, CopyToTempDirForce=false, "
             "readOnlyOrig=false): fileOk=false copyToTempDirFailed=false m_errorString="_s.arg(self),
             u"s3Settings::loadFile(this=%1, filename='%2', copyToTempDir=true, CopyToTempDirForce=false, "
             "readOnlyOrig=true): fileOk=false copyToTempDirFailed=false m_errorString=%3"_s.arg(
                 self, fixture.path(u"none"_s), missing),
             u"s3Settings::loadFile(this=%1, filename='%2', copyToTempDir=true, CopyToTempDirForce=false, "
             "readOnlyOrig=false): fileOk=true copyToTempDirFailed=true m_errorString="_s.arg(self,
                                                                                              master)}));
}

void TestSettings::tracesAFailedConversion()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile("[a]\nkey=x\\y\n");
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    const s3Settings settings(master, readOnly);
    const QString self = pointerText(&settings);
    QCOMPARE(
        recorder.lines(),
        QStringList(
            {u"s3Settings::read(this=%1, key='format' defaultValue='') file='a.ini' section='version' --> "
             "value='(QMetaType::UnknownType)' typeName=''"_s.arg(self),
             u"s3SettingsPrivate::updateFormat(key='key' value='x\\\\y' valueOrig='x\\y')"_s,
             u"s3SettingsPrivate::updateFormat(fileName='%1', checkOnly=true): false [formatOk=false "
             "errorStringFileAccess=]"_s.arg(master),
             u"s3Settings::loadFile(this=%1, filename='%2', copyToTempDir=false, "
             "CopyToTempDirForce=false, readOnlyOrig=true): fileOk=false copyToTempDirFailed=false "
             "m_errorString="_s.arg(self, master)}));
}

void TestSettings::tracesCopies()
{
    const SettingsFixture fixture;
    const QString master = fixture.masterFile(mark);
    const QString copy = fixture.privateCopy();
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    s3Settings settings(master, copying);
    QVERIFY(settings.write(u"key"_s, 1));
    settings.loadFile(master, protectedCopy);
    glob_file_tempDir = fixture.path(u"missing"_s);
    settings.loadFile(master, forcedCopy);
    const QString error = settings.errorString();
    glob_file_tempDir.clear();
    settings.loadFile(master, copying);
    const QString self = pointerText(&settings);
    const QString format
        = u"s3Settings::copyToTempDir(this=%1): %2, fileOrig='%3' file='%4' readOnlyOrig=%5 -> %6"_s;
    QCOMPARE(
        linesOf(recorder, u"s3Settings::copyToTempDir"_s),
        QStringList(
            {format.arg(self, u"true"_s, master, copy, u"false"_s,
                        u"localCopyExistsAlready = false localCopyExistsAfterCopy = true"_s),
             format.arg(self, u"true"_s, master, copy, u"true"_s,
                        u"localCopyExistsAlready = true localCopyExistsAfterCopy = true"_s),
             format.arg(self, u"false"_s, master, master, u"false"_s, u"errorString = "_s + error),
             u"s3Settings::copyToTempDir(this=%1) failed [glob_file_tempDir.isEmpty() == true], file='%2'"_s
                 .arg(self, master)}));
    QCOMPARE(linesOf(recorder, u"s3Settings::updateOrigFile"_s),
             QStringList(u"s3Settings::updateOrigFile(this=%1) s3File::copy('%2', '%3'): true (ok)"_s.arg(
                 self, copy, master)));
}

void TestSettings::tracesReadingAndWriting()
{
    const SettingsFixture fixture;
    s3Settings settings(
        fixture.masterFile("[s]\nkey=a %1\nlist=1,2\nnone=@Invalid()\npoint=@Point(1 2)\n" + mark), {},
        u"s"_s);
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    static_cast<void>(settings.read(u"key"_s, u"d %2"_s));
    static_cast<void>(settings.read(u"list"_s));
    static_cast<void>(settings.read(u"missing"_s, u"d"_s));
    static_cast<void>(settings.read(u"point"_s));
    static_cast<void>(settings.read(QString()));
    QVERIFY(settings.write(u"key"_s, u"b"_s));
    QVERIFY(settings.write(u"list"_s, QList<int>{1, 2}));
    settings.setSection(QString());
    QVERIFY(settings.write(u"key"_s, true));
    const QString self = pointerText(&settings);
    const QString read
        = u"s3Settings::read(this=%1, key='%2' defaultValue='%3') file='a.ini' section='s' --> "
          "value='%4' typeName='%5'"_s;
    const QString write
        = u"s3Settings::writeVariant(this=%1, key='%2', value='%3', file='a.ini', section='%4')"_s;
    QCOMPARE(
        recorder.lines(),
        QStringList({read.arg(self, u"key"_s, u"d %2"_s, u"a %1"_s, u"QString"_s),
                     read.arg(self, u"list"_s, QString(), u"1, 2"_s, u"QStringList"_s),
                     read.arg(self, u"missing"_s, u"d"_s, u"(QMetaType::UnknownType)"_s, QString()),
                     read.arg(self, u"point"_s, QString(), QString(), u"QPoint"_s),
                     write.arg(self, u"key"_s, u"b"_s, u"s"_s), write.arg(self, u"list"_s, u"1, 2"_s, u"s"_s),
                     write.arg(self, u"key"_s, u"1"_s, u"general"_s)}));
}

void TestSettings::silentWithoutTheFlag()
{
    const SettingsFixture fixture;
    const ScopedTestFlag flag(121);
    const TraceRecorder recorder;
    s3Settings settings(fixture.masterFile("key=x\\\n"), copying);
    static_cast<void>(settings.read(u"key"_s));
    QVERIFY(settings.write(u"key"_s, 1));
    settings.close();
    QCOMPARE(recorder.lines(), QStringList());
}

namespace
{

// Every one of so many keys has the same text in a file of the test with several processes.
constexpr int sharedKeys = 200;
constexpr int writers = 3;
constexpr int roundsOfAWriter = 15;

QString sharedKey(int index)
{
    return u"key%1"_s.arg(index, 3, 10, QChar(u'0'));
}

// Whether a file of the shared test is complete and from one writer.
bool isWhole(const QByteArray &content)
{
    QByteArrayList lines = content.split('\n');
    lines.removeAll(QByteArray());
    QByteArrayList values;
    bool hasMark = false;
    for (QByteArray line : lines) {
        line = line.trimmed();
        if (line.startsWith("key"))
            values += line.mid(line.indexOf('='));
        hasMark = hasMark || line == "format=2";
    }
    return hasMark && values.size() == sharedKeys && values.count(values.front()) == sharedKeys;
}

int writeShared(const QString &part)
{
    SettingsFixture fixture;
    const QString path = u"shared.ini"_s;
    int copiedBack = 0;
    // Windows does not let a file be replaced, or opened, while another process has it open just then.
    for (int round = 0; round < roundsOfAWriter || (copiedBack == 0 && round < 10000); ++round) {
        s3Settings settings(path, copying, u"s"_s);
        if (!settings.isOk())
            continue;
        const QString seen = settings.read(sharedKey(0));
        for (int i = 0; i < sharedKeys; ++i) {
            if (settings.read(sharedKey(i)) != seen) {
                std::fprintf(stderr, "torn at key %d\n", i);
                return 1;
            }
            settings.write(sharedKey(i), u"%1 round %2 "_s.arg(part).arg(round) + QString(60, u'x'));
        }
        copiedBack += settings.updateOrigFile() ? 1 : 0;
    }
    std::printf("%d\n", copiedBack);
    return 0;
}

}

// Whoever looks at the master file, at whatever moment, finds what one writer wrote, as a whole.
void TestSettings::processesShareAMasterFile()
{
    const SettingsFixture fixture;
    const QString directory = fixture.path(u"master"_s);
    const QString master = directory + u"/shared.ini"_s;
    QByteArray first = "[s]\n";
    for (int i = 0; i < sharedKeys; ++i)
        first += sharedKey(i).toLatin1() + "=first\n";
    QVERIFY(writeFile(master, first + '\n' + mark));
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < writers; ++i) {
        auto process = std::make_unique<QProcess>();
        process->setWorkingDirectory(directory);
        process->start(QCoreApplication::applicationFilePath(), {u"--child"_s, u"writer%1"_s.arg(i)});
        processes.push_back(std::move(process));
    }
    const QDeadlineTimer deadline(180000);
    const auto isAnyRunning = [&processes] {
        return std::any_of(processes.cbegin(), processes.cend(),
                           [](const auto &process) { return process->state() != QProcess::NotRunning; });
    };
    bool isTorn = false;
    while (isAnyRunning() && !deadline.hasExpired() && !isTorn) {
        const QByteArray content = readFile(master);
        isTorn = !content.isNull() && !isWhole(content);
        QCoreApplication::processEvents();
        for (const auto &process : processes)
            process->waitForFinished(1);
    }
    QVERIFY(!isTorn);
    int written = 0;
    for (const auto &process : processes) {
        QVERIFY2(process->waitForFinished(60000) || process->state() == QProcess::NotRunning,
                 qPrintable(process->errorString()));
        QVERIFY2(process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0,
                 process->readAllStandardError().constData());
        written += process->readAllStandardOutput().trimmed().toInt();
    }
    QVERIFY(written > 0);
    const QByteArray content = readFile(master);
    QVERIFY(isWhole(content));
    QVERIFY(content.contains("=writer"));
    QStringList left = entriesOf(directory);
    left.removeAll(u"shared.ini"_s);
    QCOMPARE(left, QStringList());
}

namespace
{

int runPart(const QString &part)
{
    if (part.startsWith(u"writer"_s))
        return writeShared(part);
    if (part == u"whitelabel"_s) {
        s3WhiteLabelInstance()->load(u"acme.ini"_s);
        const QTemporaryDir dir;
        glob_file_localSettingsDir = dir.path();
        const s3Settings settings(Type::Local);
        const QString file = settings.fileName();
        std::printf("%s %s", qPrintable(s3Settings::localFileName()),
                    file == dir.filePath(u"acmelocaln.ini"_s) ? "dir/acmelocaln.ini" : qPrintable(file));
        return 0;
    }
    return 2;
}

}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QString part = childPart(argc, argv);
    if (!part.isEmpty())
        return runPart(part);
    TestSettings test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_s3settings.moc"
