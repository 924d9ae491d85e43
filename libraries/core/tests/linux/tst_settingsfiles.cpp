#include "../settingsfixture.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/plainsettingsconversion.h"
#include "ostrelletest/smallvolume.h"
#include "s3file.h"
#include "s3settings.h"
#include "s3settingsprivate.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QMap>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <array>
#include <cerrno>

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

// A file that cannot be read any more behind so many bytes, whoever reads it, for the scope.
class ReadFault
{
public:
    ReadFault(const QString &path, qint64 goodBytes)
    {
        faultyPath() = QFile::encodeName(path);
        bytesLeft() = goodBytes;
    }
    ~ReadFault() { faultyPath().clear(); }
    Q_DISABLE_COPY_MOVE(ReadFault)

    [[nodiscard]] static ssize_t read(int descriptor, void *data, size_t size)
    {
        using Read = ssize_t (*)(int, void *, size_t);
        static const auto systemRead = reinterpret_cast<Read>(::dlsym(RTLD_NEXT, "read"));
        if (faultyPath().isEmpty() || pathOf(descriptor) != faultyPath())
            return systemRead(descriptor, data, size);
        if (bytesLeft() == 0) {
            errno = EIO;
            return -1;
        }
        const ssize_t count = systemRead(descriptor, data, std::min(size, size_t(bytesLeft())));
        bytesLeft() -= std::max(count, ssize_t(0));
        return count;
    }

private:
    static QByteArray &faultyPath()
    {
        static QByteArray path;
        return path;
    }
    static qint64 &bytesLeft()
    {
        static qint64 bytes = 0;
        return bytes;
    }
    static QByteArray pathOf(int descriptor)
    {
        std::array<char, PATH_MAX> path{};
        const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
        const ssize_t size = ::readlink(link.constData(), path.data(), path.size());
        return QByteArray(path.data(), std::max(size, ssize_t(0)));
    }
};

struct Outcome {
    bool rewritten = false;
    bool formatOk = false;
    QString error = u"left over"_s;
};

Outcome update(const QString &path, bool checkOnly, bool alreadyConverted = false)
{
    Outcome outcome;
    outcome.rewritten = s3SettingsPrivate::updateFormat(path, checkOnly, alreadyConverted, &outcome.formatOk,
                                                        &outcome.error);
    return outcome;
}

QString readError(const QString &path)
{
    return u"Ein-/Ausgabefehler beim Lesen der Datei %1.\n"_s.arg(path);
}

bool setTime(const QString &path, const QDateTime &time)
{
    QFile file(path);
    return file.open(QIODevice::Append) && file.setFileTime(time, QFileDevice::FileModificationTime);
}

// Every settings file that the machine's system has and that can be read, by its path.
const QMap<QString, QByteArray> &realFiles()
{
    static const QMap<QString, QByteArray> files = [] {
        QMap<QString, QByteArray> contents;
        for (const QString &root : {u"/boot"_s, u"/etc"_s, u"/opt"_s, u"/srv"_s, u"/usr"_s, u"/var/lib"_s}) {
            QDirIterator found(root, {u"*.ini"_s, u"*.conf"_s, u"*.cfg"_s, u"*.desktop"_s},
                               QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (found.hasNext()) {
                QFile file(found.next());
                if (file.open(QIODevice::ReadOnly))
                    contents.insert(file.fileName(), file.readAll());
            }
        }
        return contents;
    }();
    return files;
}

// Where QSettings finds a key line of a real file; null where it has a notation of its own for the section
// or the key, or ends the line inside of the key.
QString qtKey(const PlainSettingsConversion::KeyLine &line)
{
    static const QRegularExpression plainSection(
        QRegularExpression::anchoredPattern(u"\\[([^\\[\\]%/\\\\\";]*[^\\[\\]%/\\\\\";\\s])\\]"_s));
    static const QRegularExpression plainKey(QRegularExpression::anchoredPattern(u"[^=%/\\\\\";\r]+"_s));
    if (!plainKey.match(line.key).hasMatch())
        return QString();
    if (line.section.isEmpty() || line.section.compare(u"[general]"_s, Qt::CaseInsensitive) == 0)
        return line.key;
    const QRegularExpressionMatch match = plainSection.match(line.section);
    return match.hasMatch() ? match.captured(1).trimmed() + u'/' + line.key : QString();
}

}

// In the place of the system's, also for the libraries.
extern "C" Q_DECL_EXPORT ssize_t read(int descriptor, void *data, size_t size)
{
    return ReadFault::read(descriptor, data, size);
}

// The conversion on what only a Linux machine has to offer.
class TestSettingsFiles final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readErrorBeforeAnyChange_data();
    void readErrorBeforeAnyChange();
    void readErrorBehindAChange();
    void readErrorBehindTheEndOfACheck();
    void readErrorOfALoad_data();
    void readErrorOfALoad();
    void fullVolume();
    void foreignReadOnlyFile();
    void realFilesAreConverted();
    void realValuesAreReadBackByQt();
};

void TestSettingsFiles::readErrorBeforeAnyChange_data()
{
    QTest::addColumn<int>("goodBytes");
    QTest::addColumn<bool>("checkOnly");
    QTest::newRow("at once") << 0 << false;
    QTest::newRow("at once, check") << 0 << true;
    QTest::newRow("in the middle") << 40000 << false;
    QTest::newRow("in the middle, check") << 40000 << true;
}

void TestSettingsFiles::readErrorBeforeAnyChange()
{
    QFETCH(const int, goodBytes);
    QFETCH(const bool, checkOnly);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    const QByteArray content = QByteArray("key = value\n").repeated(10000) + "x=1,2\n";
    QVERIFY(writeFile(path, content));
    {
        const ReadFault fault(path, goodBytes);
        const Outcome outcome = update(path, checkOnly);
        QCOMPARE(outcome.rewritten, false);
        QCOMPARE(outcome.formatOk, true);
        QVERIFY2(outcome.error.startsWith(readError(path)), qPrintable(outcome.error));
    }
    QVERIFY(readFile(path) == content);
}

void TestSettingsFiles::readErrorBehindAChange()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    const QByteArray rest = QByteArray("key=value\n").repeated(10000);
    QVERIFY(writeFile(path, "x=1,2\n" + rest));
    {
        const ReadFault fault(path, 40000);
        const Outcome outcome = update(path, false);
        QCOMPARE(outcome.rewritten, true);
        QCOMPARE(outcome.formatOk, true);
        QVERIFY2(outcome.error.startsWith(readError(path)), qPrintable(outcome.error));
    }
    // Whole lines up to the error, and nothing behind it.
    const QByteArray left = readFile(path);
    QVERIFY(left.startsWith("x=\"1,2\"\nkey=value\n"));
    QVERIFY(left.endsWith("\nkey=value\n"));
    QVERIFY(left.size() < rest.size());
    QVERIFY(("x=\"1,2\"\n" + rest).startsWith(left));
}

void TestSettingsFiles::readErrorBehindTheEndOfACheck()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "x=1,2\n" + QByteArray("key=value\n").repeated(10000)));
    const ReadFault fault(path, 40000);
    const Outcome outcome = update(path, true);
    QCOMPARE(outcome.rewritten, false);
    QCOMPARE(outcome.formatOk, false);
    QCOMPARE(outcome.error, QString());
}

void TestSettingsFiles::readErrorOfALoad_data()
{
    QTest::addColumn<int>("flags");
    QTest::addColumn<bool>("changes"); // a line in front of the error changes
    QTest::addColumn<int>("goodReadings");
    QTest::addColumn<bool>("hasText");
    for (const int flags : {0, 1, 4, 5}) {
        for (const bool changes : {false, true}) {
            for (int goodReadings = 0; goodReadings < 3; ++goodReadings) {
                // Of a file that must not change, the conversion only looks for the first line that would.
                const bool endsBefore = flags == 4 && changes && goodReadings == 2;
                QTest::addRow("flags %d, %s, %d good readings", flags, changes ? "changes" : "stays",
                              goodReadings)
                    << flags << changes << goodReadings << !endsBefore;
            }
        }
    }
}

// A load reads the file as a whole, lets QSettings do so, and then converts it.
void TestSettingsFiles::readErrorOfALoad()
{
    QFETCH(const int, flags);
    QFETCH(const bool, changes);
    QFETCH(const int, goodReadings);
    QFETCH(const bool, hasText);
    const SettingsFixture fixture;
    QByteArray content
        = changes ? "[version]\nformat=1\n[a]\nkey=x\\y\n" : "[version]\nformat=1\n[a]\nkey=xy\n";
    for (int i = 0; i < 5000; ++i)
        content += "key" + QByteArray::number(i) + "=value\n";
    const QString master = fixture.masterFile(content);
    const bool isCopy = (flags & 1) != 0;
    const QString file = isCopy ? fixture.privateCopy() : master;
    const QDateTime time = QDateTime::currentDateTime().addSecs(-3600);
    QVERIFY(setTime(master, time));
    s3Settings settings(QString{});
    {
        const ReadFault fault(file, content.size() * goodReadings + content.size() / 2);
        QVERIFY(!settings.loadFile(master, s3Settings::LoadFlags::fromInt(flags)));
    }
    QVERIFY(!settings.isOk());
    QVERIFY(!settings.isModified());
    QCOMPARE(settings.fileName(), file);
    QVERIFY2(hasText ? settings.errorString().startsWith(readError(file)) : settings.errorString().isEmpty(),
             qPrintable(settings.errorString()));
    QVERIFY(!settings.write(u"key"_s, 1));
    QCOMPARE(settings.read(u"key"_s, u"default"_s), u"default"_s);
    settings.close();
    QVERIFY(readFile(master) == content);
    // What was not overwritten is not written again.
    const bool isOverwritten = flags == 0 && changes && goodReadings == 2;
    QCOMPARE(qAbs(QFileInfo(master).lastModified().msecsTo(time)) < 1000, !isOverwritten);
    // What could not be converted is no copy to use again.
    QCOMPARE(QFile::exists(fixture.privateCopy()), isCopy && goodReadings == 0);
    // Half a file is all that QSettings has seen, and it does not look again.
    if (!isCopy && goodReadings == 1)
        return;
    // It does look at a copy made anew, but only when that has another time; file systems count in ticks.
    QTest::qSleep(50);
    QCOMPARE(settings.loadFile(master, s3Settings::LoadFlags::fromInt(flags)), flags != 4 || !changes);
    settings.setSection(u"a"_s);
    QCOMPARE(settings.read(u"key"_s), !settings.isOk() ? QString() : changes ? u"x\\y"_s : u"xy"_s);
    QCOMPARE(settings.read(u"key4999"_s), settings.isOk() ? u"value"_s : QString());
}

void TestSettingsFiles::fullVolume()
{
    const QTemporaryDir dir;
    const SmallVolume volume(dir.path(), 65536);
    if (!volume.isMounted())
        QSKIP("A full volume needs the right to mount.");
    for (const qsizetype size : {40000, 60000}) {
        const QString path = dir.filePath(u"a.ini"_s);
        QVERIFY(writeFile(path, "a=" + QByteArray(size, '\\') + "\n"));
        const Outcome outcome = update(path, false);
        QCOMPARE(outcome.rewritten, false);
        QCOMPARE(outcome.formatOk, false);
        QVERIFY2(
            outcome.error
                    == u"Ein-/Ausgabefehler beim Schreiben der Datei %1.\nzu wenig Speicherplatz"_s.arg(path)
                || outcome.error
                    == u"Fehlende Systemressourcen beim Zugriff auf die Datei %1.\n"
                       "zu wenig Speicherplatz"_s.arg(path),
            qPrintable(outcome.error));
        QVERIFY(readFile(path).size() < 2 * size);
        QVERIFY(QFile::remove(path));
    }
}

// A file that can be read and neither changed nor made writable.
void TestSettingsFiles::foreignReadOnlyFile()
{
    if (::geteuid() != 0)
        QSKIP("Another user's file needs the superuser to make it.");
    constexpr QFileDevice::Permissions readable
        = QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "x=1,2\n"));
    QVERIFY(QFile::setPermissions(path, readable));
    QVERIFY(QFile::setPermissions(dir.path(),
                                  readable | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                                      | QFileDevice::ExeGroup | QFileDevice::ExeOther));
    {
        const OrdinaryUser user;
        QVERIFY(user.isOrdinary());
        const Outcome outcome = update(path, false);
        QCOMPARE(outcome.rewritten, false);
        QCOMPARE(outcome.formatOk, false);
        s3File same(path);
        QVERIFY(!same.open(QIODevice::WriteOnly));
        QCOMPARE(outcome.error, same.errorText(QFileDevice::OpenError));
    }
    QCOMPARE(readFile(path), "x=1,2\n"_ba);
}

// Copies of the machine's own files, whichever there are.
void TestSettingsFiles::realFilesAreConverted()
{
    const QMap<QString, QByteArray> &files = realFiles();
    const QTemporaryDir dir;
    QVERIFY(!files.isEmpty());
    int rewritten = 0;
    int compared = 0;
    int behindOwnKeys = 0;
    int inOwnLines = 0;
    int number = 0;
    for (auto real = files.cbegin(); real != files.cend(); ++real) {
        // A name of its own for each: QSettings remembers files.
        const QString path = dir.filePath(QString::number(++number));
        const QByteArray &before = real.value();
        const QByteArray name = real.key().toUtf8();
        const char *where = name.constData();
        const PlainSettingsConversion plain = convertSettingsPlainly(before);
        QVERIFY(writeFile(path, before));
        QVERIFY2(update(path, true).formatOk == plain.formatOk, where);
        QVERIFY2(update(path, true, true).formatOk == convertSettingsPlainly(before, true).formatOk, where);
        const Outcome outcome = update(path, false);
        QVERIFY2(outcome.error.isEmpty(), where);
        QVERIFY2(outcome.formatOk, where);
        QVERIFY2(outcome.rewritten != plain.formatOk, where);
        QVERIFY2(readFile(path) == (plain.formatOk ? before : plain.bytes), where);
        QVERIFY2(plain.formatOk || update(path, true, true).formatOk, where);
        rewritten += outcome.rewritten ? 1 : 0;

        // What QSettings makes of the lines; of those with the same key, the last counts. Stray quotes and
        // backslashes join lines for it.
        if (plain.hasStrayQuotes) {
            inOwnLines += int(plain.keyLines.size());
            continue;
        }
        const QSettings settings(path, QSettings::IniFormat);
        // What ends a line for QSettings lets the rest of it begin another one.
        static const QRegularExpression stray(u"[;\"\\\\\r]"_s);
        const bool isKnown = std::none_of(plain.keyLines.cbegin(), plain.keyLines.cend(),
                                          [](const PlainSettingsConversion::KeyLine &line) {
                                              return line.key.contains(stray) || line.literal.contains(u'\r');
                                          });
        if (!isKnown) {
            inOwnLines += int(plain.keyLines.size());
            continue;
        }
        QMap<QString, const PlainSettingsConversion::KeyLine *> lastLines;
        for (const PlainSettingsConversion::KeyLine &line : plain.keyLines)
            lastLines[qtKey(line)] = &line;
        behindOwnKeys += int(plain.keyLines.size() - lastLines.size());
        for (auto last = lastLines.cbegin(); last != lastLines.cend(); ++last) {
            const PlainSettingsConversion::KeyLine &line = *last.value();
            if (last.key().isEmpty() || isReadOtherwiseByQt(line)
                || line.literal.contains(QChar::ReplacementCharacter)) {
                ++behindOwnKeys;
                continue;
            }
            const QVariant value = settings.value(last.key());
            QVERIFY2(value.typeId() == QMetaType::QString && value.toString() == line.literal,
                     qUtf8Printable(real.key() + u": "_s + last.key() + u" = "_s + line.rawValue));
            ++compared;
        }
    }
    qInfo("%d files, %d rewritten; %d values read back", int(files.size()), rewritten, compared);
    qInfo(
        "Not compared here: %d values in files whose lines QSettings divides in its own way, %d behind keys "
        "that come again or have another name for it",
        inOwnLines, behindOwnKeys);
    QVERIFY(compared > 0);
}

// The values of all real files behind keys that QSettings has no own notation for.
void TestSettingsFiles::realValuesAreReadBackByQt()
{
    const QMap<QString, QByteArray> &files = realFiles();
    const QTemporaryDir dir;
    QVERIFY(!files.isEmpty());
    const QString path = dir.filePath(u"all.ini"_s);
    QString text;
    QList<QStringList> sections;
    int leftOut = 0;
    for (const QByteArray &content : files) {
        text += u"[s%1]\n"_s.arg(sections.size());
        QStringList literals;
        for (const PlainSettingsConversion::KeyLine &line : convertSettingsPlainly(content).keyLines) {
            if (isReadOtherwiseByQt(line)) {
                ++leftOut;
                continue;
            }
            text += u"k%1="_s.arg(literals.size()) + line.rawValue + u'\n';
            literals += line.literal;
        }
        sections += literals;
    }
    QVERIFY(writeFile(path, text.toUtf8()));
    QVERIFY(update(path, false).rewritten);
    QVERIFY(update(path, true, true).formatOk);
    const QSettings settings(path, QSettings::IniFormat);
    QCOMPARE(settings.status(), QSettings::NoError);
    int compared = 0;
    for (qsizetype section = 0; section < sections.size(); ++section) {
        const QStringList &literals = sections.at(section);
        for (qsizetype key = 0; key < literals.size(); ++key) {
            const QVariant value = settings.value(u"s%1/k%2"_s.arg(section).arg(key));
            QVERIFY2(value.typeId() == QMetaType::QString, qUtf8Printable(literals.at(key)));
            QCOMPARE(value.toString(), literals.at(key));
            ++compared;
        }
    }
    qInfo("%d values of %d files read back, %d left out", compared, int(files.size()), leftOut);
    QVERIFY(compared > 0);
}

QTEST_GUILESS_MAIN(TestSettingsFiles)
#include "tst_settingsfiles.moc"
