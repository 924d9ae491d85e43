#include "mailreader.h"
#include "screen.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/types.h>

using namespace Qt::StringLiterals;

// The built tool, the library that comes with it and a real Thunderbird, as a user has them: a home of its
// own, the client as its default, a display. What the compose window holds is seen by letting Thunderbird
// save it as a draft, which an independent parser reads.
class TestThunderbird final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void compose_data();
    void compose();
    void directSend();

private:
    struct Run {
        int exitCode = -1;
        QByteArray standardError;
    };
    QString path(const QString &name) const { return m_directory.filePath(name); }
    void write(const QString &name, const QByteArray &bytes) const;
    QByteArray read(const QString &name) const;
    Run run(const QByteArray &lines) const;
    QString composeWindow(const QString &subject) const;
    QJsonObject savedDraft(const QString &subject) const;
    QByteArray protocol() const;
    QList<pid_t> clients() const;

    QTemporaryDir m_directory;
    QProcess m_bus;
    Screen m_screen;
    QProcessEnvironment m_environment;
};

namespace
{

// The first start of Thunderbird on a busy machine.
constexpr int patienceMs = 300000;

const QString firstName = u"a, b 'c' \"d\" ü € 😀 %41.txt"_s;
const QString secondName = u"zwei ;+&=#',attachment='x.csv"_s;
const QByteArray firstContents = "first\nfile\n";
const QByteArray secondContents = "second;file\r\n";

// One account, so that no assistant comes up, nothing that asks or fetches, English, plain text.
constexpr char profile[] = R"(
user_pref("mail.accountmanager.accounts", "account1,account2");
user_pref("mail.accountmanager.defaultaccount", "account1");
user_pref("mail.accountmanager.localfoldersserver", "server2");
user_pref("mail.account.account1.identities", "id1");
user_pref("mail.account.account1.server", "server1");
user_pref("mail.account.account2.server", "server2");
user_pref("mail.account.lastKey", 2);
user_pref("mail.identity.id1.fullName", "Test");
user_pref("mail.identity.id1.useremail", "test@example.org");
user_pref("mail.identity.id1.smtpServer", "smtp1");
user_pref("mail.identity.id1.valid", true);
user_pref("mail.identity.id1.compose_html", false);
user_pref("mail.identity.id1.draft_folder", "mailbox://nobody@Local%20Folders/Drafts");
user_pref("mail.server.server1.type", "pop3");
user_pref("mail.server.server1.hostname", "mail.invalid");
user_pref("mail.server.server1.userName", "test");
user_pref("mail.server.server1.name", "test@example.org");
user_pref("mail.server.server1.check_new_mail", false);
user_pref("mail.server.server1.login_at_startup", false);
user_pref("mail.server.server1.download_on_biff", false);
user_pref("mail.server.server2.type", "none");
user_pref("mail.server.server2.hostname", "Local Folders");
user_pref("mail.server.server2.userName", "nobody");
user_pref("mail.server.server2.name", "Local Folders");
user_pref("mail.server.server2.directory-rel", "[ProfD]Mail/Local Folders");
user_pref("mail.smtpservers", "smtp1");
user_pref("mail.smtp.defaultserver", "smtp1");
user_pref("mail.smtpserver.smtp1.hostname", "mail.invalid");
user_pref("mail.provider.suppress_dialog_on_startup", true);
user_pref("mail.shell.checkDefaultClient", false);
user_pref("mail.spotlight.firstRunDone", true);
user_pref("mail.rights.version", 1);
user_pref("mail.compose.attachment_reminder", false);
user_pref("mail.compose.autosave", false);
user_pref("mail.spellcheck.inline", false);
user_pref("mailnews.start_page.enabled", false);
user_pref("mailnews.start_page_override.mstone", "ignore");
user_pref("app.update.enabled", false);
user_pref("app.donation.eoy.version.viewed", 9999);
user_pref("datareporting.policy.dataSubmissionPolicyBypassNotification", true);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("extensions.update.enabled", false);
user_pref("intl.locale.requested", "en-US");
user_pref("offline.startup_state", 3);
user_pref("offline.autoDetect", false);
)";

// Nobody is on this bus but whom the suite starts.
constexpr char busSettings[]
    = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
    <allow own="*"/></policy>
</busconfig>
)";

QString hashOf(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

QStringList linesOf(const QString &text)
{
    QStringList lines = text.split(u'\n');
    for (QString &line : lines)
        line = line.trimmed();
    while (!lines.isEmpty() && lines.constLast().isEmpty())
        lines.removeLast();
    return lines;
}

QStringList fileNamesOf(const QJsonObject &mail)
{
    QStringList names;
    const QJsonArray parts = mail[u"parts"_s].toArray();
    for (const QJsonValue &part : parts) {
        if (part[u"disposition"_s].toString() == u"attachment")
            names += part[u"filename"_s].toString();
    }
    return names;
}

}

void TestThunderbird::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(path(name));
    if (!QDir().mkpath(QFileInfo(file).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
}

QByteArray TestThunderbird::read(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestThunderbird::initTestCase()
{
    for (const auto &program : {u"thunderbird"_s, u"Xvfb"_s, u"xdotool"_s, u"dbus-daemon"_s}) {
        if (QStandardPaths::findExecutable(program).isEmpty())
            QSKIP(qPrintable(program + u" is not installed (scripts/setup-linux desktop)"_s));
    }
    if (QStandardPaths::locate(QStandardPaths::ApplicationsLocation, u"thunderbird.desktop"_s).isEmpty())
        QSKIP("this Thunderbird has no desktop entry thunderbird.desktop");
    QVERIFY(m_directory.isValid());
    QVERIFY2(m_screen.start(), "Xvfb does not start");

    write(u"bus.conf"_s, busSettings);
    Screen::endWithSuite(m_bus);
    m_bus.start(u"dbus-daemon"_s,
                {u"--nofork"_s, u"--print-address"_s, u"--config-file="_s + path(u"bus.conf"_s)});
    QVERIFY2(m_bus.waitForReadyRead(60000), m_bus.readAllStandardError().constData());
    const QString address = QString::fromLatin1(m_bus.readLine().trimmed());
    QVERIFY(!address.isEmpty());

    write(u"home/.thunderbird/profiles.ini"_s,
          "[Profile0]\nName=test\nIsRelative=1\nPath=test\nDefault=1\n\n[General]\nStartWithLastProfile=1\n");
    write(u"home/.thunderbird/test/user.js"_s, profile);
    write(u"config/mimeapps.list"_s,
          "[Default Applications]\nx-scheme-handler/mailto=thunderbird.desktop\n"
          "message/rfc822=thunderbird.desktop\n");
    write(firstName, firstContents);
    write(secondName, secondContents);
    QVERIFY(QDir(m_directory.path()).mkdir(u"runtime"_s));
    QVERIFY(
        QFile::setPermissions(path(u"runtime"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

    m_environment = QProcessEnvironment::systemEnvironment();
    const QStringList names = m_environment.keys();
    for (const QString &name : names) {
        if (name.startsWith(u"OSTRELLE_"_s) || name.startsWith(u"MOZ_"_s))
            m_environment.remove(name);
    }
    for (const auto &name :
         {u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s, u"LD_LIBRARY_PATH"_s, u"QT_LOGGING_RULES"_s,
          u"XDG_CURRENT_DESKTOP"_s, u"XAUTHORITY"_s, u"FLATPAK_ID"_s, u"SNAP_NAME"_s})
        m_environment.remove(name);
    m_environment.insert(u"HOME"_s, path(u"home"_s));
    m_environment.insert(u"XDG_CONFIG_HOME"_s, path(u"config"_s));
    m_environment.insert(u"XDG_CONFIG_DIRS"_s, path(u"etc"_s));
    m_environment.insert(u"XDG_DATA_HOME"_s, path(u"data"_s));
    m_environment.insert(u"XDG_CACHE_HOME"_s, path(u"cache"_s));
    m_environment.insert(u"XDG_RUNTIME_DIR"_s, path(u"runtime"_s));
    m_environment.insert(u"DISPLAY"_s, m_screen.display());
    m_environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
    m_environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    m_environment.insert(u"GIO_USE_VFS"_s, u"local"_s);
    // The profile of profiles.ini, and not one for each place that Thunderbird is installed in.
    m_environment.insert(u"MOZ_LEGACY_PROFILES"_s, u"1"_s);
    m_environment.insert(u"MOZ_CRASHREPORTER_DISABLE"_s, u"1"_s);
    m_environment.insert(u"OSTRELLE_SENDMAIL"_s, path(u"sendmail"_s));
    m_environment.insert(u"OSTRELLE_MAPI_LOG"_s, path(u"mapi.log"_s));
    write(u"sendmail"_s, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"${0}.arguments\"\ncat > \"${0}.mail\"\n");
    QVERIFY(
        QFile::setPermissions(path(u"sendmail"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

// Every process with the home of this suite; Thunderbird is no child of it.
QList<pid_t> TestThunderbird::clients() const
{
    const QByteArray home = "HOME=" + QFile::encodeName(path(u"home"_s));
    QList<pid_t> found;
    const QStringList names = QDir(u"/proc"_s).entryList(QDir::Dirs);
    for (const QString &name : names) {
        bool isNumber = false;
        const pid_t process = name.toInt(&isNumber);
        QFile file(u"/proc/"_s + name + u"/environ"_s);
        if (isNumber && file.open(QIODevice::ReadOnly) && file.readAll().split('\0').contains(home))
            found += process;
    }
    return found;
}

void TestThunderbird::cleanupTestCase()
{
    for (const int signal : {SIGTERM, SIGKILL}) {
        const QList<pid_t> left = clients();
        for (const pid_t process : left)
            kill(process, signal);
        // Thunderbird writes its profile when it is asked to go.
        (void)QTest::qWaitFor([this] { return clients().isEmpty(); }, 60000);
    }
    QVERIFY(clients().isEmpty());
    QVERIFY(m_screen.stop());
    m_bus.terminate();
    QVERIFY(m_bus.state() == QProcess::NotRunning || m_bus.waitForFinished(60000));
}

TestThunderbird::Run TestThunderbird::run(const QByteArray &lines) const
{
    write(u"mail.zml"_s, "[ZERKMAIL]\n" + lines);
    QProcess tool;
    tool.setProcessEnvironment(m_environment);
    // A file and no pipe: what the tool leaves behind may go on writing.
    tool.setStandardErrorFile(path(u"errors"_s));
    tool.setStandardOutputFile(QProcess::nullDevice());
    tool.start(QStringLiteral(OSTRELLE_TOOL), {path(u"mail.zml"_s)});
    Run result;
    if (tool.waitForFinished(patienceMs) && tool.exitStatus() == QProcess::NormalExit)
        result.exitCode = tool.exitCode();
    result.standardError = read(u"errors"_s);
    return result;
}

QByteArray TestThunderbird::protocol() const
{
    return "errors: " + read(u"errors"_s) + "\nlog: " + read(u"mapi.log"_s);
}

// The id of the compose window with this subject in its title; empty when there is none.
QString TestThunderbird::composeWindow(const QString &subject) const
{
    const QByteArrayList ids
        = m_screen.xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Write: "_s}).split('\n');
    for (const QByteArray &id : ids) {
        if (id.isEmpty())
            continue;
        const QString window = QString::fromLatin1(id);
        const QString title = QString::fromUtf8(m_screen.xdotool({u"getwindowname"_s, window}));
        if (title.startsWith(u"Write: "_s + subject + u" - "_s))
            return window;
    }
    return {};
}

// The last draft with this subject; empty when there is none that is written to its end.
QJsonObject TestThunderbird::savedDraft(const QString &subject) const
{
    // One after the other, each behind a line of its own; a new save makes the older one invalid.
    const QByteArray folder = read(u"home/.thunderbird/test/Mail/Local Folders/Drafts"_s);
    const qsizetype start = std::max<qsizetype>(folder.lastIndexOf("\nFrom - ") + 1, 0);
    const qsizetype head = folder.indexOf('\n', start);
    if (!folder.startsWith("From - ") || head < 0)
        return {};
    write(u"draft.eml"_s, folder.mid(head + 1));
    const QJsonArray parsed = readMails({path(u"draft.eml"_s)});
    const QJsonObject mail = parsed.isEmpty() ? QJsonObject() : parsed[0].toObject();
    // A mail with attachments that is still being written has no end yet.
    const bool isWhole = !mail[u"defects"_s].toArray().contains(u"CloseBoundaryNotFoundDefect"_s);
    return isWhole && mail[u"subject"_s].toString() == subject ? mail : QJsonObject();
}

void TestThunderbird::compose_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("attachments");
    QTest::addColumn<bool>("receipt");

    const QString hostile
        = u"Grüße 😀 <b>, 100 % & \"x\" %41 +',attachment='file:///etc/passwd',to='x@example.org"_s;
    QString longText;
    for (int i = 0; i < 4000; ++i)
        longText += u"line %1 of a text that no command line can carry, äöü €\n"_s.arg(i);
    write(u"long.txt"_s, longText.toUtf8());

    QTest::newRow("two attachments, cold start")
        << "ATTACHMENT1=" + firstName.toUtf8() + "\nATTACHMENT2=" + secondName.toUtf8()
            + "\nBODY=Guten Tag;;ü €\n"
        << u"Rechnung 4711 über 1.234,50 €"_s << u"Guten Tag\n\nü €"_s << QStringList{firstName, secondName}
        << false;
    // Lines that Thunderbird does not wrap.
    const QString hostileText
        = u"Grüße 😀 <b>, 100 % & \"x\" %41 +',to='x@example.org\n',attachment='file:///etc/passwd'"_s;
    QTest::newRow("text that looks like options")
        << "BODYZ1=" + hostileText.toUtf8().replace('\n', "\nBODYZ2=") + "\n"
        << hostile << hostileText << QStringList() << false;
    QTest::newRow("read receipt") << QByteArray("READRECEIPT=1\nBODY=bitte bestätigen\n") << u"Mit Quittung"_s
                                  << u"bitte bestätigen"_s << QStringList() << true;
    QTest::newRow("long text") << QByteArray("BODYFILE=long.txt\n") << u"Lang"_s << longText << QStringList()
                               << false;
}

void TestThunderbird::compose()
{
    QFETCH(QByteArray, lines);
    QFETCH(QString, subject);
    QFETCH(QString, text);
    QFETCH(QStringList, attachments);
    QFETCH(bool, receipt);

    const Run result = run("SUBJECT=" + subject.toUtf8()
                           + "\nTO1=Jürgen Müller <juergen@example.com>\nTO2=b@example.com\n"
                             "CC1=Zoë Groß <zoe@example.com>\nBCC1=geheim@example.com\n"
                           + lines);
    QVERIFY2(result.exitCode == 0, protocol().constData());

    QString window;
    QVERIFY2(QTest::qWaitFor([&] { return !(window = composeWindow(subject)).isEmpty(); }, patienceMs),
             ("no compose window; " + protocol()).constData());

    // Ctrl+S saves the draft. A window that is not ready yet does not hear it, or is still being filled.
    QJsonObject draft;
    QElapsedTimer timer;
    timer.start();
    const auto isFilled = [&] {
        draft = savedDraft(subject);
        return fileNamesOf(draft).size() >= attachments.size() && !draft[u"bcc"_s].toArray().isEmpty()
            && linesOf(draft[u"parts"_s][0][u"text"_s].toString()) == linesOf(text);
    };
    do {
        (void)m_screen.xdotool({u"windowfocus"_s, window, u"key"_s, u"--window"_s, u"0"_s, u"ctrl+s"_s});
    } while (!QTest::qWaitFor(isFilled, 5000) && timer.elapsed() < patienceMs);
    QVERIFY2(!draft.isEmpty(), "no draft was saved");

    QCOMPARE(addressesOf(draft[u"to"_s]),
             (QStringList{u"Jürgen Müller|juergen@example.com"_s, u"|b@example.com"_s}));
    QCOMPARE(addressesOf(draft[u"cc"_s]), QStringList{u"Zoë Groß|zoe@example.com"_s});
    QCOMPARE(addressesOf(draft[u"bcc"_s]), QStringList{u"|geheim@example.com"_s});
    QCOMPARE(draft[u"headers"_s][u"X-Mozilla-Draft-Info"_s].toString().contains(u"receipt=1"_s), receipt);
    const QJsonArray parts = draft[u"parts"_s].toArray();
    QCOMPARE(parts.size(), attachments.size() + 1);
    QCOMPARE(parts[0][u"type"_s].toString(), u"text/plain"_s);
    QCOMPARE(linesOf(parts[0][u"text"_s].toString()), linesOf(text));
    QCOMPARE(fileNamesOf(draft), attachments);
    for (int i = 0; i < attachments.size(); ++i)
        QCOMPARE(parts[i + 1][u"sha256"_s].toString(), hashOf(i == 0 ? firstContents : secondContents));

    // Closed, so that the next row finds its own.
    timer.restart();
    do {
        (void)m_screen.xdotool({u"windowfocus"_s, window, u"key"_s, u"--window"_s, u"0"_s, u"ctrl+w"_s});
    } while (!QTest::qWaitFor([&] { return composeWindow(subject).isEmpty(); }, 5000)
             && timer.elapsed() < patienceMs);
    QVERIFY(composeWindow(subject).isEmpty());
    // The user's own mail client has it, nobody else.
    QVERIFY(!QFile::exists(path(u"sendmail.mail"_s)));
}

void TestThunderbird::directSend()
{
    const QString subject = u"Ohne Fenster"_s;
    const Run result = run("SEND=1\nSUBJECT=" + subject.toUtf8() + "\nTO1=a@example.com\nATTACHMENT1="
                           + firstName.toUtf8() + "\nATTACHMENT2=" + secondName.toUtf8() + "\nBODY=x\n");
    QVERIFY2(result.exitCode == 0, protocol().constData());
    QCOMPARE(read(u"sendmail.arguments"_s), "-t\n-i\n");
    const QJsonArray parsed = readMails({path(u"sendmail.mail"_s)});
    QCOMPARE(parsed.size(), 1);
    const QJsonObject mail = parsed[0].toObject();
    QCOMPARE(mail[u"subject"_s].toString(), subject);
    QCOMPARE(addressesOf(mail[u"to"_s]), QStringList{u"|a@example.com"_s});
    QCOMPARE(fileNamesOf(mail), (QStringList{firstName, secondName}));
    const QJsonArray parts = mail[u"parts"_s].toArray();
    QCOMPARE(parts[1][u"sha256"_s].toString(), hashOf(firstContents));
    QCOMPARE(parts[2][u"sha256"_s].toString(), hashOf(secondContents));
    QVERIFY(composeWindow(subject).isEmpty());
}

QTEST_GUILESS_MAIN(TestThunderbird)
#include "tst_thunderbird.moc"
