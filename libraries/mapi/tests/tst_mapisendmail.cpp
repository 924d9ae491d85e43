#include "childprocess.h"
#include "failure.h"
#include "forkedcall.h"
#include "sendmail.h"

#include <ostrelletest/scopedenvironment.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <string>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::string_literals;
using namespace std::chrono_literals;

namespace
{

std::string native(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

mapi::Mail smallMail()
{
    mapi::Mail mail;
    mail.to = {{"", "max@example.org"}};
    mail.subject = "Hello";
    mail.noteText = "one\n.\ntwo\n";
    return mail;
}

ULONG sendResult(const mapi::Mail &mail, const std::string &program, std::chrono::seconds limit = 30s)
{
    try {
        mapi::sendThroughSendmail(mail, program, limit);
    } catch (const mapi::Failure &failure) {
        return failure.code();
    }
    return SUCCESS_SUCCESS;
}

}

class TestMapiSendmail final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void found();
    void configured();
    void configuredWrongly_data();
    void configuredWrongly();
    void relativePathEntriesAreSkipped();
    void timeLimit_data();
    void timeLimit();
    void messageAndArguments();
    void noRecipients();
    void exitStatus_data();
    void exitStatus();
    void diesOfASignal();
    void doesNotRead();
    void hangs();
    void hangsWithChildren();
    void ignoresTheRequestToEnd();
    void writesMuch();
    void leavesAChildBehind();
    void cannotBeStarted();
    void vanishedInterpreter();
    void getsNoOtherDescriptors();
    void getsDefaultSignals();
    void hostIgnoresItsChildren();
    void hostClosedItsStandardStreams();
    void temporaryDirectoryIsFull();
    void missingTemporaryDirectory();
    void failingAttachmentSendsNothing();
    void standardErrorIsKept();
    void runsAtOnce();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_dir->filePath(name); }
    // An executable script; its path.
    std::string script(const QByteArray &body, const QString &name = u"sendmail"_s) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly))
            return {};
        file.write("#!/bin/sh\n" + body);
        file.close();
        ::chmod(native(file.fileName()).c_str(), 0755);
        return native(file.fileName());
    }
    [[nodiscard]] QByteArray content(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QByteArray quoted(const QString &name) const
    {
        return "'" + QFile::encodeName(path(name)) + "'";
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestMapiSendmail::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    ::chmod(native(m_dir->path()).c_str(), 0755);
}

void TestMapiSendmail::found()
{
    const ScopedEnvironment none("OSTRELLE_SENDMAIL", QByteArray());
    if (QFile::exists(u"/usr/sbin/sendmail"_s) || QFile::exists(u"/usr/lib/sendmail"_s)) {
        QVERIFY(mapi::findSendmail().has_value());
        return;
    }
    const ScopedEnvironment emptyPath("PATH", QFile::encodeName(path(u"nowhere"_s)));
    QCOMPARE(mapi::findSendmail(), std::optional<std::string>());
    QVERIFY(QDir(m_dir->path()).mkdir(u"first"_s) && QDir(m_dir->path()).mkdir(u"second"_s));
    QVERIFY(QDir(m_dir->path()).mkdir(u"first/sendmail"_s)); // a directory is no command
    const std::string program = script("exit 0\n", u"second/sendmail"_s);
    const ScopedEnvironment search(
        "PATH", QFile::encodeName(path(u"first"_s)) + ":" + QFile::encodeName(path(u"second"_s)));
    QCOMPARE(mapi::findSendmail(), std::optional(program));
}

void TestMapiSendmail::configured()
{
    const std::string program = script("exit 0\n", u"my mail"_s);
    const ScopedEnvironment own("OSTRELLE_SENDMAIL", QByteArray::fromStdString(program));
    QCOMPARE(mapi::findSendmail(), std::optional(program));
    const ScopedEnvironment empty("OSTRELLE_SENDMAIL", "");
    QCOMPARE(mapi::findSendmail(), std::optional<std::string>());
}

void TestMapiSendmail::configuredWrongly_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("missing") << QByteArray("/nowhere/sendmail");
    QTest::newRow("relative") << QByteArray("sendmail");
    QTest::newRow("directory") << QByteArray("/");
    QTest::newRow("with arguments") << QByteArray("/bin/cat -n");
    QTest::newRow("not executable") << QByteArray("/etc/passwd");
}

void TestMapiSendmail::configuredWrongly()
{
    QFETCH(QByteArray, value);
    const ScopedEnvironment own("OSTRELLE_SENDMAIL", value);
    try {
        static_cast<void>(mapi::findSendmail());
        QFAIL("a wrong setting was passed over");
    } catch (const mapi::Failure &failure) {
        QCOMPARE(failure.code(), MAPI_E_FAILURE);
    }
}

void TestMapiSendmail::relativePathEntriesAreSkipped()
{
    if (QFile::exists(u"/usr/sbin/sendmail"_s) || QFile::exists(u"/usr/lib/sendmail"_s))
        QSKIP("This machine has a sendmail in its fixed place, so PATH is not asked.");
    script("exit 0\n");
    const QString saved = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_dir->path()));
    const ScopedEnvironment none("OSTRELLE_SENDMAIL", QByteArray());
    const ScopedEnvironment search("PATH", ":.::");
    const auto result = mapi::findSendmail();
    QDir::setCurrent(saved);
    QCOMPARE(result, std::optional<std::string>());
}

void TestMapiSendmail::timeLimit_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("not set") << QByteArray() << 600;
    QTest::newRow("empty") << QByteArray("") << 600;
    QTest::newRow("set") << QByteArray("5") << 5;
    QTest::newRow("longest") << QByteArray("86400") << 86400;
    QTest::newRow("too long") << QByteArray("86401") << 600;
    QTest::newRow("zero") << QByteArray("0") << 600;
    QTest::newRow("negative") << QByteArray("-1") << 600;
    QTest::newRow("overflow") << QByteArray("99999999999999999999") << 600;
    QTest::newRow("unit") << QByteArray("5s") << 600;
}

void TestMapiSendmail::timeLimit()
{
    QFETCH(QByteArray, value);
    QFETCH(int, expected);
    const ScopedEnvironment limit("OSTRELLE_SENDMAIL_TIMEOUT", value);
    QCOMPARE(mapi::sendmailTimeLimit().count(), expected);
}

void TestMapiSendmail::messageAndArguments()
{
    const std::string program = script("for a in \"$@\"; do echo \"$a\"; done > " + quoted(u"args"_s)
                                       + "; cat > " + quoted(u"mail"_s) + "\n");
    mapi::Mail mail = smallMail();
    mail.bcc = {{"Secret", "secret@example.org"}};
    QCOMPARE(sendResult(mail, program), SUCCESS_SUCCESS);
    QCOMPARE(content(u"args"_s), QByteArray("-t\n-i\n"));
    const QByteArray text = content(u"mail"_s);
    QVERIFY(text.contains("To: max@example.org\n"));
    QVERIFY(text.contains("Bcc: Secret <secret@example.org>\n"));
    QVERIFY(text.contains("Date: "));
    QVERIFY(text.contains("Message-Id: ") || text.contains("Message-ID: "));
    QVERIFY(!text.contains("From: "));
    QVERIFY(!text.contains("X-Unsent"));
    QVERIFY(!text.contains('\r'));
    QVERIFY(text.endsWith('\n'));
}

void TestMapiSendmail::noRecipients()
{
    const std::string program = script("touch " + quoted(u"started"_s) + "\n");
    mapi::Mail mail = smallMail();
    mail.to.clear();
    QCOMPARE(sendResult(mail, program), MAPI_E_UNKNOWN_RECIPIENT);
    QVERIFY(!QFile::exists(path(u"started"_s)));
    mail.bcc = {{"", "a@x"}};
    QCOMPARE(sendResult(mail, program), SUCCESS_SUCCESS);
    QVERIFY(QFile::exists(path(u"started"_s)));
}

void TestMapiSendmail::exitStatus_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<ULONG>("expected");
    QTest::newRow("0") << 0 << SUCCESS_SUCCESS;
    QTest::newRow("1") << 1 << MAPI_E_FAILURE;
    QTest::newRow("65") << 65 << MAPI_E_INVALID_MESSAGE;
    QTest::newRow("67") << 67 << MAPI_E_UNKNOWN_RECIPIENT;
    QTest::newRow("75") << 75 << MAPI_E_NETWORK_FAILURE;
    QTest::newRow("77") << 77 << MAPI_E_ACCESS_DENIED;
    QTest::newRow("78") << 78 << MAPI_E_LOGON_FAILURE;
    QTest::newRow("255") << 255 << MAPI_E_FAILURE;
}

void TestMapiSendmail::exitStatus()
{
    QFETCH(int, status);
    QFETCH(ULONG, expected);
    QCOMPARE(sendResult(smallMail(), script("cat > /dev/null; exit " + QByteArray::number(status) + "\n")),
             expected);
}

void TestMapiSendmail::diesOfASignal()
{
    QCOMPARE(sendResult(smallMail(), script("kill -SEGV $$\n")), MAPI_E_FAILURE);
    QCOMPARE(sendResult(smallMail(), script("kill -KILL $$\n")), MAPI_E_FAILURE);
}

void TestMapiSendmail::doesNotRead()
{
    // Far more than any pipe holds.
    mapi::Mail mail = smallMail();
    mail.noteText.assign(std::size_t(8) * 1024 * 1024, 'x');
    QCOMPARE(sendResult(mail, script("exit 75\n")), MAPI_E_NETWORK_FAILURE);
    QCOMPARE(sendResult(mail, script("exec 0<&-; exit 67\n")), MAPI_E_UNKNOWN_RECIPIENT);
    QCOMPARE(sendResult(mail, script("head -c 10 > /dev/null; exit 65\n")), MAPI_E_INVALID_MESSAGE);
}

void TestMapiSendmail::hangs()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(sendResult(smallMail(), script("exec sleep 60\n"), 1s), MAPI_E_NETWORK_FAILURE);
    QVERIFY(timer.elapsed() >= 1000);
    QVERIFY2(timer.elapsed() < 10000, "the limit was not kept");
}

void TestMapiSendmail::hangsWithChildren()
{
    const std::string program = script("sleep 60 & echo $! > " + quoted(u"pid"_s) + "; wait\n");
    QCOMPARE(sendResult(smallMail(), program, 1s), MAPI_E_NETWORK_FAILURE);
    const pid_t child = content(u"pid"_s).trimmed().toInt();
    QVERIFY(child > 0);
    QTRY_VERIFY(::kill(child, 0) != 0
                || QFile(u"/proc/%1/stat"_s.arg(child)).open(QIODevice::ReadOnly) == false || [&] {
                       QFile stat(u"/proc/%1/stat"_s.arg(child));
                       return stat.open(QIODevice::ReadOnly) && stat.readAll().contains(") Z");
                   }());
}

void TestMapiSendmail::ignoresTheRequestToEnd()
{
    QElapsedTimer timer;
    timer.start();
    const std::string program = script("trap '' TERM\nwhile :; do sleep 1; done\n");
    QCOMPARE(sendResult(smallMail(), program, 1s), MAPI_E_NETWORK_FAILURE);
    QVERIFY2(timer.elapsed() < 10000, "the command was not ended");
}

void TestMapiSendmail::writesMuch()
{
    // More than a pipe holds, on both streams.
    const std::string program
        = script("head -c 5000000 /dev/zero; head -c 5000000 /dev/zero >&2; cat > /dev/null; exit 77\n");
    QCOMPARE(sendResult(smallMail(), program), MAPI_E_ACCESS_DENIED);
}

void TestMapiSendmail::leavesAChildBehind()
{
    // As a command does that delivers in the background: its child keeps standard error open.
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(sendResult(smallMail(), script("sleep 20 &\nexit 0\n")), SUCCESS_SUCCESS);
    QVERIFY2(timer.elapsed() < 10000, "waited for the child of the command");
}

void TestMapiSendmail::cannotBeStarted()
{
    QCOMPARE(sendResult(smallMail(), "/nowhere/sendmail"), MAPI_E_FAILURE);
    const std::string program = script("exit 0\n");
    ::chmod(program.c_str(), 0644);
    QCOMPARE(sendResult(smallMail(), program), MAPI_E_ACCESS_DENIED);
    QCOMPARE(sendResult(smallMail(), native(m_dir->path())), MAPI_E_ACCESS_DENIED);
}

void TestMapiSendmail::vanishedInterpreter()
{
    QFile file(path(u"sendmail"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("#!/nowhere/interpreter\n");
    file.close();
    ::chmod(native(file.fileName()).c_str(), 0755);
    QCOMPARE(sendResult(smallMail(), native(file.fileName())), MAPI_E_FAILURE);
    // A text without an interpreter is not given to a shell.
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("touch " + quoted(u"shell"_s) + "\n");
    file.close();
    QCOMPARE(sendResult(smallMail(), native(file.fileName())), MAPI_E_FAILURE);
    QVERIFY(!QFile::exists(path(u"shell"_s)));
}

void TestMapiSendmail::getsNoOtherDescriptors()
{
    QFile leaky(path(u"leaky"_s));
    QVERIFY(leaky.open(QIODevice::WriteOnly));
    const int inherited = ::dup(leaky.handle()); // without close-on-exec, as careless hosts have them
    const std::string program = script("readlink /proc/$$/fd/* > " + quoted(u"links"_s) + "; exit 0\n");
    QCOMPARE(sendResult(smallMail(), program), SUCCESS_SUCCESS);
    ::close(inherited);
    QVERIFY(!content(u"links"_s).isEmpty());
    QVERIFY2(!content(u"links"_s).contains("leaky"), content(u"links"_s).constData());
}

void TestMapiSendmail::getsDefaultSignals()
{
    const std::string program
        = script("grep -E 'Sig(Ign|Blk)' /proc/self/status > " + quoted(u"signals"_s) + "\n");
    ForkedCall host([&] {
        signal(SIGPIPE, SIG_IGN);
        signal(SIGTERM, SIG_IGN);
        sigset_t set{};
        sigfillset(&set);
        sigprocmask(SIG_BLOCK, &set, nullptr);
        return sendResult(smallMail(), program);
    });
    QCOMPARE(host.wait(), int(SUCCESS_SUCCESS));
    // Signals 32 and 33 belong to the C library.
    const QList<QByteArray> lines = content(u"signals"_s).split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0), QByteArray("SigBlk:\t0000000000000000"));
    QVERIFY(lines.at(1).startsWith("SigIgn:\t"));
    QCOMPARE(lines.at(1).mid(8).toULongLong(nullptr, 16) & 0x7FFFFFFFULL, 0ULL);
}

void TestMapiSendmail::hostIgnoresItsChildren()
{
    ForkedCall host([&] {
        signal(SIGCHLD, SIG_IGN);
        const ULONG result = sendResult(smallMail(), script("exit 78\n"));
        return signal(SIGCHLD, SIG_DFL) == SIG_IGN ? result : 99U;
    });
    QCOMPARE(host.wait(), int(MAPI_E_LOGON_FAILURE));
}

void TestMapiSendmail::hostClosedItsStandardStreams()
{
    const std::string program = script("cat > " + quoted(u"mail"_s) + "; echo text >&2; exit 0\n");
    ForkedCall host([&] {
        ::close(0);
        ::close(1);
        ::close(2);
        return sendResult(smallMail(), program);
    });
    QCOMPARE(host.wait(), int(SUCCESS_SUCCESS));
    QVERIFY(content(u"mail"_s).contains("Subject: Hello\n"));
}

void TestMapiSendmail::temporaryDirectoryIsFull()
{
    const std::string program = script("touch " + quoted(u"started"_s) + "\n");
    ForkedCall host([&] {
        const rlimit limit{10000, 10000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        mapi::Mail mail = smallMail();
        mail.noteText.assign(1000000, 'x');
        return sendResult(mail, program);
    });
    QCOMPARE(host.wait(), int(MAPI_E_DISK_FULL));
    QVERIFY(!QFile::exists(path(u"started"_s)));
}

void TestMapiSendmail::missingTemporaryDirectory()
{
    const ScopedEnvironment missing("TMPDIR", "/nowhere");
    QCOMPARE(sendResult(smallMail(), script("exit 0\n")), MAPI_E_FAILURE);
    const ScopedEnvironment relative("TMPDIR", "nowhere");
    QCOMPARE(sendResult(smallMail(), script("exit 0\n")), SUCCESS_SUCCESS);
}

void TestMapiSendmail::failingAttachmentSendsNothing()
{
    const std::string program = script("touch " + quoted(u"started"_s) + "\n");
    QFile file(path(u"a.txt"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("first");
    file.close();
    mapi::Mail mail = smallMail();
    mail.attachments.emplace_back(native(file.fileName()), "a.txt");
    QVERIFY(file.open(QIODevice::Append));
    file.write(" and more");
    file.close();
    QCOMPARE(sendResult(mail, program), MAPI_E_ATTACHMENT_OPEN_FAILURE);
    QVERIFY(!QFile::exists(path(u"started"_s)));
    QVERIFY(file.remove());
    QCOMPARE(sendResult(mail, program), MAPI_E_ATTACHMENT_NOT_FOUND);
    QVERIFY(!QFile::exists(path(u"started"_s)));
}

void TestMapiSendmail::standardErrorIsKept()
{
    QFile null(u"/dev/null"_s);
    QVERIFY(null.open(QIODevice::ReadOnly));
    const mapi::ChildResult result = mapi::runChild(
        {script("echo out; echo \"no route: $1\" >&2; exit 3\n"), "a b'$(x)"}, null.handle(), 30s);
    QCOMPARE(int(result.end), int(mapi::ChildResult::End::Exited));
    QCOMPARE(result.status, 3);
    QCOMPARE(result.standardError, "no route: a b'$(x)\n"s);

    const mapi::ChildResult talkative
        = mapi::runChild({script("head -c 100000 /dev/zero | tr '\\0' x >&2\n")}, null.handle(), 30s);
    QCOMPARE(talkative.standardError, std::string(2000, 'x'));
}

void TestMapiSendmail::runsAtOnce()
{
    // Waiting is not done in coarse steps.
    const std::string program = script("cat > /dev/null\n");
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 20; ++i)
        QCOMPARE(sendResult(smallMail(), program), SUCCESS_SUCCESS);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(TestMapiSendmail)
#include "tst_mapisendmail.moc"
