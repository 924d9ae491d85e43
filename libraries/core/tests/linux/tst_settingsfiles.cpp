#include "ostrelletest/filecontent.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/plainsettingsconversion.h"
#include "ostrelletest/smallvolume.h"
#include "s3file.h"
#include "s3settingsprivate.h"
#include "s3settingsprivate_p.h"

#include <QDir>
#include <QDirIterator>
#include <QMap>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

// A file that can be read up to some block: from then on its descriptor is that of a directory.
class InterruptedFile final : public s3File
{
public:
    InterruptedFile(const QString &fileName, int goodBlocks) : s3File(fileName), m_goodBlocks(goodBlocks) { }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        if (m_goodBlocks-- == 0) {
            const int directory = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            if (directory < 0 || ::dup2(directory, handle()) < 0 || ::close(directory) != 0)
                qFatal("cannot put a directory in the place of the file");
        }
        return s3File::readData(data, maxSize);
    }

private:
    int m_goodBlocks;
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

// Every settings file of the machine that can be read, by its path.
QMap<QString, QByteArray> realFiles()
{
    QMap<QString, QByteArray> files;
    for (const QString &root : {u"/etc"_s, u"/usr/share"_s}) {
        QDirIterator found(root, {u"*.ini"_s, u"*.conf"_s, u"*.cfg"_s, u"*.desktop"_s}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (found.hasNext()) {
            QFile file(found.next());
            if (file.open(QIODevice::ReadOnly))
                files.insert(file.fileName(), file.readAll());
        }
    }
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

// The conversion on what only a Linux machine has to offer.
class TestSettingsFiles final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readErrorBeforeAnyChange_data();
    void readErrorBeforeAnyChange();
    void readErrorBehindAChange();
    void readErrorBehindTheEndOfACheck();
    void fullVolume();
    void foreignReadOnlyFile();
    void realFilesAreConverted();
    void realValuesAreReadBackByQt();
};

void TestSettingsFiles::readErrorBeforeAnyChange_data()
{
    QTest::addColumn<int>("goodBlocks");
    QTest::addColumn<bool>("checkOnly");
    QTest::newRow("at once") << 0 << false;
    QTest::newRow("at once, check") << 0 << true;
    QTest::newRow("in the middle") << 2 << false;
    QTest::newRow("in the middle, check") << 2 << true;
}

void TestSettingsFiles::readErrorBeforeAnyChange()
{
    QFETCH(const int, goodBlocks);
    QFETCH(const bool, checkOnly);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    const QByteArray content = QByteArray("key = value\n").repeated(10000) + "x=1,2\n";
    QVERIFY(writeFile(path, content));
    InterruptedFile file(path, goodBlocks);
    bool formatOk = false;
    QString error;
    QVERIFY(!s3UpdateSettingsFormat(file, checkOnly, false, formatOk, error));
    QCOMPARE(formatOk, true);
    QVERIFY2(error.startsWith(u"Ein-/Ausgabefehler beim Lesen der Datei %1.\n"_s.arg(path)),
             qPrintable(error));
    QVERIFY(readFile(path) == content);
}

void TestSettingsFiles::readErrorBehindAChange()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    const QByteArray rest = QByteArray("key=value\n").repeated(10000);
    QVERIFY(writeFile(path, "x=1,2\n" + rest));
    InterruptedFile file(path, 2);
    bool formatOk = false;
    QString error;
    QVERIFY(s3UpdateSettingsFormat(file, false, false, formatOk, error));
    QCOMPARE(formatOk, true);
    QVERIFY2(error.startsWith(u"Ein-/Ausgabefehler beim Lesen der Datei %1.\n"_s.arg(path)),
             qPrintable(error));
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
    InterruptedFile file(path, 2);
    bool formatOk = true;
    QString error = u"left over"_s;
    QVERIFY(!s3UpdateSettingsFormat(file, true, false, formatOk, error));
    QCOMPARE(formatOk, false);
    QCOMPARE(error, QString());
}

void TestSettingsFiles::fullVolume()
{
    const QTemporaryDir dir;
    const SmallVolume volume(dir.path(), 65536);
    if (!volume.isMounted())
        QSKIP("A full volume needs the right to mount.");
    for (const int size : {40000, 60000}) {
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
    const QMap<QString, QByteArray> files = realFiles();
    const QTemporaryDir dir;
    QVERIFY(!files.isEmpty());
    int rewritten = 0;
    int compared = 0;
    int number = 0;
    for (auto real = files.cbegin(); real != files.cend(); ++real) {
        // A name of its own for each: QSettings remembers files.
        const QString path = dir.filePath(QString::number(++number));
        const QByteArray &before = real.value();
        const char *where = qUtf8Printable(real.key());
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

        // What QSettings makes of the lines. Stray quotes and backslashes join lines for it.
        if (plain.hasStrayQuotes)
            continue;
        QMap<QString, int> uses;
        for (const PlainSettingsConversion::KeyLine &line : plain.keyLines)
            ++uses[qtKey(line).toLower()];
        const QSettings settings(path, QSettings::IniFormat);
        // What ends a line for QSettings lets the rest of it begin another one.
        static const QRegularExpression stray(u"[;\"\\\\\r]"_s);
        const bool isKnown = std::none_of(plain.keyLines.cbegin(), plain.keyLines.cend(),
                                          [](const PlainSettingsConversion::KeyLine &line) {
                                              return line.key.contains(stray) || line.literal.contains(u'\r');
                                          });
        if (!isKnown)
            continue;
        for (const PlainSettingsConversion::KeyLine &line : plain.keyLines) {
            const QString key = qtKey(line);
            if (key.isEmpty() || uses.value(key.toLower()) != 1 || isReadOtherwiseByQt(line)
                || line.literal.contains(QChar::ReplacementCharacter))
                continue;
            const QVariant value = settings.value(key);
            QVERIFY2(value.typeId() == QMetaType::QString && value.toString() == line.literal,
                     qUtf8Printable(real.key() + u": "_s + key + u" = "_s + line.rawValue));
            ++compared;
        }
    }
    qInfo("%d files, %d rewritten, %d values read back", int(files.size()), rewritten, compared);
    QVERIFY(compared > 0);
}

// The values of all real files behind keys that QSettings has no own notation for.
void TestSettingsFiles::realValuesAreReadBackByQt()
{
    const QMap<QString, QByteArray> files = realFiles();
    const QTemporaryDir dir;
    QVERIFY(!files.isEmpty());
    const QString path = dir.filePath(u"all.ini"_s);
    QString text;
    QList<QStringList> sections;
    for (const QByteArray &content : files) {
        text += u"[s%1]\n"_s.arg(sections.size());
        QStringList literals;
        for (const PlainSettingsConversion::KeyLine &line : convertSettingsPlainly(content).keyLines) {
            if (isReadOtherwiseByQt(line))
                continue;
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
    qInfo("%d values of %d files read back", compared, int(files.size()));
    QVERIFY(compared > 0);
}

QTEST_GUILESS_MAIN(TestSettingsFiles)
#include "tst_settingsfiles.moc"
