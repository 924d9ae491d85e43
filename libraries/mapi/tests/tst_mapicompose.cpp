#include "childprocess.h"
#include "compose/desktopapp.h"
#include "compose/sandbox.h"
#include "compose/settings.h"
#include "compose/staging.h"
#include "composequestions.h"
#include "forkedcall.h"
#include "privatebus.h"
#include "privatefiles.h"
#include "signals.h"

#include <ostrelletest/filecontent.h>
#include <ostrelletest/scopedenvironment.h>
#include <ostrelletest/smallvolume.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::string_literals;
using namespace std::chrono_literals;

// The parts of the way to a mail client: arguments, recognition, staged files, settings. What comes out of
// the arguments is read by the receivers' rules.
class TestMapiCompose final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void link();
    void mozillaArgument();
    void kmailArguments();
    void arguments_data();
    void arguments();
    void longestLine();
    void receivingRulesSeeAnInjection();
    void knownInputs_data();
    void knownInputs();
    void lineBreaks_data();
    void lineBreaks();
    void mozillaDrafts_data();
    void mozillaDrafts();
    void everyRowHasItsParts();
    void recognition_data();
    void recognition();
    void commandLines_data();
    void commandLines();
    void portal_data();
    void portal();
    void ownSandbox_data();
    void ownSandbox();
    void portalGivesNoResponse();
    void settings_data();
    void settings();
    void settingsOfUserAndSystem();
    void stagedFiles();
    void stagedFilesOfAStrictUmask();
    void stagedFilesAreRemoved();
    void fullDisk_data();
    void fullDisk();
    void fileSizeLimit();
    void stagedNames_data();
    void stagedNames();
    void staleFiles();
    void stagingThatIsNotOurs();
    void stagingThatCannotBe();
    void attachmentThatChanged();
    void startedPrograms_data();
    void startedPrograms();
    void programThatGoesOn();
    void programWithoutStreams();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_dir->filePath(name); }
    [[nodiscard]] std::string native(const QString &name) const
    {
        return QFile::encodeName(path(name)).toStdString();
    }
    QString write(const QString &name, const QByteArray &content) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
        return file.fileName();
    }
    [[nodiscard]] QStringList entries(const QString &name) const
    {
        return QDir(path(name)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
    std::string script(const QByteArray &body) const
    {
        const QString file = write(u"script"_s, "#!/bin/sh\n" + body);
        ::chmod(QFile::encodeName(file).constData(), 0700);
        return QFile::encodeName(file).toStdString();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

namespace
{

mapi::Mail plainMail()
{
    mapi::Mail mail;
    mail.to = {{"Müller, \"Max\" \\ & Co", "max@example.org"}, {"", "eva+x@example.org"}};
    mail.cc = {{"", "c%41@example.org"}};
    mail.bcc = {{"-h --attach", "b&attach=@example.org"}};
    mail.subject = "a & b = 100% + 'c', \"d\" ü € 😀";
    mail.noteText = "one\ntwo, 'three' & \"four\" 100% <b>ü</b>\n";
    return mail;
}

ULONG codeOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const mapi::Failure &failure) {
        return failure.code();
    }
    return SUCCESS_SUCCESS;
}

QStringList texts(const mapi::Arguments &arguments)
{
    QStringList out;
    for (const mapi::Argument &argument : arguments)
        out.append(QString::fromStdString(argument.text));
    return out;
}

QStringList texts(const std::vector<std::string> &words)
{
    QStringList out;
    for (const std::string &word : words)
        out.append(QString::fromStdString(word));
    return out;
}

std::vector<std::string> words(const QStringList &list)
{
    std::vector<std::string> out;
    for (const QString &text : list)
        out.push_back(text.toStdString());
    return out;
}

mode_t modeOf(const std::string &path)
{
    struct stat status {
    };
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

}

void TestMapiCompose::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestMapiCompose::link()
{
    mapi::Mail mail;
    QCOMPARE(mapi::mailtoLink(mail).text, "mailto:"s);
    mail.to = {{"Max", "max@example.org"}, {"", "eva@example.org"}};
    QCOMPARE(mapi::mailtoLink(mail).text, "mailto:max@example.org,eva@example.org"s);
    QCOMPARE(mapi::mailtoLink(mail, {.names = true}).text,
             "mailto:%22Max%22%20%3Cmax@example.org%3E,eva@example.org"s);
    mail.to.clear();
    mail.cc = {{"", "a&b@x.org"}};
    mail.bcc = {{"", "c+d@x.org"}};
    mail.subject = "a+b & c";
    mail.noteText = "1\n2\n";
    const mapi::Argument full = mapi::mailtoLink(mail, {.files = {"/a b/c&d", "/e"}});
    QCOMPARE(full.text,
             "mailto:?cc=a%26b@x.org&bcc=c%2Bd@x.org&subject=a%2Bb%20%26%20c&body=1%0D%0A2%0D%0A"
             "&attach=/a%20b/c%26d&attach=/e"s);
    QCOMPARE(full.shown,
             "mailto:?cc=a%26b@x.org&bcc=c%2Bd@x.org&subject=a%2Bb%20%26%20c&body=(4 bytes)"
             "&attach=/a%20b/c%26d&attach=/e"s);
}

void TestMapiCompose::mozillaArgument()
{
    mapi::Mail mail;
    QCOMPARE(texts(mapi::mozillaArguments(mail, {})), (QStringList{u"-compose"_s, u"format=text"_s}));
    mail.to = {{"Max", "max@example.org"}};
    mail.subject = "it's, \"so\"";
    mail.noteText = "a\n";
    QCOMPARE(texts(mapi::mozillaArguments(mail, {})).at(1),
             u"to=%22Max%22%20%3Cmax%40example.org%3E,subject=it%27s%2C%20%22so%22,body=a%0A,format=text"_s);
}

void TestMapiCompose::kmailArguments()
{
    mapi::Mail mail;
    mail.to = {{"", "root"}, {"Max", "max@example.org"}};
    mail.cc = {{"", "a@x.org"}, {"B", "b@x.org"}};
    mail.subject = "--attach";
    mail.noteText = "-x\n";
    const mapi::MailClient &kmail = *mapi::clientByName("kmail");
    QCOMPARE(texts(kmail.arguments(mail, {"/a@b c"})),
             (QStringList{u"--composer"_s, u"--subject=--attach"_s, u"--cc=a@x.org, \"B\" <b@x.org>"_s,
                          u"--body=-x\n"_s, u"--attach=file:///a%40b%20c"_s, u"root"_s,
                          u"\"Max\" <max@example.org>"_s}));
    mail.subject = "ession";
    QCOMPARE(texts(kmail.arguments(mail, {})).at(1), u"mailto:?subject=ession"_s);
}

void TestMapiCompose::arguments_data()
{
    QTest::addColumn<QByteArray>("subject");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("file");
    const QByteArray usual = "a@example.org";
    QTest::newRow("nothing") << QByteArray() << QByteArray() << QByteArray() << usual << QByteArray("/a");
    QTest::newRow("awkward") << QByteArray("a, b 'c' \"d\" ü € 😀 %41") << QByteArray("a, b 'c' \"d\"\n")
                             << QByteArray("a, b 'c' \"d\" ü 😀 %41") << usual
                             << QByteArray("/a, b 'c' \"d\" ü € 😀 %41.txt");
    QTest::newRow("end of a quoted value")
        << QByteArray("',attachment='file:///etc/passwd") << QByteArray("',attachment='file:///etc/passwd\n")
        << QByteArray("',attachment='file:///etc/passwd") << usual
        << QByteArray("/',attachment='file:///etc/passwd");
    QTest::newRow("pairs") << QByteArray("x,attachment=/etc/passwd") << QByteArray("x,to=e@evil\n")
                           << QByteArray("x,to=e@evil") << usual << QByteArray("/x,attachment=y");
    QTest::newRow("keys") << QByteArray("x&attach=/etc/passwd") << QByteArray("x&bcc=e@evil?cc=f\n")
                          << QByteArray("x&bcc=e@evil") << QByteArray("a&attach=/etc/passwd@example.org")
                          << QByteArray("/x&attach=y?z#");
    QTest::newRow("options") << QByteArray("--attach") << QByteArray("--attach /etc/passwd\n")
                             << QByteArray("--attach") << usual << QByteArray("/--attach");
    QTest::newRow("one letter options")
        << QByteArray("-a") << QByteArray("-a\n") << QByteArray("-a") << usual << QByteArray("/-a");
    QTest::newRow("link as a text") << QByteArray("mailto:x@y?attach=/z") << QByteArray("mailto:x@y\n")
                                    << QByteArray("mailto:x@y") << usual << QByteArray("/mailto:x");
    QTest::newRow("file as a text") << QByteArray("file:///etc/passwd") << QByteArray("file:///etc/passwd\n")
                                    << QByteArray("file:///etc/passwd") << usual << QByteArray("/file:");
    QTest::newRow("percent signs") << QByteArray("100%") << QByteArray("%41%zz%\n") << QByteArray("50%20")
                                   << QByteArray("a%40b@example.org") << QByteArray("/100%");
    QTest::newRow("plus signs") << QByteArray("1+1") << QByteArray("1+1\n") << QByteArray("1+1")
                                << QByteArray("a+b@example.org") << QByteArray("/1+1");
    QTest::newRow("file forwarding") << QByteArray("@@") << QByteArray("@@u\n") << QByteArray("@@") << usual
                                     << QByteArray("/@@");
    QTest::newRow("session") << QByteArray("ession") << QByteArray("x\n") << QByteArray("ession") << usual
                             << QByteArray("/ession");
    QTest::newRow("controls") << QByteArray("a\tb\x1b[0m") << QByteArray("a\tb\x1b[0m\x01\n")
                              << QByteArray("a\tb") << usual << QByteArray("/a\tb");
    QTest::newRow("blanks") << QByteArray(" a  b ") << QByteArray("  \n \n") << QByteArray("a  b") << usual
                            << QByteArray("/ a  b ");
    QTest::newRow("local user") << QByteArray("x") << QByteArray("x\n") << QByteArray() << QByteArray("root")
                                << QByteArray("/x");
    QTest::newRow("quoted local part") << QByteArray("x") << QByteArray("x\n") << QByteArray("N")
                                       << QByteArray("\"a,b\"@example.org") << QByteArray("/x");
    QTest::newRow("long") << QByteArray(5000, 'x') << QByteArray(100000, 'y') + '\n'
                          << QByteArray(300, 'z') << usual << QByteArray("/" + QByteArray(200, 'w'));
    // Around the longest line that a running client reads.
    for (const int length : {7400, 7700, 7900, 8000, 8100, 8200})
        QTest::addRow("text of %d", length) << QByteArray("x") << QByteArray(length, 'y') + '\n'
                                            << QByteArray() << usual << QByteArray("/x");
    QTest::newRow("markup") << QByteArray("<b>x</b>") << QByteArray("<html><b>x</b>&nbsp;</html>\n")
                            << QByteArray("<b>x</b>") << usual << QByteArray("/<b>.html");
    QTest::newRow("encoded words") << QByteArray("=?UTF-8?Q?x=0ABcc:_e?=") << QByteArray("=?UTF-8?Q?x?=\n")
                                   << QByteArray("=?UTF-8?B?eA==?=") << usual << QByteArray("/=?UTF-8?Q?x?=");
    QTest::newRow("shell") << QByteArray("$(touch x) `x` ; | > <") << QByteArray("$(touch x) `x` ; | > <\n")
                           << QByteArray("$(touch x) `x`") << usual << QByteArray("/$(touch x) `x` ; |");
}

void TestMapiCompose::arguments()
{
    QFETCH(QByteArray, subject);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, file);
    mapi::Mail mail;
    mail.subject = subject.toStdString();
    mail.noteText = text.toStdString();
    const mapi::Mailbox mailbox{name.toStdString(), address.toStdString()};
    mail.to = {mailbox, {"", "second@example.org"}};
    mail.cc = {mailbox};
    mail.bcc = {{"Third", "third@example.org"}, mailbox};
    const std::string fault = questions::judgeAll(mail, {file.toStdString(), "/second"});
    QVERIFY2(fault.empty(), fault.c_str());
}

void TestMapiCompose::longestLine()
{
    // What the table lets through is read whole, to the last byte.
    for (const char *name : {"claws-mail", "sylpheed"}) {
        const mapi::MailClient &client = *mapi::clientByName(name);
        mapi::Mail mail = plainMail();
        mail.noteText = "y";
        const std::size_t frame = client.arguments(mail, {})[1].text.size() - 1;
        QVERIFY(frame < client.longestArgument);
        mail.noteText.assign(client.longestArgument - frame, 'y');
        QCOMPARE(client.arguments(mail, {})[1].text.size(), client.longestArgument);
        const std::string fault = questions::judgeClient(client, mail, {"/x"});
        QVERIFY2(fault.empty(), fault.c_str());
    }
}

void TestMapiCompose::receivingRulesSeeAnInjection()
{
    // The judges would notice: each of these is what a careless builder writes.
    const auto mozilla = receiving::readMozilla("to='a@x',body='x',attachment='file:///etc/passwd'");
    QCOMPARE(receiving::valueOf(mozilla, "attachment"), "file:///etc/passwd"s);
    QCOMPARE(receiving::valueOf(receiving::readMozilla("subject=a,b=c"), "b"), "c"s);
    const auto link = receiving::readMailto("mailto:a@x?subject=b&attach=/etc/passwd");
    QVERIFY(link);
    QCOMPARE(receiving::valueOf(*link, "attach"), "/etc/passwd"s);
    QVERIFY(!receiving::readMailto("mailto:a@x?subject=a b"));
    QVERIFY(!receiving::readMailto("mailto:a@x?subject=100%"));
    const auto kmail = receiving::readKMail({"-s", "x"});
    QVERIFY(!kmail);
    const auto trap = receiving::readKMail({"--attach", "/a", "root"});
    QVERIFY(trap);
    QCOMPARE(receiving::valuesOf(*trap, "attach").size(), std::size_t(2));
    QVERIFY(!receiving::readComposeOption({"--compose", "mailto:", "--attach", "/a\n/b"}));
    const std::string longLink = "mailto:a@x?body=" + std::string(8190 - 15 - 16, 'y');
    QVERIFY(receiving::readComposeOption({"--compose", longLink.substr(0, longLink.size() - 1)}));
    QVERIFY(receiving::readComposeOption({"--compose", longLink}));
    QVERIFY(!receiving::readComposeOption({"--compose", longLink + "y"}));
    QCOMPARE(receiving::valueOf(receiving::readMozilla("subject=%FF"), "subject"), "%FF"s);
    QCOMPARE(receiving::wordsDecoded("=?utf-8?q?a=0Ab_c?= =?UTF-8?B?eA==?= y"), "a\nb cx y"s);
    QVERIFY(receiving::wordsDecoded("=?ISO-8859-1?Q?x?=") != "x"s);
    QVERIFY(!receiving::parameterOf("attachment; filename=\"a\"; filename=\"b\"", "filename"));
    QCOMPARE(receiving::parameterOf("attachment; filename*0*=UTF-8''a%20; filename*1*=b", "filename").value(),
             "a b"s);
    QVERIFY(!receiving::transferDecoded("a=zz", "quoted-printable"));
    QVERIFY(!receiving::transferDecoded("\xFC", "7bit"));
    QVERIFY(!receiving::portalTakesAddress("Max <a@x.org>"));
    QVERIFY(!receiving::portalTakesSubject("a\nb"));
    // The text must not be shown, in whatever encoding.
    mapi::Mail secret = plainMail();
    QVERIFY(questions::showsText(secret, [](const mapi::Mail &mail) {
        return mapi::Arguments{mapi::Argument(mapi::percentEncoded(mail.noteText))};
    }));
    const auto header = receiving::readHeader("Subject: x\r\nBcc: e@evil\r\n\r\n");
    QVERIFY(header);
    QCOMPARE(receiving::valueOf(*header, "bcc"), "e@evil"s);
    mapi::Mail mail = plainMail();
    QCOMPARE(questions::judgeLink(mail, {}, true), ""s);
    mail.bcc = {{"", "a@x,b@y"}};
    QVERIFY(!questions::judgeClient(*mapi::clientByName("kmail"), mail, {}).empty());
}

void TestMapiCompose::knownInputs_data()
{
    QTest::addColumn<QString>("file");
    const QDir corpus(QStringLiteral(OSTRELLE_FUZZ_CORPUS));
    const QStringList names = corpus.entryList(QDir::Files, QDir::Name);
    QVERIFY(!names.isEmpty());
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << corpus.filePath(name);
}

void TestMapiCompose::knownInputs()
{
    QFETCH(QString, file);
    const QByteArray content = readFile(file);
    QVERIFY(questions::askBuilders({content.constData(), std::size_t(content.size())}));
}

void TestMapiCompose::lineBreaks_data()
{
    QTest::addColumn<QByteArray>("subject");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("fileName");
    QTest::addColumn<ULONG>("code");
    const QByteArray subject = "x";
    const QByteArray name = "Max";
    const QByteArray address = "max@example.org";
    const QByteArray file = "x.txt";
    QTest::newRow("none") << subject << name << address << file << SUCCESS_SUCCESS;
    for (const QByteArray &end : {QByteArray("\r"), QByteArray("\n"), QByteArray("\r\n")}) {
        const QByteArray text = "x" + end + "Bcc: e@evil";
        const QByteArray row = end.toHex();
        const auto named = [&row](const char *what) {
            return QByteArray(what) + row;
        };
        QTest::newRow(named("subject ").constData())
            << text << name << address << file << MAPI_E_INVALID_MESSAGE;
        QTest::newRow(named("name ").constData())
            << subject << text << address << file << MAPI_E_INVALID_RECIPS;
        QTest::newRow(named("address ").constData())
            << subject << name << text << file << MAPI_E_INVALID_RECIPS;
        QTest::newRow(named("file ").constData())
            << subject << name << address << text << MAPI_E_INVALID_MESSAGE;
    }
    const auto hidden = [&](const char *row, const char *text) {
        QTest::newRow(row) << subject << QByteArray() << QByteArray(text) << file << MAPI_E_INVALID_RECIPS;
    };
    hidden("LF in an encoded name", "=?UTF-8?Q?Max=0AAttach=3A_/etc/passwd?= <max@example.org>");
    hidden("CR in an encoded name", "=?UTF-8?Q?Max=0DX?= <max@example.org>");
    hidden("NUL in an encoded name", "=?UTF-8?Q?Max=00X?= <max@example.org>");
    hidden("NUL in base64", "=?ISO-8859-1?B?TQBheA==?= <max@example.org>");
    hidden("NUL in UTF-16", "=?UTF-16BE?B?AE0AAABh?= <max@example.org>");
    hidden("NUL in UTF-16 in a comment", "max@example.org (=?utf-16be?B?AE0AAABh?=)");
    hidden("NUL in UTF-32", "=?UTF-32BE?B?AAAATQAAAAAAAABh?= <max@example.org>");
    hidden("NUL in base64 in a comment", "max@example.org (=?UTF-8?B?TQBheA==?=)");
    hidden("LF in UTF-16", "=?UTF-16BE?B?AE0ACgBh?= <max@example.org>");
    hidden("CR in a comment", "max@example.org (=?UTF-8?Q?M=0Da?=)");
    hidden("LF in base64", "=?UTF-8?B?TWF4CkJjYzogZQ==?= <max@example.org>");
    // A text that only looks encoded is no header yet and stays as it is.
    QTest::newRow("subject that looks encoded")
        << QByteArray("=?UTF-8?Q?x=0Ay?=") << name << address << file << SUCCESS_SUCCESS;
    QTest::newRow("name that looks encoded")
        << subject << QByteArray("=?UTF-8?Q?x=0Ay?=") << address << file << SUCCESS_SUCCESS;
}

void TestMapiCompose::lineBreaks()
{
    QFETCH(QByteArray, subject);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, fileName);
    QFETCH(ULONG, code);
    mapi::Message message;
    message.subject = subject.toStdString();
    message.recipients = {{MAPI_TO, name.toStdString(), address.toStdString()}};
    message.files = {{QFile::encodeName(write(u"attached"_s, "x")).toStdString(), fileName.toStdString()}};
    mapi::Mail mail;
    QCOMPARE(codeOf([&] { mail = mapi::prepareMail(message); }), code);
    if (code == SUCCESS_SUCCESS) {
        const std::string fault = questions::judgeAll(mail, {"/x"});
        QVERIFY2(fault.empty(), fault.c_str());
    }
}

void TestMapiCompose::mozillaDrafts_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("draft");
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("blanks") << QByteArray(" \n\n") << false;
    QTest::newRow("a sentence") << QByteArray("Dear Max: see http://example.org/ for more.\n") << false;
    QTest::newRow("one word") << QByteArray("Hello\n") << false;
    QTest::newRow("file URI") << QByteArray("file:///etc/passwd\n") << true;
    QTest::newRow("file URI in capitals") << QByteArray("FILE:///etc/passwd\n") << true;
    QTest::newRow("file URI with blanks around") << QByteArray("\n  file:///a \n\n") << true;
    QTest::newRow("file URI with more behind") << QByteArray("file:///a b\nc\n") << true;
    QTest::newRow("path") << QByteArray("/etc/passwd\n") << true;
    QTest::newRow("other URI") << QByteArray("data:text/html,x\n") << true;
    QTest::newRow("Windows path") << QByteArray("C:\\a.txt\n") << true;
}

void TestMapiCompose::mozillaDrafts()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, draft);
    mapi::Mail mail;
    mail.noteText = text.toStdString();
    QCOMPARE(mapi::mozillaNeedsDraft(mail), draft);
    mail.receiptRequested = true;
    QVERIFY(mapi::mozillaNeedsDraft(mail));
    mail.receiptRequested = false;
    mail.from = mapi::Mailbox{"", "a@x"};
    QVERIFY(mapi::mozillaNeedsDraft(mail));
}

void TestMapiCompose::everyRowHasItsParts()
{
    for (const char *name : questions::clientNames) {
        const mapi::MailClient *client = mapi::clientByName(name);
        QVERIFY2(client != nullptr, name);
        QVERIFY(client->arguments != nullptr);
        QVERIFY2(client->attachments || client->drafts, name);
        QVERIFY(!client->programs.front().empty());
        QCOMPARE(mapi::clientByProgram(client->programs.front()), client);
        QCOMPARE(mapi::clientByEntry(client->entries.front()), client);
    }
    QVERIFY(mapi::clientByName("") == nullptr);
    QVERIFY(mapi::clientByProgram("") == nullptr);
    QVERIFY(mapi::clientByEntry("") == nullptr);
    QVERIFY(mapi::clientByProgram("mythunderbird") == nullptr);
}

void TestMapiCompose::recognition_data()
{
    QTest::addColumn<QStringList>("exec");
    QTest::addColumn<QString>("client");
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QString>("flatpak");
    const auto row = [](const char *name, const QString &exec, const QString &client, const QString &command,
                        const QString &flatpak = QString()) {
        QTest::newRow(name) << exec.split(u' ') << client << command.split(u' ', Qt::SkipEmptyParts)
                            << flatpak;
    };
    row("Thunderbird", u"/usr/bin/thunderbird %u"_s, u"thunderbird"_s, u"/usr/bin/thunderbird"_s);
    row("Thunderbird by name", u"thunderbird %u"_s, u"thunderbird"_s, u"thunderbird"_s);
    row("Thunderbird with a profile", u"thunderbird --no-remote -P work -mail %u"_s, u"thunderbird"_s,
        u"thunderbird -P work"_s);
    row("Thunderbird with -compose", u"thunderbird -compose %u"_s, u"thunderbird"_s, u"thunderbird"_s);
    row("Thunderbird, Flatpak",
        u"/usr/bin/flatpak run --branch=stable --arch=x86_64 --command=thunderbird --file-forwarding "
        "org.mozilla.Thunderbird @@u %u @@"_s,
        u"thunderbird"_s,
        u"/usr/bin/flatpak run --branch=stable --arch=x86_64 --command=thunderbird org.mozilla.Thunderbird"_s,
        u"org.mozilla.Thunderbird"_s);
    row("Thunderbird, Snap",
        u"env BAMF_DESKTOP_FILE_HINT=/var/lib/snapd/desktop/applications/thunderbird_thunderbird.desktop "
        "/snap/bin/thunderbird %u"_s,
        u"thunderbird"_s,
        u"env BAMF_DESKTOP_FILE_HINT=/var/lib/snapd/desktop/applications/thunderbird_thunderbird.desktop "
        "/snap/bin/thunderbird"_s);
    row("Betterbird", u"/opt/betterbird/betterbird %u"_s, u"betterbird"_s, u"/opt/betterbird/betterbird"_s);
    row("Betterbird, Flatpak", u"flatpak run eu.betterbird.Betterbird @@u %u @@"_s, u"betterbird"_s,
        u"flatpak run eu.betterbird.Betterbird"_s, u"eu.betterbird.Betterbird"_s);
    row("Betterbird, Snap", u"/snap/bin/betterbird %u"_s, u"betterbird"_s, u"/snap/bin/betterbird"_s);
    row("Evolution", u"evolution %U"_s, u"evolution"_s, u"evolution"_s);
    row("Evolution, Flatpak", u"flatpak run org.gnome.Evolution %U"_s, u"evolution"_s,
        u"flatpak run org.gnome.Evolution"_s, u"org.gnome.Evolution"_s);
    row("KMail", u"kmail -qwindowtitle %c %u"_s, u"kmail"_s, u"kmail"_s);
    row("Geary", u"geary %U"_s, u"geary"_s, u"geary"_s);
    row("Geary, Flatpak", u"flatpak run --command=geary org.gnome.Geary %U"_s, u"geary"_s,
        u"flatpak run --command=geary org.gnome.Geary"_s, u"org.gnome.Geary"_s);
    row("Claws Mail", u"claws-mail --compose %u"_s, u"claws-mail"_s, u"claws-mail"_s);
    row("Sylpheed", u"sylpheed %u"_s, u"sylpheed"_s, u"sylpheed"_s);
    row("Balsa", u"balsa -m %u"_s, u"balsa"_s, u"balsa"_s);
    row("another client", u"mailspring %U"_s, QString(), QString());
    row("a client in the arguments only", u"firefox --app thunderbird %u"_s, QString(), QString());
    row("a shell", u"sh -c thunderbird %u"_s, QString(), QString());
    row("another package", u"flatpak run org.example.Mail thunderbird %u"_s, QString(), QString());
    row("flatpak without run", u"flatpak org.mozilla.Thunderbird"_s, QString(), QString());
    row("flatpak without a package", u"flatpak run --command=thunderbird"_s, QString(), QString());
    row("env alone", u"env A=b"_s, QString(), QString());
    QTest::newRow("no command") << QStringList() << QString() << QStringList() << QString();
}

void TestMapiCompose::recognition()
{
    QFETCH(QStringList, exec);
    QFETCH(QString, client);
    QFETCH(QStringList, command);
    QFETCH(QString, flatpak);
    mapi::DesktopApp app;
    app.command = words(exec);
    const auto found = mapi::recogniseClient(app);
    QCOMPARE(found.has_value(), !client.isEmpty());
    if (found) {
        QCOMPARE(QString::fromUtf8(found->client->name.data(), qsizetype(found->client->name.size())),
                 client);
        QCOMPARE(texts(found->words), command);
        QCOMPARE(QString::fromStdString(found->flatpak), flatpak);
    }
    app.terminal = true;
    QVERIFY(!mapi::recogniseClient(app));
}

void TestMapiCompose::commandLines_data()
{
    QTest::addColumn<QStringList>("exec");
    QTest::addColumn<bool>("forFile");
    QTest::addColumn<QStringList>("expected"); // empty: cannot be
    const QString link = u"mailto:a@x?body=b%20c"_s;
    const QString uri = u"file:///d/mail.eml"_s;
    const QString file = u"/d/mail.eml"_s;
    const auto row
        = [](const char *name, const QStringList &exec, bool forFile, const QStringList &expected) {
              QTest::newRow(name) << exec << forFile << expected;
          };
    row("%u", {u"m"_s, u"%u"_s}, false, {u"m"_s, link});
    row("%U", {u"m"_s, u"--x"_s, u"%U"_s}, false, {u"m"_s, u"--x"_s, link});
    row("%u within a word", {u"m"_s, u"--url=%u"_s}, false, {u"m"_s, u"--url="_s + link});
    row("%u for a file", {u"m"_s, u"%u"_s}, true, {u"m"_s, uri});
    row("%f for a file", {u"m"_s, u"%f"_s}, true, {u"m"_s, file});
    row("%F for a link", {u"m"_s, u"%F"_s}, false, {});
    row("no place for a link", {u"m"_s}, false, {});
    row("no place for a file", {u"m"_s}, true, {u"m"_s, file});
    row("percent sign, name, icon, old codes",
        {u"m"_s, u"100%%"_s, u"%c"_s, u"%i"_s, u"%d"_s, u"%k"_s, u"%u"_s}, false,
        {u"m"_s, u"100%"_s, u"The App"_s, u"/the/entry"_s, link});
    row("percent sign at the end", {u"m"_s, u"%u"_s, u"x%"_s}, false, {u"m"_s, link, u"x%"_s});
    row("a script with its argument", {u"sh"_s, u"-c"_s, u"exec m \"$1\""_s, u"-"_s, u"%u"_s}, false,
        {u"sh"_s, u"-c"_s, u"exec m \"$1\""_s, u"-"_s, link});
    row("a script around it", {u"sh"_s, u"-c"_s, u"m %u"_s}, false, {});
    row("file forwarding", {u"flatpak"_s, u"run"_s, u"x"_s, u"@@u"_s, u"%u"_s, u"@@"_s}, true,
        {u"flatpak"_s, u"run"_s, u"x"_s, u"@@u"_s, uri, u"@@"_s});
    row("no command", {}, false, {});
}

void TestMapiCompose::commandLines()
{
    QFETCH(QStringList, exec);
    QFETCH(bool, forFile);
    QFETCH(QStringList, expected);
    mapi::DesktopApp app;
    app.name = "The App";
    app.file = "/the/entry";
    app.command = words(exec);
    const std::string path = forFile ? "/d/mail.eml" : "";
    const mapi::Argument uri = forFile ? mapi::Argument("file:///d/mail.eml")
                                       : mapi::Argument("mailto:a@x?body=b%20c", "mailto:(hidden)");
    const auto command = mapi::commandFor(app, uri, path);
    QCOMPARE(command.has_value(), !expected.isEmpty());
    if (command) {
        QCOMPARE(texts(*command), expected);
        for (const mapi::Argument &argument : *command)
            QVERIFY(argument.shown.find("b%20c") == std::string::npos);
    }
    app.terminal = true;
    QVERIFY(!mapi::commandFor(app, uri, path));
}

void TestMapiCompose::portal_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<int>("subjectLength");
    QTest::addColumn<int>("recipients");
    QTest::addColumn<unsigned>("version");
    QTest::addColumn<ULONG>("code");
    const QByteArray usual = "a.b+c@x-y.example";
    QTest::newRow("usual") << usual << 10 << 3 << 4U << SUCCESS_SUCCESS;
    QTest::newRow("nobody") << usual << 10 << 0 << 1U << SUCCESS_SUCCESS;
    QTest::newRow("longest subject") << usual << 200 << 1 << 4U << SUCCESS_SUCCESS;
    QTest::newRow("too long a subject") << usual << 201 << 1 << 4U << MAPI_E_TEXT_TOO_LARGE;
    QTest::newRow("one recipient, version 1") << usual << 10 << 1 << 1U << SUCCESS_SUCCESS;
    QTest::newRow("two recipients, version 1") << usual << 10 << 2 << 1U << MAPI_E_TOO_MANY_RECIPIENTS;
    QTest::newRow("two recipients, version 2") << usual << 10 << 2 << 2U << MAPI_E_TOO_MANY_RECIPIENTS;
    QTest::newRow("two recipients, version 3") << usual << 10 << 2 << 3U << SUCCESS_SUCCESS;
    const auto refused = [](const char *name, const QByteArray &address) {
        QTest::newRow(name) << address << 10 << 1 << 4U << MAPI_E_INVALID_RECIPS;
    };
    refused("local user", "root");
    refused("quoted local part", "\"a b\"@example.org");
    refused("other letters", "ü@example.org");
    refused("address literal", "a@[127.0.0.1]");
    refused("empty label", "a@example..org");
    refused("hyphen at an end", "a@-example.org");
    refused("long label", "a@" + QByteArray(64, 'x') + ".org");
    refused("no local part", "@example.org");
}

void TestMapiCompose::portal()
{
    QFETCH(QByteArray, address);
    QFETCH(int, subjectLength);
    QFETCH(int, recipients);
    QFETCH(unsigned, version);
    QFETCH(ULONG, code);
    mapi::Mail mail;
    mail.subject = QString(subjectLength, u'ü').toStdString();
    mail.noteText = "x\n";
    for (int i = 0; i < recipients; ++i)
        mail.to.push_back({"Name", address.toStdString()});
    QCOMPARE(codeOf([&] { static_cast<void>(mapi::portalMail(mail, version)); }), code);
    const std::string fault = questions::judgePortal(mail, version);
    QVERIFY2(fault.empty(), fault.c_str());
    mail.to.clear();
    mail.cc = {{"", "a@example.org"}};
    QCOMPARE(codeOf([&] { static_cast<void>(mapi::portalMail(mail, 2)); }), MAPI_E_TOO_MANY_RECIPIENTS);
    std::swap(mail.cc, mail.bcc);
    QCOMPARE(codeOf([&] { static_cast<void>(mapi::portalMail(mail, 2)); }), MAPI_E_TOO_MANY_RECIPIENTS);
}

void TestMapiCompose::ownSandbox_data()
{
    QTest::addColumn<bool>("flatpak");
    QTest::addColumn<bool>("variable");
    QTest::addColumn<QByteArray>("description"); // of the Snap package; null for none
    QTest::addColumn<int>("sandbox");
    QTest::addColumn<QString>("staging");
    using mapi::Sandbox;
    const auto row = [](const char *name, bool flatpak, bool variable, const QByteArray &description,
                        Sandbox sandbox, const QString &staging) {
        QTest::newRow(name) << flatpak << variable << description << int(sandbox) << staging;
    };
    const QString home = u"home/ostrelle-mail"_s;
    const QString common = u"common/ostrelle-mail"_s;
    row("none", false, false, {}, Sandbox::None, home);
    row("Flatpak", true, false, {}, Sandbox::Flatpak, home);
    row("Flatpak within what a Snap package started", true, true, "name: x\n", Sandbox::Flatpak, common);
    row("Snap", false, true, "name: x\n", Sandbox::Snap, common);
    row("Snap, strict", false, true, "name: x\nconfinement: strict\nbase: core22\n", Sandbox::Snap, common);
    row("Snap, in development", false, true, "confinement: devmode\n", Sandbox::Snap, common);
    row("Snap, classic", false, true, "name: x\nconfinement: classic\n", Sandbox::None, home);
    row("Snap, classic, blanks", false, true, "confinement:   classic \n", Sandbox::None, home);
    row("Snap, another word", false, true, "confinement: classical\n", Sandbox::Snap, common);
    row("Snap, of a part", false, true, "parts:\n  confinement: classic\n", Sandbox::Snap, common);
    row("variable alone", false, true, {}, Sandbox::None, home);
    row("description alone", false, false, "name: x\n", Sandbox::None, home);
}

void TestMapiCompose::ownSandbox()
{
    QFETCH(bool, flatpak);
    QFETCH(bool, variable);
    QFETCH(QByteArray, description);
    QFETCH(int, sandbox);
    QFETCH(QString, staging);
    QVERIFY(QDir().mkpath(path(u"root"_s)));
    QVERIFY(QDir().mkpath(path(u"snap/meta"_s)));
    if (flatpak)
        write(u"root/.flatpak-info"_s, "[Application]\n");
    if (!description.isNull())
        write(u"snap/meta/snap.yaml"_s, description);
    const ScopedEnvironment snap("SNAP", variable ? QFile::encodeName(path(u"snap"_s)) : QByteArray());
    const ScopedEnvironment common("SNAP_USER_COMMON", QFile::encodeName(path(u"common"_s)));
    const ScopedEnvironment home("HOME", QFile::encodeName(path(u"home"_s)));
    QCOMPARE(int(mapi::ownSandbox(native(u"root"_s))), sandbox);
    // The root of this machine has no such file.
    QCOMPARE(mapi::defaultStagingDirectory(), native(staging));
}

void TestMapiCompose::portalGivesNoResponse()
{
    // Nobody answers: the call ends all the same, and the portal is not asked a second time.
    PrivateBus privateBus(m_dir->path());
    QVERIFY(privateBus.start(u"silent"_s, 4));
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", privateBus.address().toUtf8());
    mapi::Mail mail;
    mail.to = {{"", "a@example.org"}};
    mail.noteText = "x\n";
    std::string reason;
    ULONG code = SUCCESS_SUCCESS;
    QElapsedTimer timer;
    timer.start();
    try {
        const mapi::SessionBus bus;
        mapi::composeByPortal(bus, mail, {}, 700ms);
    } catch (const mapi::Failure &failure) {
        code = failure.code();
        reason = failure.what();
    }
    QCOMPARE(code, MAPI_E_FAILURE);
    QCOMPARE(reason, "the portal gave no response in time"s);
    QVERIFY(timer.elapsed() >= 700);
    QCOMPARE(readFile(privateBus.record()).count("ComposeEmail"), 1);
}

void TestMapiCompose::settings_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<int>("route");
    QTest::addColumn<QString>("client");
    QTest::addColumn<QString>("outbox");
    QTest::addColumn<QString>("staging");
    using Route = mapi::Settings::Route;
    const auto good
        = [](const char *name, const QByteArray &content, Route route = Route::Automatic,
             const QString &client = {}, const QString &outbox = {}, const QString &staging = {}) {
              QTest::newRow(name) << content << SUCCESS_SUCCESS << int(route) << client << outbox << staging;
          };
    const auto bad = [](const char *name, const QByteArray &content) {
        QTest::newRow(name) << content << MAPI_E_FAILURE << 0 << QString() << QString() << QString();
    };
    good("empty", "");
    good("other group", "[Other]\nroute=portal\n");
    good("auto", "[MAPI]\nroute=auto\n");
    good("mailto", "[MAPI]\nroute=mailto\n", Route::Mailto);
    good("draft", "[MAPI]\nroute = draft \n", Route::Draft);
    good("portal", "# comment\n[MAPI]\n# another\nroute=portal\n", Route::Portal);
    good("outbox", "[MAPI]\nroute=outbox\noutbox=/a/b\n", Route::Outbox, {}, u"/a/b"_s);
    good("home", "[MAPI]\noutbox=~/a\nstaging=~/b c\n", Route::Automatic, {}, u"HOME/a"_s, u"HOME/b c"_s);
    good("client", "[MAPI]\nclient=claws-mail\n", Route::Automatic, u"claws-mail"_s);
    good("empty values", "[MAPI]\nroute=\nclient=\noutbox=\nstaging=\n");
    good("unknown key", "[MAPI]\nrouter=x\n");
    bad("unknown route", "[MAPI]\nroute=pigeon\n");
    bad("route in capitals", "[MAPI]\nroute=Portal\n");
    bad("relative outbox", "[MAPI]\noutbox=a/b\n");
    bad("home of somebody", "[MAPI]\noutbox=~max/b\n");
    bad("relative staging", "[MAPI]\nstaging=a\n");
    bad("line break in a path", "[MAPI]\nstaging=/a\\nb\n");
    bad("no group", "route=portal\n");
    bad("no text", QByteArray("\0\1\2\xff", 4));
    bad("text that is no UTF-8", "[MAPI]\nclient=\xff\n");
}

void TestMapiCompose::settings()
{
    QFETCH(QByteArray, content);
    QFETCH(ULONG, code);
    QVERIFY(QDir().mkpath(path(u"config/ostrelle"_s)));
    write(u"config/ostrelle/mapi.ini"_s, content);
    const ScopedEnvironment config("XDG_CONFIG_HOME", QFile::encodeName(path(u"config"_s)));
    const ScopedEnvironment system("XDG_CONFIG_DIRS", QFile::encodeName(path(u"none"_s)));
    const ScopedEnvironment home("HOME", "/the/home");
    mapi::Settings settings;
    QCOMPARE(codeOf([&] { settings = mapi::readSettings(); }), code);
    if (code != SUCCESS_SUCCESS)
        return;
    const auto expected = [](QString text) {
        return text.replace(u"HOME"_s, u"/the/home"_s).toStdString();
    };
    QFETCH(int, route);
    QFETCH(QString, client);
    QFETCH(QString, outbox);
    QFETCH(QString, staging);
    QCOMPARE(int(settings.route), route);
    QCOMPARE(settings.client, client.toStdString());
    QCOMPARE(settings.outbox, expected(outbox));
    QCOMPARE(settings.staging, expected(staging));
}

void TestMapiCompose::settingsOfUserAndSystem()
{
    for (const QString &name : {u"user"_s, u"first"_s, u"second"_s})
        QVERIFY(QDir().mkpath(path(name + u"/ostrelle"_s)));
    write(u"user/ostrelle/mapi.ini"_s, "[MAPI]\nclient=geary\n");
    write(u"first/ostrelle/mapi.ini"_s, "[MAPI]\nclient=kmail\nroute=draft\n");
    write(u"second/ostrelle/mapi.ini"_s, "[MAPI]\nroute=portal\noutbox=/o\n");
    const ScopedEnvironment config("XDG_CONFIG_HOME", QFile::encodeName(path(u"user"_s)));
    const ScopedEnvironment system("XDG_CONFIG_DIRS",
                                   QFile::encodeName(path(u"first"_s) + u":relative:"_s + path(u"second"_s)));
    const mapi::Settings settings = mapi::readSettings();
    QCOMPARE(settings.client, "geary"s);
    QCOMPARE(settings.route, mapi::Settings::Route::Draft);
    QCOMPARE(settings.outbox, "/o"s);
    // A directory in the place of a file is not silently no file.
    QVERIFY(QFile::remove(path(u"user/ostrelle/mapi.ini"_s)));
    QVERIFY(QDir().mkpath(path(u"user/ostrelle/mapi.ini"_s)));
    QCOMPARE(codeOf([] { static_cast<void>(mapi::readSettings()); }), MAPI_E_FAILURE);
}

void TestMapiCompose::stagedFiles()
{
    const QByteArray content = QByteArray(200000, 'x') + "end";
    const std::string source = QFile::encodeName(write(u"source"_s, content)).toStdString();
    const mapi::Attachment attachment(source, "a, b 'c' \"d\" ü € 😀 %41.txt");
    std::string first;
    std::string second;
    std::string draft;
    {
        const mode_t saved = ::umask(0277);
        mapi::StagedMail staged(native(u"deep/staging"_s));
        first = staged.addFile(attachment);
        second = staged.addFile(attachment);
        mapi::Mail mail = plainMail();
        mail.attachments = {attachment};
        draft = staged.addDraft(mail);
        ::umask(saved);
        staged.keep();
    }
    QVERIFY(first != second);
    for (const std::string &file : {first, second}) {
        QVERIFY(QString::fromStdString(file).endsWith(u"/a, b 'c' \"d\" ü € 😀 %41.txt"_s));
        QCOMPARE(readFile(QString::fromStdString(file)), content);
        QCOMPARE(modeOf(file), mode_t(0600));
    }
    QVERIFY(QString::fromStdString(draft).endsWith(u"/mail.eml"_s));
    QCOMPARE(modeOf(draft), mode_t(0600));
    const QStringList mails = entries(u"deep/staging"_s);
    QCOMPARE(mails.size(), 1);
    QVERIFY(mapi::isUniqueName(mails.first().toStdString()));
}

void TestMapiCompose::stagedFilesOfAStrictUmask()
{
    const std::string source = QFile::encodeName(write(u"source"_s, "x")).toStdString();
    ::chmod(QFile::encodeName(m_dir->path()).constData(), 0777);
    for (const std::string &file : {source, native(u"."_s)})
        ::chmod(file.c_str(), 0777);
    for (const mode_t mask : {0U, 0277U, 0777U}) {
        const QString base = u"staging%1/below"_s.arg(mask);
        ForkedCall ordinary([&] {
            ::umask(mask);
            if (!becomeNobody())
                return 200U;
            return unsigned(codeOf([&] {
                mapi::StagedMail staged(native(base));
                static_cast<void>(staged.addFile({source, "a"}));
                static_cast<void>(staged.addDraft(plainMail()));
                staged.keep();
            }));
        });
        QCOMPARE(ordinary.wait(), int(SUCCESS_SUCCESS));
        const QStringList mails = entries(base);
        QCOMPARE(mails.size(), 1);
        for (const QString &directory : {base, base + u'/' + mails[0], base + u'/' + mails[0] + u"/1"_s})
            QCOMPARE(modeOf(native(directory)), mode_t(0700));
        for (const auto &file : {u"/1/a"_s, u"/mail.eml"_s})
            QCOMPARE(modeOf(native(base + u'/' + mails[0] + file)), mode_t(0600));
    }
}

void TestMapiCompose::fullDisk_data()
{
    QTest::addColumn<int>("content"); // of the attachment
    QTest::addColumn<bool>("asDraft");
    QTest::addColumn<bool>("fits");
    QTest::newRow("a small file") << 1000 << false << true;
    QTest::newRow("a small draft") << 1000 << true << true;
    QTest::newRow("a large file") << 600000 << false << false;
    QTest::newRow("a large draft") << 600000 << true << false;
    // A buffer is full only when it is flushed at the end.
    QTest::newRow("a draft that is larger by its encoding") << 200000 << true << false;
}

void TestMapiCompose::fullDisk()
{
    QFETCH(int, content);
    QFETCH(bool, asDraft);
    QFETCH(bool, fits);
    const std::string source = QFile::encodeName(write(u"source"_s, QByteArray(content, 'x'))).toStdString();
    QVERIFY(QDir().mkpath(path(u"disk"_s)));
    const SmallVolume disk(path(u"disk"_s), 262144);
    if (!disk.isMounted())
        QSKIP("a small file system of its own needs the right to mount");
    {
        mapi::StagedMail staged(native(u"disk/staging"_s));
        mapi::Mail mail = plainMail();
        mail.attachments = {{source, "a"}};
        QCOMPARE(codeOf([&] {
                     static_cast<void>(asDraft ? staged.addDraft(mail) : staged.addFile(mail.attachments[0]));
                 }),
                 fits ? SUCCESS_SUCCESS : MAPI_E_DISK_FULL);
        QCOMPARE(entries(u"disk/staging"_s).size(), 1);
    }
    QCOMPARE(entries(u"disk/staging"_s), QStringList());

    // Not even room for a directory.
    const int full = ::open(native(u"disk/full"_s).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const QByteArray page(4096, 'x');
    while (::write(full, page.constData(), 4096) == 4096) { }
    ::close(full);
    QCOMPARE(codeOf([&] {
                 mapi::StagedMail staged(native(u"disk/staging"_s));
                 static_cast<void>(staged.addFile({source, "a"}));
             }),
             MAPI_E_DISK_FULL);
    QCOMPARE(entries(u"disk/staging"_s), QStringList());
}

void TestMapiCompose::fileSizeLimit()
{
    const std::string source = QFile::encodeName(write(u"source"_s, QByteArray(300000, 'x'))).toStdString();
    for (const bool asDraft : {false, true}) {
        ForkedCall limited([&] {
            mapi::Mail mail = plainMail();
            mail.attachments = {{source, "a"}};
            const rlimit limit{100000, 100000};
            setrlimit(RLIMIT_FSIZE, &limit);
            const mapi::ScopedNoFileSizeSignal noSignal;
            return unsigned(codeOf([&] {
                mapi::StagedMail staged(native(u"staging"_s));
                static_cast<void>(asDraft ? staged.addDraft(mail) : staged.addFile(mail.attachments[0]));
            }));
        });
        QCOMPARE(limited.wait(), int(MAPI_E_DISK_FULL));
        QCOMPARE(entries(u"staging"_s), QStringList());
    }
}

void TestMapiCompose::stagedFilesAreRemoved()
{
    const std::string source = QFile::encodeName(write(u"source"_s, "x")).toStdString();
    {
        mapi::StagedMail staged(native(u"staging"_s));
        static_cast<void>(staged.addFile({source, "a"}));
        static_cast<void>(staged.addDraft(plainMail()));
        QCOMPARE(entries(u"staging"_s).size(), 1);
    }
    QCOMPARE(entries(u"staging"_s), QStringList());
}

void TestMapiCompose::stagedNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<ULONG>("code");
    QTest::newRow("usual") << QByteArray("a.txt") << SUCCESS_SUCCESS;
    QTest::newRow("begins with a hyphen") << QByteArray("-a") << SUCCESS_SUCCESS;
    QTest::newRow("longest") << QByteArray(255, 'a') << SUCCESS_SUCCESS;
    QTest::newRow("too long") << QByteArray(256, 'a') << MAPI_E_ATTACHMENT_WRITE_FAILURE;
    QTest::newRow("dot") << QByteArray(".") << MAPI_E_ATTACHMENT_WRITE_FAILURE;
    QTest::newRow("two dots") << QByteArray("..") << MAPI_E_ATTACHMENT_WRITE_FAILURE;
}

void TestMapiCompose::stagedNames()
{
    QFETCH(QByteArray, name);
    QFETCH(ULONG, code);
    const std::string source = QFile::encodeName(write(u"source"_s, "x")).toStdString();
    mapi::StagedMail staged(native(u"staging"_s));
    QCOMPARE(codeOf([&] { static_cast<void>(staged.addFile({source, name.toStdString()})); }), code);
}

void TestMapiCompose::staleFiles()
{
    const std::string source = QFile::encodeName(write(u"source"_s, "x")).toStdString();
    for (int i = 0; i < 3; ++i) {
        mapi::StagedMail staged(native(u"staging"_s));
        static_cast<void>(staged.addFile({source, "a"}));
        static_cast<void>(staged.addDraft(plainMail()));
        staged.keep();
    }
    const QStringList mails = entries(u"staging"_s);
    QCOMPARE(mails.size(), 3);
    QVERIFY(QDir().mkpath(path(u"staging/of the user"_s)));
    write(u"staging/20240131T235959.123456Z-0123456789abcdef"_s, "a file");
    QVERIFY(QDir().mkpath(path(u"elsewhere/x"_s)));
    QVERIFY(QFile::link(path(u"elsewhere"_s), path(u"staging/20240131T235959.123456Z-0123456789abcdee"_s)));
    const auto makeOld = [this](const QString &name, std::chrono::seconds age) {
        const time_t then = ::time(nullptr) - time_t(age.count());
        const timespec times[2]{{then, 0}, {then, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, native(u"staging/"_s + name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    };
    makeOld(mails.at(0), 24h * 7 + 1h);
    makeOld(mails.at(1), 24h * 7 - 1h);
    for (const QString &name : entries(u"staging"_s)) {
        if (!mails.contains(name))
            makeOld(name, 24h * 100);
    }
    mapi::StagedMail::removeStale(native(u"staging"_s));
    mapi::StagedMail::removeStale(native(u"none"_s)); // is not made for that
    QVERIFY(!QFile::exists(path(u"none"_s)));
    const QStringList left = entries(u"staging"_s);
    QVERIFY(!left.contains(mails.at(0)));
    QVERIFY(left.contains(mails.at(1)));
    QVERIFY(left.contains(mails.at(2)));
    // What this library did not put there stays.
    QCOMPARE(left.size(), 5);
    QVERIFY(QDir(path(u"elsewhere/x"_s)).exists());
}

void TestMapiCompose::stagingThatIsNotOurs()
{
    if (::geteuid() != 0)
        QSKIP("only root can give a directory away");
    QVERIFY(QDir().mkpath(path(u"staging"_s)));
    QCOMPARE(::chown(native(u"staging"_s).c_str(), nobodyId, nobodyId), 0);
    QCOMPARE(codeOf([&] { mapi::StagedMail staged(native(u"staging"_s)); }), MAPI_E_ACCESS_DENIED);
}

void TestMapiCompose::stagingThatCannotBe()
{
    write(u"file"_s, "x");
    QCOMPARE(codeOf([&] { mapi::StagedMail staged(native(u"file"_s)); }), MAPI_E_FAILURE);
    QCOMPARE(codeOf([&] { mapi::StagedMail staged(native(u"file/below"_s)); }), MAPI_E_FAILURE);
    QCOMPARE(codeOf([&] { mapi::StagedMail staged("/proc/ostrelle"); }), MAPI_E_FAILURE);
}

void TestMapiCompose::attachmentThatChanged()
{
    const std::string source = QFile::encodeName(write(u"source"_s, "x")).toStdString();
    const mapi::Attachment attachment(source, "a");
    write(u"source"_s, "longer");
    mapi::StagedMail staged(native(u"staging"_s));
    QCOMPARE(codeOf([&] { static_cast<void>(staged.addFile(attachment)); }), MAPI_E_ATTACHMENT_OPEN_FAILURE);
    QVERIFY(QFile::remove(QString::fromStdString(source)));
    QCOMPARE(codeOf([&] { static_cast<void>(staged.addFile(attachment)); }), MAPI_E_ATTACHMENT_NOT_FOUND);
}

void TestMapiCompose::startedPrograms_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("exited");
    QTest::addColumn<int>("status");
    QTest::newRow("success") << QByteArray("exit 0") << true << 0;
    QTest::newRow("failure") << QByteArray("exit 3") << true << 3;
    QTest::newRow("signal") << QByteArray("kill -9 $$") << false << 9;
    QTest::newRow("reads and writes")
        << QByteArray("cat; echo x; echo y >&2; [ -t 0 ] && exit 1; exit 0") << true << 0;
}

void TestMapiCompose::startedPrograms()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, exited);
    QFETCH(int, status);
    const auto result = mapi::startDetached({script(body)}, 120s);
    QVERIFY(result);
    using End = mapi::ChildResult::End;
    QCOMPARE(result->end, exited ? End::Exited : End::Signalled);
    QCOMPARE(result->status, status);
    QCOMPARE(codeOf([&] { static_cast<void>(mapi::startDetached({native(u"none"_s)}, 120s)); }),
             MAPI_E_FAILURE);
}

void TestMapiCompose::programThatGoesOn()
{
    const std::string fifo = native(u"fifo"_s);
    QCOMPARE(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string program
        = script("echo $$ > '" + QFile::encodeName(path(u"pid.part"_s)) + "'\nmv '"
                 + QFile::encodeName(path(u"pid.part"_s)) + "' '" + QFile::encodeName(path(u"pid"_s))
                 + "'\nread x < '" + QByteArray::fromStdString(fifo) + "'\n");
    QVERIFY(!mapi::startDetached({program}, 0s));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path(u"pid"_s)), 60000);
    const pid_t pid = readFile(path(u"pid"_s)).trimmed().toInt();
    QVERIFY(pid > 0);
    // It has a session of its own, and nobody waits for it.
    QCOMPARE(::getsid(pid), pid);
    QVERIFY(::kill(pid, 0) == 0);
    const mapi::FileDescriptor end(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    QCOMPARE(::write(end.get(), "\n", 1), ssize_t(1));
    // Once it has ended, the next call clears it away.
    const std::string quick = script("exit 0");
    const auto cleared = [&] {
        static_cast<void>(mapi::startDetached({quick}, 120s));
        return ::kill(pid, 0) != 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(cleared(), 60000);
}

void TestMapiCompose::programWithoutStreams()
{
    ForkedCall host([this] {
        ::close(0);
        ::close(1);
        ::close(2);
        const auto result = mapi::startDetached({script("exit 7")}, 120s);
        return result && result->end == mapi::ChildResult::End::Exited ? unsigned(result->status) : 90U;
    });
    QCOMPARE(host.wait(), 7);
    ForkedCall ignoring([this] {
        ::signal(SIGCHLD, SIG_IGN);
        const auto result = mapi::startDetached({script("exit 8")}, 120s);
        return result && result->end == mapi::ChildResult::End::Exited ? unsigned(result->status) : 90U;
    });
    QCOMPARE(ignoring.wait(), 8);
}

QTEST_GUILESS_MAIN(TestMapiCompose)
#include "tst_mapicompose.moc"
