#include "testdesktop.h"

#include <ostrelletest/smallvolume.h>

#include <QCryptographicHash>
#include <QDirIterator>
#include <QTest>

#include <chrono>
#include <set>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// A mail arrives whole or the call fails: every client with every kind of mail, and everything that can go
// wrong on the way.
class TestMapiHandover final : public QObject, private TestDesktop
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(setUp()); }
    void cleanup() { tearDown(); }

    void everything_data();
    void everything();
    void clientFails_data();
    void clientFails();
    void refusals_data();
    void refusals();
    void unreadableFile();
    void longCommandLine_data();
    void longCommandLine();
    void longLink();
    void fullDisk_data();
    void fullDisk();
    void fileSizeLimit();
    void privateModes();
    void laterRun_data();
    void laterRun();
    void insideFlatpak();
    void insideClassicSnap();
    void busGoes();
    void manyFilesForThePortal_data();
    void manyFilesForThePortal();
    void manyFilesForASandbox();
    void busClientInASandbox_data();
    void busClientInASandbox();
    void log_data();
    void log();

private:
    struct Delivered {
        QStringList to = {};
        QStringList cc = {};
        QStringList bcc = {};
        QString subject = {};
        QString text = {};
        QList<QPair<QString, QByteArray>> files = {};
        bool receipt = false;
    };

    [[nodiscard]] QJsonObject mailOf(const QString &content) const;
    [[nodiscard]] static Delivered expectedOf(const QJsonObject &mail);
    [[nodiscard]] std::optional<Delivered> delivered(const QString &client) const;
    [[nodiscard]] std::optional<Delivered> deliveredAsDraft(const QString &file) const;
    void install(const QString &client, const QByteArray &end = "exit 0",
                 const QByteArray &interpreter = "/bin/sh") const
    {
        installProgram(client, end, interpreter);
        installDefault({client + u".desktop"_s, client + u" %u"_s});
    }
    [[nodiscard]] QJsonObject mailWithManyFiles(int count) const
    {
        QJsonArray files;
        for (int i = 0; i < count; ++i) {
            const QString name = u"files/%1.txt"_s.arg(i);
            write(name, QByteArray::number(i));
            files.append(path(name));
        }
        QJsonObject mail = m_mail;
        mail[u"files"_s] = files;
        return mail;
    }
    // Nothing was started, and nothing is left of a mail that went nowhere.
    [[nodiscard]] bool wentNowhere() const
    {
        return recorded().isEmpty() && staged().isEmpty() && outbox().isEmpty();
    }
};

namespace
{

const QStringList clientNames{u"thunderbird"_s, u"betterbird"_s, u"evolution"_s, u"kmail"_s,
                              u"geary"_s,       u"claws-mail"_s, u"sylpheed"_s,  u"balsa"_s};

bool opensDrafts(const QString &client)
{
    return client == u"thunderbird" || client == u"betterbird";
}

// Reads a command line into a short buffer when it runs already.
bool readsLines(const QString &client)
{
    return client == u"claws-mail" || client == u"sylpheed";
}

struct Content {
    const char *name;
    const char *text;
};

// Kinds of mails that differ by their text alone.
constexpr Content texts[]{
    {"no text", ""},
    {"a text without a line end", "one"},
    {"markup", "<html><p>a &amp; <b>\303\274</b></p></html>\n"},
    {"hyphens", "-x --attach /etc/passwd\n--\n-\n"},
    {"at signs", "@@u file:///etc/passwd @@\n@x\n"},
    {"quotes", "\"a\" 'b'\n', \",\n\"\n"},
    {"apostrophes", "'''\n'a'=''b'',\n"},
    {"commas", ",a,,b=c,\n,\n"},
    {"percent signs", "100% %41 %zz %0A%00 %\n"},
    {"the end of a quoted value", "',attachment='file:///etc/passwd',to='e@evil\n"},
    {"keys", "&bcc=e@evil&attach=/etc/passwd?x#y\n"},
    {"backslashes", "\\n \\, C:\\x y\\\n"},
    {"the name of a file", "file:///etc/passwd\n"},
    {"a path", "/etc/passwd\n"},
    {"a link", "mailto:e@evil?attach=/etc/passwd\n"},
    {"a shell's words", "$(touch x) `x` ; | > < & * ~ ! #\n"},
    {"encoded words", "=?UTF-8?Q?x=0ABcc:_e@evil?=\n"},
    {"controls", "a\tb\033[0m\001\n"},
    {"lines of a mail", "Bcc: e@evil\n\n.\nFrom me\n--=-x\n"},
    {"several languages", "\303\244 \342\202\254 \360\237\230\200 \327\251\327\234\n"},
};

}

QJsonObject TestMapiHandover::mailOf(const QString &content) const
{
    QJsonObject mail = m_mail;
    for (const Content &kind : texts) {
        if (content == QString::fromUtf8(kind.name)) {
            // In the subject, too, where it is one line.
            const QString text = QString::fromUtf8(kind.text);
            mail[u"text"_s] = text;
            mail[u"subject"_s] = text.section(u'\n', 0, 0);
            return mail;
        }
    }
    if (content.contains(u"attachments"_s))
        mail = mailWithFiles();
    if (content == u"names of attachments") {
        QJsonArray files;
        for (const QString &name :
             {u"-x"_s, u"@@"_s, u"a=b&c?d#e.txt"_s, u"',attachment='x"_s, u"%41 100%.txt"_s, u".hidden"_s,
              u" x "_s, u"a+b,c;d"_s, u"file:"_s, u"=?UTF-8?Q?x?="_s, u"ä\tö"_s, u"<b>\"'`$x"_s}) {
            write(u"files/"_s + name, "content of " + name.toUtf8());
            files.append(path(u"files/"_s + name));
        }
        mail[u"files"_s] = files;
    }
    if (content.contains(u"bcc only"_s)) {
        mail.remove(u"to"_s);
        mail.remove(u"cc"_s);
    }
    if (content == u"nobody") {
        for (const auto &key : {u"to"_s, u"cc"_s, u"bcc"_s})
            mail.remove(key);
    }
    if (content == u"awkward names")
        mail[u"to"_s]
            = QJsonArray{u"\"Müller, \\\"Max\\\" & Co\" <max@example.org>"_s, u"-x <a'b@example.org>"_s,
                         u"100% <p%41@example.org>"_s, u"\"a,b\"@example.org"_s, u"root"_s};
    if (content.contains(u"receipt"_s))
        mail[u"receipt"_s] = true;
    if (content == u"no subject")
        mail[u"subject"_s] = QString();
    if (content.contains(u"long text"_s))
        mail[u"text"_s] = u"some words, "_s.repeated(12000) + u'\n';
    if (content == u"text of two pages")
        mail[u"text"_s] = u"some words and more\n"_s.repeated(350);
    return mail;
}

TestMapiHandover::Delivered TestMapiHandover::expectedOf(const QJsonObject &mail)
{
    Delivered expected{.subject = mail[u"subject"_s].toString(),
                       .text = mail[u"text"_s].toString(),
                       .receipt = mail[u"receipt"_s].toBool()};
    if (!expected.text.isEmpty() && !expected.text.endsWith(u'\n'))
        expected.text += u'\n';
    for (const auto &[key, list] :
         {std::pair(u"to"_s, &expected.to), {u"cc"_s, &expected.cc}, {u"bcc"_s, &expected.bcc}}) {
        const QJsonArray addresses = mail[key].toArray();
        for (const auto &address : addresses) {
            const auto read = receiving::readAddressField(address.toString().toStdString());
            for (const receiving::TypedMailbox &mailbox :
                 read.value_or(std::vector<receiving::TypedMailbox>()))
                list->append(QString::fromStdString(mailbox.name + "|" + mailbox.address));
        }
    }
    const QJsonArray files = mail[u"files"_s].toArray();
    for (const auto &file : files)
        expected.files.append({QFileInfo(file.toString()).fileName(), readFile(file.toString())});
    return expected;
}

std::optional<TestMapiHandover::Delivered> TestMapiHandover::deliveredAsDraft(const QString &file) const
{
    const QJsonArray read = readMails({file});
    if (read.size() != 1 || !read[0][u"defects"_s].toArray().isEmpty()
        || read[0][u"headers"_s][u"X-Unsent"_s].toString().trimmed() != u"1")
        return {};
    const QJsonArray parts = read[0][u"parts"_s].toArray();
    if (parts.isEmpty() || parts[0][u"type"_s].toString() != u"text/plain")
        return {};
    Delivered result{.to = addressesOf(read[0][u"to"_s]),
                     .cc = addressesOf(read[0][u"cc"_s]),
                     .bcc = addressesOf(read[0][u"bcc"_s]),
                     .subject = read[0][u"subject"_s].toString(),
                     .text = parts[0][u"text"_s].toString().replace(u"\r\n"_s, u"\n"_s)};
    for (qsizetype i = 1; i < parts.size(); ++i) {
        // The parser gives a hash of the content.
        const QString name = parts[i][u"filename"_s].toString();
        const QByteArray content = readFile(path(u"files/"_s + name));
        const QByteArray hash = QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
        if (parts[i][u"disposition"_s].toString() != u"attachment"
            || parts[i][u"sha256"_s].toString() != QString::fromLatin1(hash))
            return {};
        result.files.append({name, content});
    }
    result.receipt = read[0][u"headers"_s][u"X-Mozilla-Draft-Info"_s].toString().contains(u"receipt=1"_s);
    return result;
}

std::optional<TestMapiHandover::Delivered> TestMapiHandover::delivered(const QString &client) const
{
    const std::vector<std::string> arguments = recordedArguments();
    const QString last = recorded().last();
    if (opensDrafts(client) && arguments.size() == 1 && last.endsWith(u".eml"_s))
        return deliveredAsDraft(last);
    const auto fields = readByClient(client, arguments);
    if (!fields)
        return {};
    static const std::set<std::string> known{"to", "cc", "bcc", "subject", "body", "attach", "format"};
    Delivered result;
    for (const auto &[key, value] : *fields) {
        if (known.count(key) == 0 || ((key == "subject" || key == "body") && fields->count(key) != 1))
            return {};
    }
    for (const auto &[key, list] : {std::pair("to", &result.to), {"cc", &result.cc}, {"bcc", &result.bcc}}) {
        for (const std::string &value : receiving::valuesOf(*fields, key)) {
            const auto read = receiving::readAddressField(value);
            if (!read)
                return {};
            for (const receiving::TypedMailbox &mailbox : *read)
                list->append(QString::fromStdString(mailbox.name + "|" + mailbox.address));
        }
    }
    result.subject = textOf(*fields, "subject");
    result.text = textOf(*fields, "body").remove(u'\r');
    for (const std::string &value : receiving::valuesOf(*fields, "attach")) {
        const QFileInfo file(QString::fromStdString(receiving::pathOfUri(value).value_or(value)));
        if (!file.filePath().startsWith(path(u"home/ostrelle-mail/"_s)))
            return {};
        result.files.append({file.fileName(), readFile(file.filePath())});
    }
    return result;
}

void TestMapiHandover::everything_data()
{
    QTest::addColumn<QString>("client");
    QTest::addColumn<QString>("content");
    for (const QString &client : clientNames) {
        const auto row = [&client](const char *content) {
            QTest::addRow("%s: %s", qPrintable(client), content) << client << QString::fromUtf8(content);
        };
        for (const char *content : {"plain", "attachments", "names of attachments", "bcc only",
                                    "attachments, bcc only, receipt", "nobody", "awkward names", "receipt",
                                    "no subject", "text of two pages", "long text", "long text, attachments"})
            row(content);
        for (const Content &kind : texts)
            row(kind.name);
    }
}

void TestMapiHandover::everything()
{
    QFETCH(QString, client);
    QFETCH(QString, content);
    install(client);
    const QJsonObject mail = mailOf(content);
    const bool isLong
        = content.contains(u"long text"_s) || (readsLines(client) && content == u"text of two pages");
    const ULONG code = isLong && !opensDrafts(client) ? MAPI_E_TEXT_TOO_LARGE : SUCCESS_SUCCESS;
    QCOMPARE(call(mail), int(code));
    if (code != SUCCESS_SUCCESS) {
        QVERIFY(wentNowhere());
        return;
    }
    QVERIFY(outbox().isEmpty());
    QCOMPARE(recorded().value(0), client);
    const auto arrived = delivered(client);
    QVERIFY2(arrived, qPrintable(recorded().join(u'\n')));
    Delivered expected = expectedOf(mail);
    // Nothing but a draft carries that wish.
    expected.receipt = expected.receipt && opensDrafts(client);
    QCOMPARE(arrived->to, expected.to);
    QCOMPARE(arrived->cc, expected.cc);
    QCOMPARE(arrived->bcc, expected.bcc);
    QCOMPARE(arrived->subject, expected.subject);
    QCOMPARE(arrived->text, expected.text);
    QCOMPARE(arrived->files, expected.files);
    QCOMPARE(arrived->receipt, expected.receipt);
    QVERIFY(!readFile(path(u"log"_s)).contains("some words"));
}

void TestMapiHandover::clientFails_data()
{
    QTest::addColumn<QString>("client");
    QTest::addColumn<bool>("files");
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<bool>("starts");
    for (const QString &client : clientNames) {
        for (const bool files : {false, true}) {
            const auto row = [&](const char *name, const QByteArray &end, bool starts) {
                QTest::addRow("%s %s%s", qPrintable(client), name, files ? ", with files" : "")
                    << client << files << end << starts;
            };
            row("ends with 1", "exit 1", true);
            row("dies of a signal", "kill -SEGV $$", true);
            row("cannot be started", "", false);
        }
    }
}

void TestMapiHandover::clientFails()
{
    QFETCH(QString, client);
    QFETCH(bool, files);
    QFETCH(QByteArray, end);
    QFETCH(bool, starts);
    install(client, end, starts ? "/bin/sh" : "/no/such/interpreter");
    QCOMPARE(call(files ? mailWithFiles() : m_mail), int(MAPI_E_FAILURE));
    QCOMPARE(recorded().isEmpty(), !starts);
    QVERIFY(staged().isEmpty());
    QVERIFY(outbox().isEmpty());
}

void TestMapiHandover::refusals_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::addColumn<ULONG>("code");
    const auto row = [](const char *name, const QString &key, const QString &value, ULONG code) {
        QTest::newRow(name) << key << value << code;
    };
    for (const auto &key : {u"to"_s, u"cc"_s, u"bcc"_s}) {
        const auto named = [&](const char *name, const QString &value) {
            row(qPrintable(key + u": "_s + QString::fromUtf8(name)), key, value, MAPI_E_INVALID_RECIPS);
        };
        named("LF", u"a@x\nBcc: e@evil"_s);
        named("CR", u"a@x\rBcc: e@evil"_s);
        named("CR and LF in a name", u"A\r\nBcc: e@evil <a@x>"_s);
        named("LF in an encoded name", u"=?UTF-8?Q?A=0ABcc:_e?= <a@x>"_s);
        named("CR in an encoded name", u"=?UTF-8?B?QQ1C?= <a@x>"_s);
        named("NUL in an encoded name", u"=?UTF-8?Q?A=00B?= <a@x>"_s);
        named("NUL in base64", u"=?UTF-8?B?QQBC?= <a@x>"_s);
        named("an option", u"-oQ/tmp@x"_s);
        named("no address", u"Max Müller"_s);
        named("a stray bracket", u"a@x>"_s);
    }
    row("subject: LF", u"subject"_s, u"x\nBcc: e@evil"_s, MAPI_E_INVALID_MESSAGE);
    row("subject: CR", u"subject"_s, u"x\rBcc: e@evil"_s, MAPI_E_INVALID_MESSAGE);
    row("file: LF", u"files"_s, u"x\ny"_s, MAPI_E_INVALID_MESSAGE);
    row("file: CR", u"files"_s, u"x\ry"_s, MAPI_E_INVALID_MESSAGE);
    row("file: none", u"files"_s, u"none"_s, MAPI_E_ATTACHMENT_NOT_FOUND);
    row("file: a directory", u"files"_s, u""_s, MAPI_E_ATTACHMENT_OPEN_FAILURE);
}

void TestMapiHandover::refusals()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(ULONG, code);
    write(u"files/x\ny"_s, "x");
    write(u"files/x\ry"_s, "x");
    for (const QString &client : {u"thunderbird"_s, u"geary"_s}) {
        install(client);
        QJsonObject mail = mailWithFiles();
        if (key == u"subject") {
            mail[key] = value;
        } else {
            QJsonArray list = mail[key].toArray();
            list.append(key == u"files" ? path(u"files/"_s + value) : value);
            mail[key] = list;
        }
        QCOMPARE(call(mail), int(code));
        QVERIFY(wentNowhere());
        QVERIFY(QFile::remove(path(u"config/mimeapps.list"_s)));
    }
}

void TestMapiHandover::unreadableFile()
{
    if (::geteuid() != 0)
        QSKIP("only root can become another user for the call");
    install(u"geary"_s);
    ::chmod(QFile::encodeName(m_dir->path()).constData(), 0777);
    for (const QString &name : {u"home"_s, u"."_s})
        ::chmod(QFile::encodeName(path(name)).constData(), 0777);
    constexpr uid_t nobody = 65534;
    m_inCaller = [] {
        if (setresgid(nobody, nobody, nobody) != 0 || setresuid(nobody, nobody, nobody) != 0)
            _exit(200);
    };
    QCOMPARE(call(mailWithFiles()), int(SUCCESS_SUCCESS));
    QVERIFY(QFile::remove(path(u"record"_s)));
    QVERIFY(QDir(path(u"home/ostrelle-mail"_s)).removeRecursively());
    ::chmod(QFile::encodeName(path(u"files/second.txt"_s)).constData(), 0);
    QCOMPARE(call(mailWithFiles()), int(MAPI_E_ATTACHMENT_OPEN_FAILURE));
    QVERIFY(wentNowhere());
    // A home that is not for writing.
    ::chmod(QFile::encodeName(path(u"files/second.txt"_s)).constData(), 0444);
    ::chmod(QFile::encodeName(path(u"home"_s)).constData(), 0555);
    QCOMPARE(call(mailWithFiles()), int(MAPI_E_ACCESS_DENIED));
    QVERIFY(wentNowhere());
}

void TestMapiHandover::longCommandLine_data()
{
    QTest::addColumn<QString>("client");
    QTest::addColumn<int>("recipients");
    QTest::addColumn<ULONG>("code");
    QTest::newRow("KMail, some") << u"kmail"_s << 100 << SUCCESS_SUCCESS;
    QTest::newRow("KMail, more than a command line takes") << u"kmail"_s << 2000 << MAPI_E_TEXT_TOO_LARGE;
    QTest::newRow("Thunderbird, more than an argument takes") << u"thunderbird"_s << 2000 << SUCCESS_SUCCESS;
}

void TestMapiHandover::longCommandLine()
{
    QFETCH(QString, client);
    QFETCH(int, recipients);
    QFETCH(ULONG, code);
    install(client);
    QJsonObject mail = m_mail;
    QJsonArray to;
    for (int i = 0; i < recipients; ++i)
        to.append(u"Somebody with a name of some length <user%1@example.org>"_s.arg(i));
    mail[u"to"_s] = to;
    // Little room for arguments: the kernel derives it from the stack.
    m_inCaller = [] {
        const rlimit limit{524288, 524288};
        setrlimit(RLIMIT_STACK, &limit);
    };
    QCOMPARE(call(mail), int(code));
    if (code != SUCCESS_SUCCESS) {
        QVERIFY(wentNowhere());
        return;
    }
    const auto arrived = delivered(client);
    QVERIFY(arrived);
    QCOMPARE(arrived->to, expectedOf(mail).to);
}

void TestMapiHandover::longLink()
{
    // A link that the client would cut off is not sent either when the settings want links.
    install(u"claws-mail"_s);
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\nroute=mailto\n");
    QCOMPARE(call(m_mail), int(SUCCESS_SUCCESS));
    QVERIFY(recorded().last().startsWith(u"mailto:"_s));
    QVERIFY(QFile::remove(path(u"record"_s)));
    QCOMPARE(call(mailOf(u"text of two pages"_s)), int(MAPI_E_TEXT_TOO_LARGE));
    QVERIFY(wentNowhere());
}

void TestMapiHandover::fullDisk_data()
{
    QTest::addColumn<QString>("client");
    for (const QString &client : clientNames)
        QTest::newRow(qPrintable(client)) << client;
}

void TestMapiHandover::fullDisk()
{
    QFETCH(QString, client);
    install(client);
    QVERIFY(QDir().mkpath(path(u"home/ostrelle-mail"_s)));
    const SmallVolume disk(path(u"home/ostrelle-mail"_s), 262144);
    if (!disk.isMounted())
        QSKIP("a small file system of its own needs the right to mount");
    QCOMPARE(call(mailWithFiles()), int(SUCCESS_SUCCESS));
    QCOMPARE(recorded().value(0), client);
    QCOMPARE(staged().size(), 1);
    QVERIFY(QFile::remove(path(u"record"_s)));
    write(u"files/second.txt"_s, QByteArray(400000, 'x'));
    QCOMPARE(call(mailWithFiles()), int(MAPI_E_DISK_FULL));
    QVERIFY(recorded().isEmpty());
    QVERIFY(outbox().isEmpty());
    QCOMPARE(staged().size(), 1); // that of the first one
}

void TestMapiHandover::fileSizeLimit()
{
    write(u"files/second.txt"_s, QByteArray(400000, 'x'));
    m_inCaller = [] {
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    for (const QString &client : {u"betterbird"_s, u"evolution"_s}) {
        install(client);
        QCOMPARE(call(mailWithFiles()), int(MAPI_E_DISK_FULL));
        QVERIFY(wentNowhere());
        QVERIFY(QFile::remove(path(u"config/mimeapps.list"_s)));
    }
}

void TestMapiHandover::privateModes()
{
    for (const QString &client : {u"thunderbird"_s, u"claws-mail"_s}) {
        install(client);
        QCOMPARE(call(mailWithFiles()), int(SUCCESS_SUCCESS));
        QVERIFY(QFile::remove(path(u"config/mimeapps.list"_s)));
    }
    QStringList all{path(u"home/ostrelle-mail"_s)};
    QDirIterator iterator(all.first(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext())
        all.append(iterator.next());
    // Two mails: a draft, and two files in a directory each.
    QCOMPARE(all.size(), 1 + 2 + 1 + 4);
    for (const QString &name : all) {
        struct stat status {
        };
        QCOMPARE(::stat(QFile::encodeName(name).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, S_ISDIR(status.st_mode) ? 0700U : 0600U);
    }
}

void TestMapiHandover::laterRun_data()
{
    QTest::addColumn<bool>("files");
    QTest::addColumn<bool>("display");
    QTest::newRow("another mail with files") << true << true;
    QTest::newRow("a mail of text") << false << true;
    QTest::newRow("a mail to the outbox") << true << false;
}

void TestMapiHandover::laterRun()
{
    QFETCH(bool, files);
    QFETCH(bool, display);
    install(u"geary"_s);
    QCOMPARE(call(mailWithFiles()), int(SUCCESS_SUCCESS));
    QCOMPARE(staged().size(), 1);
    const QString first = staged().first();
    const auto again = [&] {
        if (!display)
            m_environment.remove(u"DISPLAY"_s);
        return call(files ? mailWithFiles() : m_mail);
    };
    const auto makeOld = [&](std::chrono::seconds age) {
        const time_t then = ::time(nullptr) - time_t(age.count());
        const timespec times[2]{{then, 0}, {then, 0}};
        return ::utimensat(AT_FDCWD, QFile::encodeName(path(u"home/ostrelle-mail/"_s + first)).constData(),
                           times, 0);
    };
    // The client may still want to read them.
    QCOMPARE(again(), int(SUCCESS_SUCCESS));
    QVERIFY(staged().contains(first));
    QCOMPARE(makeOld(24h * 7 - 1h), 0);
    QCOMPARE(again(), int(SUCCESS_SUCCESS));
    QVERIFY(staged().contains(first));
    QCOMPARE(readFile(path(u"home/ostrelle-mail/"_s + first + u"/2/second.txt"_s)), QByteArray("second"));
    QCOMPARE(makeOld(24h * 7 + 1h), 0);
    QCOMPARE(again(), int(SUCCESS_SUCCESS));
    QVERIFY(!staged().contains(first));
    QCOMPARE(staged().size(), files && display ? 3 : 0);
}

void TestMapiHandover::insideFlatpak()
{
    install(u"geary"_s);
    startBus(u"answer:0"_s);
    // A root of its own that holds what this one does, and the file by which a sandbox is known.
    QVERIFY(QDir().mkpath(path(u"root"_s)));
    QList<QPair<QByteArray, QByteArray>> mounts;
    const QFileInfoList entries
        = QDir(u"/"_s).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        const QString copy = path(u"root/"_s + entry.fileName());
        if (entry.isSymLink()) {
            QCOMPARE(::symlink(QFile::encodeName(entry.symLinkTarget()).constData(),
                               QFile::encodeName(copy).constData()),
                     0);
        } else if (entry.isDir()) {
            QVERIFY(QDir().mkpath(copy));
            mounts.append({QFile::encodeName(entry.filePath()), QFile::encodeName(copy)});
        }
    }
    write(u"root/.flatpak-info"_s, "[Application]\nname=org.example.Ostrelle\n");
    constexpr int noPrivileges = 200;
    const QByteArray root = QFile::encodeName(path(u"root"_s));
    m_inCaller = [mounts, root] {
        bool done
            = ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        for (const auto &[from, to] : mounts)
            done = done && ::mount(from.constData(), to.constData(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
        if (!done || ::chroot(root.constData()) != 0 || ::chdir("/") != 0)
            _exit(noPrivileges);
    };
    const int code = call(mailWithFiles());
    if (code == noPrivileges)
        QSKIP("a root of its own needs the right to mount");
    QCOMPARE(code, int(SUCCESS_SUCCESS));
    QVERIFY(recorded().isEmpty());
    QCOMPARE(asked().size(), 1);
    QCOMPARE(asked().first()[u"files"_s].toArray().size(), 2);
    // Where they are also outside of the sandbox.
    QCOMPARE(QDir(path(u"cache/ostrelle-mail"_s)).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 1);
    QVERIFY(staged().isEmpty());
    m_inCaller = {};
    QCOMPARE(call(m_mail), int(SUCCESS_SUCCESS));
    QCOMPARE(recorded().value(0), u"geary"_s);
}

void TestMapiHandover::insideClassicSnap()
{
    // What an editor of that kind starts is in no sandbox, though the variable is there.
    install(u"geary"_s);
    write(u"snap/meta/snap.yaml"_s, "name: editor\nconfinement: classic\n");
    m_environment.insert(u"SNAP"_s, path(u"snap"_s));
    m_environment.insert(u"SNAP_USER_COMMON"_s, path(u"common"_s));
    QCOMPARE(call(mailWithFiles()), int(SUCCESS_SUCCESS));
    QCOMPARE(recorded().value(0), u"geary"_s);
    QCOMPARE(staged().size(), 1);
}

void TestMapiHandover::busGoes()
{
    startBus(u"silent"_s);
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\nroute=portal\n");
    QProcess process;
    QVERIFY(startCall(process, mailWithFiles()));
    QTRY_COMPARE_WITH_TIMEOUT(asked().size(), 1, 60000);
    QCOMPARE(process.state(), QProcess::Running); // waits for the response
    QCOMPARE(staged().size(), 1);
    m_bus->endDaemon();
    QCOMPARE(resultOf(process), int(MAPI_E_FAILURE));
    QVERIFY(wentNowhere());
}

void TestMapiHandover::manyFilesForThePortal_data()
{
    QTest::addColumn<QByteArray>("limit"); // of the bus
    QTest::addColumn<int>("files");
    QTest::addColumn<ULONG>("code");
    const QByteArray none;
    const QByteArray wide = "<limit name=\"max_message_unix_fds\">4096</limit>";
    QTest::newRow("what any bus takes") << none << 16 << SUCCESS_SUCCESS;
    QTest::newRow("more than this bus takes") << none << 17 << MAPI_E_TOO_MANY_FILES;
    QTest::newRow("what the portal takes") << wide << 250 << SUCCESS_SUCCESS;
    QTest::newRow("more than the portal takes") << wide << 251 << MAPI_E_TOO_MANY_FILES;
}

void TestMapiHandover::manyFilesForThePortal()
{
    QFETCH(QByteArray, limit);
    QFETCH(int, files);
    QFETCH(ULONG, code);
    m_bus = std::make_unique<PrivateBus>(m_dir->path());
    QVERIFY(m_bus->start(u"answer:0"_s, 4, limit));
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\nroute=portal\n");
    QCOMPARE(call(mailWithManyFiles(files)), int(code));
    if (code == SUCCESS_SUCCESS) {
        QCOMPARE(asked().size(), 1);
        QCOMPARE(asked().first()[u"files"_s].toArray().size(), files);
    } else {
        QVERIFY(asked().isEmpty());
        QVERIFY(wentNowhere());
    }
}

void TestMapiHandover::manyFilesForASandbox()
{
    constexpr int count = 150;
    startBus(u"answer:0"_s);
    installProgram(u"flatpak"_s);
    installDefault({u"org.gnome.Evolution.desktop"_s, u"flatpak run org.gnome.Evolution %U"_s});
    const QJsonObject mail = mailWithManyFiles(count);
    QCOMPARE(call(mail), int(SUCCESS_SUCCESS));
    int exported = 0;
    const QList<QJsonObject> calls = asked();
    for (const QJsonObject &ask : calls)
        exported += int(ask[u"files"_s].toArray().size());
    QCOMPARE(exported, count);
    const auto fields = receiving::readMailto(recorded().last().toStdString());
    QVERIFY(fields);
    const auto attached = receiving::valuesOf(*fields, "attach");
    QCOMPARE(attached.size(), std::size_t(count));
    for (int i = 0; i < count; ++i)
        QVERIFY(QString::fromStdString(attached[std::size_t(i)]).endsWith(u"/%1.txt"_s.arg(i)));
}

void TestMapiHandover::busClientInASandbox_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("files");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<int>("calls");
    QTest::newRow("a link needs no file") << u"answer:0"_s << false << SUCCESS_SUCCESS << 1;
    QTest::newRow("a draft is exported") << u"answer:0"_s << true << SUCCESS_SUCCESS << 2;
    QTest::newRow("a draft that it can read anyway") << u"unneeded"_s << true << SUCCESS_SUCCESS << 2;
    QTest::newRow("a draft that is not exported") << u"partial"_s << true << MAPI_E_FAILURE << 1;
}

void TestMapiHandover::busClientInASandbox()
{
    QFETCH(QString, mode);
    QFETCH(bool, files);
    QFETCH(ULONG, code);
    QFETCH(int, calls);
    startBus(mode);
    const QString id = u"org.example.Bus-Mail.desktop"_s;
    installEntry({id, {}, "DBusActivatable=true\nX-Flatpak=org.example.Bus-Mail\n"},
                 "x-scheme-handler/mailto;message/rfc822;");
    makeDefault("x-scheme-handler/mailto", id);
    makeDefault("message/rfc822", id);
    QCOMPARE(call(files ? mailWithFiles() : m_mail), int(code));
    QCOMPARE(asked().size(), calls);
    QCOMPARE(staged().size(), files && code == SUCCESS_SUCCESS ? 1 : 0);
    QVERIFY(outbox().isEmpty());
    if (files)
        QCOMPARE(asked().first()[u"app"_s].toString(), u"org.example.Bus-Mail"_s);
    if (code != SUCCESS_SUCCESS)
        return;
    const QString uri = asked().last()[u"uris"_s][0].toString();
    const QString seen = !files ? u"mailto:"_s
        : mode == u"unneeded"   ? u"file://"_s + path(u"home/ostrelle-mail/"_s)
                                : u"file:///run/user/1/doc/doc0/mail.eml"_s;
    QVERIFY2(uri.startsWith(seen), qPrintable(uri));
}

void TestMapiHandover::log_data()
{
    QTest::addColumn<QString>("client"); // "PROGRAM", "ENTRY: Exec"; empty for none
    QTest::addColumn<QString>(
        "way"); // of the bus: its mode; "outbox", "sendmail", or a route of the settings
    QTest::addColumn<bool>("files");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<QStringList>("lines"); // parts of the log in their order
    const auto row = [](const char *name, const QString &client, const QString &way, bool files, ULONG code,
                        const QStringList &lines) {
        QTest::newRow(name) << client << way << files << code << lines;
    };
    const QString hidden = u"body=("_s;
    row("-compose", u"thunderbird"_s, {}, false, SUCCESS_SUCCESS,
        {u"client: thunderbird of thunderbird.desktop"_s, u"route: command line"_s,
         u"start: \"thunderbird\" \"-compose\" \"to="_s, u"subject=Rechnung"_s, hidden,
         u"the client has taken it over"_s, u"result 0"_s});
    row("draft", u"betterbird"_s, {}, true, SUCCESS_SUCCESS,
        {u"client: betterbird of betterbird.desktop"_s, u"a draft is needed for the attachments"_s,
         u"route: draft, by betterbird"_s, u"start: \"betterbird\" \"/"_s, u"/mail.eml\""_s, u"result 0"_s});
    for (const QString &name : {u"evolution"_s, u"geary"_s})
        row(qPrintable(u"link with files, "_s + name), name, {}, true, SUCCESS_SUCCESS,
            {u"client: "_s + name, u"route: command line"_s, u"\"mailto:"_s, u"&subject=Rechnung"_s, hidden,
             u"&attach=/"_s, u"result 0"_s});
    row("options", u"kmail"_s, {}, true, SUCCESS_SUCCESS,
        {u"client: kmail"_s, u"start: \"kmail\" \"--composer\" \"--subject=Rechnung"_s, u"\"--"_s + hidden,
         u"\"--attach=file:///"_s, u"result 0"_s});
    for (const QString &name : {u"claws-mail"_s, u"sylpheed"_s})
        row(qPrintable(u"--compose, "_s + name), name, {}, true, SUCCESS_SUCCESS,
            {u"client: "_s + name, u"\"--compose\" \"mailto:"_s, hidden, u"\"--attach\" \"/"_s,
             u"result 0"_s});
    row("--compose=", u"balsa"_s, {}, true, SUCCESS_SUCCESS,
        {u"client: balsa"_s, u"\"--compose=mailto:"_s, hidden, u"\"--attach=file:///"_s, u"result 0"_s});
    row("Flatpak", u"org.gnome.Geary: flatpak run org.gnome.Geary %U"_s, {}, false, SUCCESS_SUCCESS,
        {u"client: geary of org.gnome.Geary.desktop, \"flatpak\" \"run\" \"org.gnome.Geary\""_s, hidden});
    row("link", u"other"_s, {}, false, SUCCESS_SUCCESS,
        {u"client: other.desktop, not in the table"_s, u"route: mailto, by other.desktop"_s,
         u"start: \"other\" \"mailto:"_s, hidden, u"result 0"_s});
    row("link within a word", u"x: other --url=%u"_s, {}, false, SUCCESS_SUCCESS,
        {u"start: \"other\" \"--url=mailto:"_s, hidden, u"result 0"_s});
    row("draft to a handler", u"other"_s, {}, true, SUCCESS_SUCCESS,
        {u"client: other.desktop, not in the table"_s, u"route: draft, by handler.desktop"_s,
         u"start: \"viewer\" \"/"_s, u"result 0"_s});
    row("link of the settings", u"claws-mail"_s, u"mailto"_s, false, SUCCESS_SUCCESS,
        {u"settings: "_s, u"route: mailto, by claws-mail.desktop"_s, u"\"mailto:"_s, hidden});
    row("draft of the settings", u"other"_s, u"draft"_s, false, SUCCESS_SUCCESS,
        {u"settings: "_s, u"route: draft, by handler.desktop"_s});
    row("a client that fails", u"failing"_s, {}, false, MAPI_E_FAILURE,
        {u"start: \"failing\" \"mailto:"_s, hidden, u"result 2: "_s, u"/bin/failing ended with 3"_s});
    row("the bus", u"BUS"_s, u"answer:0"_s, false, SUCCESS_SUCCESS,
        {u"open by the bus: org.example.Bus-Mail.desktop \"mailto:"_s, hidden,
         u"the client has taken it over by the bus"_s, u"result 0"_s});
    row("the bus refuses", u"BUS"_s, u"refuse"_s, false, MAPI_E_FAILURE,
        {hidden, u"org.example.Bus-Mail Open: org.example.Error.No"_s, u"result 2"_s});
    row("the portal", {}, u"answer:0"_s, true, SUCCESS_SUCCESS,
        {u"portal: the settings say so"_s, u"portal: version 4, to \"max@example.org\""_s, u"/second.txt\""_s,
         u"portal: response 0"_s, u"result 0"_s});
    row("the portal refuses", {}, u"refuse"_s, false, MAPI_E_INVALID_MESSAGE,
        {u"result 17: org.freedesktop.portal.Desktop ComposeEmail: "
         "org.freedesktop.portal.Error.InvalidArgument"_s});
    row("the portal is cancelled", {}, u"answer:1"_s, false, MAPI_USER_ABORT,
        {u"portal: response 1"_s, u"result 1: cancelled in the portal"_s});
    row("outbox", {}, {}, true, SUCCESS_SUCCESS,
        {u"no client: nothing opens mailto: links"_s, u"outbox: /"_s, u"result 0"_s});
    row("outbox of the settings", u"geary"_s, u"outbox"_s, false, SUCCESS_SUCCESS,
        {u"no client: the settings say so"_s, u"outbox: /"_s, u"result 0"_s});
    row("sendmail", {}, u"sendmail"_s, true, MAPI_E_UNKNOWN_RECIPIENT,
        {u"sendmail: /"_s, u"result 14: "_s, u"ended with 67: no such user"_s});
}

void TestMapiHandover::log()
{
    QFETCH(QString, client);
    QFETCH(QString, way);
    QFETCH(bool, files);
    QFETCH(ULONG, code);
    QFETCH(QStringList, lines);
    for (const QString &program : {u"other"_s, u"viewer"_s, u"flatpak"_s})
        installProgram(program);
    installProgram(u"failing"_s, "exit 3");
    installHandler(u"viewer %f"_s);
    const bool isRoute = QStringList{u"mailto"_s, u"draft"_s, u"outbox"_s}.contains(way);
    const bool hasBus = !way.isEmpty() && !isRoute && way != u"sendmail";
    if (hasBus)
        startBus(way);
    if (isRoute || (hasBus && client.isEmpty()))
        write(u"config/ostrelle/mapi.ini"_s,
              "[MAPI]\nroute=" + (isRoute ? way.toUtf8() : QByteArray("portal")) + "\n");
    if (client == u"BUS")
        installDefault({u"org.example.Bus-Mail.desktop"_s, {}, "DBusActivatable=true\n"});
    else if (client.contains(u':'))
        installDefault({client.section(u':', 0, 0) + u".desktop"_s, client.section(u':', 1).trimmed()});
    else if (!client.isEmpty())
        install(client, client == u"failing" ? "exit 3" : "exit 0");
    QJsonObject mail = files ? mailWithFiles() : m_mail;
    mail[u"text"_s] = u"The SECRET words, äöü, 'SECRET' \"SECRET\" % SECRET\nand more of them SECRET\n"_s;
    if (way == u"sendmail") {
        // As some commands do: first what is wrong, then the mail.
        installProgram(u"own-sendmail"_s,
                       "echo no such user >&2; echo >&2\nwhile read x; do echo \"$x\" >&2; "
                       "done; exit 67");
        m_environment.insert(u"OSTRELLE_SENDMAIL"_s, path(u"bin/own-sendmail"_s));
        mail[u"dialog"_s] = false;
    }
    QCOMPARE(call(mail), int(code));
    const QByteArray log = readFile(path(u"log"_s));
    qsizetype at = 0;
    for (const QString &line : lines) {
        at = log.indexOf(line.toUtf8(), at);
        QVERIFY2(at >= 0, qPrintable(line));
    }
    QVERIFY(!log.contains("SECRET"));
}

QTEST_GUILESS_MAIN(TestMapiHandover)
#include "tst_mapihandover.moc"
