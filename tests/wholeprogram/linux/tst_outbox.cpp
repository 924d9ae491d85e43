#include "mailreader.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The built tool with the library that comes with it, as it stands in the build tree: the mail of the
// example reaches the outbox and an independent parser reads it back field for field.
class TestOutbox final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void example();
    void sentByCommand();
    void refusedByCommand();
    void unwritableOutbox();
    void addressThatIsNone();
    void attachmentThatIsADirectory();

private:
    struct Run {
        int exitCode = -1;
        QString standardError;
    };
    Run run(const QString &zml, const QString &sendmail = QString()) const;
    Run runLines(const QByteArray &lines, const QString &sendmail = QString()) const;
    QString write(const QString &name, const QByteArray &bytes) const;
    QStringList mails() const;

    QTemporaryDir m_directory;
};

namespace
{

QString hashOf(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256).toHex());
}

}

void TestOutbox::initTestCase()
{
    QVERIFY(m_directory.isValid());
}

TestOutbox::Run TestOutbox::run(const QString &zml, const QString &sendmail) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto &name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s, u"LD_LIBRARY_PATH"_s,
                             u"QT_LOGGING_RULES"_s})
        environment.remove(name);
    if (const QString path = QStringLiteral(OSTRELLE_LIBRARY_PATH); !path.isEmpty())
        environment.insert(u"LD_LIBRARY_PATH"_s, path);
    environment.insert(u"OSTRELLE_OUTBOX"_s, m_directory.filePath(u"outbox"_s));
    environment.insert(u"OSTRELLE_SENDMAIL"_s, sendmail);
    environment.insert(u"XDG_RUNTIME_DIR"_s, m_directory.path());
    environment.insert(u"XDG_CONFIG_HOME"_s, m_directory.filePath(u"config"_s));
    environment.insert(u"XDG_CONFIG_DIRS"_s, m_directory.filePath(u"config"_s));
    QProcess tool;
    tool.setProcessEnvironment(environment);
    tool.start(QStringLiteral(OSTRELLE_TOOL), {zml});
    Run result;
    if (tool.waitForFinished(120000) && tool.exitStatus() == QProcess::NormalExit)
        result.exitCode = tool.exitCode();
    result.standardError = QString::fromUtf8(tool.readAllStandardError()).trimmed();
    return result;
}

QString TestOutbox::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(m_directory.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

TestOutbox::Run TestOutbox::runLines(const QByteArray &lines, const QString &sendmail) const
{
    return run(write(u"mail.zml"_s, "[ZERKMAIL]\n" + lines), sendmail);
}

QStringList TestOutbox::mails() const
{
    const QDir outbox(m_directory.filePath(u"outbox"_s));
    QStringList paths;
    for (const QString &name : outbox.entryList({u"*.eml"_s}, QDir::Files, QDir::Name))
        paths += outbox.filePath(name);
    return paths;
}

void TestOutbox::example()
{
    const QDir examples(QStringLiteral(OSTRELLE_EXAMPLES));
    const Run result = run(examples.filePath(u"invoice.zml"_s));
    QCOMPARE(result.standardError, QString());
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(mails().size(), 1);
    QString error;
    const QJsonArray parsed = readMails(mails(), &error);
    QVERIFY2(parsed.size() == 1, qPrintable(error));
    const QJsonObject mail = parsed[0].toObject();
    QVERIFY(mail[u"defects"_s].toArray().isEmpty());
    QVERIFY(mail[u"ascii"_s].toBool());
    QVERIFY(mail[u"dosLineEnds"_s].toBool());
    QCOMPARE(mail[u"subject"_s].toString(), u"Rechnung 4711 über 1.234,50 €"_s);
    QCOMPARE(addressesOf(mail[u"to"_s]),
             (QStringList{u"Jürgen Müller|juergen.mueller@example.com"_s, u"|buchhaltung@example.com"_s}));
    QCOMPARE(addressesOf(mail[u"cc"_s]),
             (QStringList{u"Zoë Groß|zoe.gross@example.com"_s, u"|ablage@example.com"_s}));
    QCOMPARE(addressesOf(mail[u"bcc"_s]),
             (QStringList{u"|revision@example.com"_s, u"|archiv@example.com"_s}));
    QCOMPARE(mail[u"headers"_s][u"X-Unsent"_s].toString().trimmed(), u"1"_s);

    const QJsonArray parts = mail[u"parts"_s].toArray();
    QCOMPARE(parts.size(), 3);
    QCOMPARE(parts[0][u"type"_s].toString(), u"text/plain"_s);
    QCOMPARE(parts[0][u"charset"_s].toString(), u"utf-8"_s);
    QCOMPARE(
        parts[0][u"text"_s].toString().remove(u'\r').trimmed(),
        u"Sehr geehrter Herr Müller,\n\nanbei erhalten Sie unsere Rechnung.\n"
        "Bitte überweisen Sie den Betrag bis zum 15. April.\nEinzelheiten finden Sie in den Anlagen.\n\n"
        "Mit freundlichen Grüßen\nIhr Zerk-Team\n\nZerk GmbH · Straße der Übung 5 · 12345 Musterstadt"_s);
    const QStringList names = {u"Rechnung 4711.txt"_s, u"Übersicht März.csv"_s};
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(parts[i + 1][u"disposition"_s].toString(), u"attachment"_s);
        QCOMPARE(parts[i + 1][u"filename"_s].toString(), names[i]);
        QCOMPARE(parts[i + 1][u"sha256"_s].toString(), hashOf(examples.filePath(names[i])));
    }
    QCOMPARE(parts[2][u"type"_s].toString(), u"text/csv"_s);
    QVERIFY(QFile::remove(mails().constFirst()));
}

void TestOutbox::sentByCommand()
{
    const QString command = write(
        u"sendmail"_s, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"${0}.arguments\"\ncat > \"${0}.mail\"\n");
    QVERIFY(QFile::setPermissions(command, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const Run result = runLines("SEND=1\nSUBJECT=Grüße\nTO1=a@example.org\nBODY=x\n", command);
    QCOMPARE(result.standardError, QString());
    QCOMPARE(result.exitCode, 0);
    QVERIFY(mails().isEmpty());
    QFile arguments(command + u".arguments"_s);
    QVERIFY(arguments.open(QIODevice::ReadOnly));
    QCOMPARE(arguments.readAll(), "-t\n-i\n");
    const QJsonArray parsed = readMails({command + u".mail"_s});
    QCOMPARE(parsed.size(), 1);
    QCOMPARE(parsed[0][u"subject"_s].toString(), u"Grüße"_s);
    QCOMPARE(addressesOf(parsed[0][u"to"_s]), QStringList{u"|a@example.org"_s});
}

void TestOutbox::refusedByCommand()
{
    const QString command = write(u"refusing"_s, "#!/bin/sh\nexit 77\n");
    QVERIFY(QFile::setPermissions(command, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const Run result = runLines("SEND=1\nTO1=a@example.org\n", command);
    QCOMPARE(result.exitCode, 255);
    QCOMPARE(result.standardError, u"Couldn't send email: Access denied [6]"_s);
    QVERIFY(mails().isEmpty());
}

void TestOutbox::unwritableOutbox()
{
    write(u"outbox-file"_s, "no directory");
    QDir(m_directory.path()).rmdir(u"outbox"_s);
    QVERIFY(QFile::rename(m_directory.filePath(u"outbox-file"_s), m_directory.filePath(u"outbox"_s)));
    const Run result = runLines("TO1=a@example.org\n");
    QVERIFY(QFile::remove(m_directory.filePath(u"outbox"_s)));
    QCOMPARE(result.exitCode, 255);
    QVERIFY2(result.standardError.startsWith(u"Couldn't send email: "_s), qPrintable(result.standardError));
}

void TestOutbox::addressThatIsNone()
{
    const Run result = runLines("TO1=a@example.org; b@example.org\n");
    QCOMPARE(result.exitCode, 255);
    QCOMPARE(result.standardError, u"Couldn't send email: Invalid recipients [25]"_s);
    QVERIFY(mails().isEmpty());
}

void TestOutbox::attachmentThatIsADirectory()
{
    QVERIFY(QDir(m_directory.path()).mkpath(u"folder"_s));
    const Run result = runLines("ATTACHMENT1=folder\n");
    QCOMPARE(result.exitCode, 255);
    QCOMPARE(result.standardError, u"Couldn't send email: Attachment open failure [12]"_s);
    QVERIFY(mails().isEmpty());
}

QTEST_GUILESS_MAIN(TestOutbox)
#include "tst_outbox.moc"
