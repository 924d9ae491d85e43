#include "mailreader.h"
#include "testdesktop.h"

#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

// Which client is asked, and in which way, on a desktop made for the test.
class TestMapiClients final : public QObject, private TestDesktop
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(setUp()); }
    void cleanup() { tearDown(); }

    void clients_data();
    void clients();
    void clientGoesOn();
    void longText_data();
    void longText();
    void callerRemovesItsFiles();
    void twoFilesOfOneName();
    void unknownClient_data();
    void unknownClient();
    void editorIsNoMailClient();
    void noClient_data();
    void noClient();
    void settings_data();
    void settings();
    void outboxOfTheSettings();
    void log();
    void directMailAsksNoClient();
    void portal_data();
    void portal();
    void portalFails_data();
    void portalFails();
    void sandbox();
    void documents_data();
    void documents();
    void busClient_data();
    void busClient();
};

void TestMapiClients::clients_data()
{
    QTest::addColumn<QString>("client");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("exec");
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("before"); // arguments before the client's own
    QTest::addColumn<bool>("draft"); // for attachments
    const auto row = [](const char *name, const QString &client, const QString &id, const QString &exec,
                        const QString &program, const QStringList &before, bool draft) {
        QTest::newRow(name) << client << id << exec << program << before << draft;
    };
    row("Thunderbird, package", u"thunderbird"_s, u"thunderbird.desktop"_s, u"thunderbird %u"_s,
        u"thunderbird"_s, {}, true);
    row("Thunderbird, snap", u"thunderbird"_s, u"thunderbird_thunderbird.desktop"_s,
        u"env BAMF_DESKTOP_FILE_HINT=/x.desktop thunderbird %u"_s, u"env"_s,
        {u"BAMF_DESKTOP_FILE_HINT=/x.desktop"_s, u"thunderbird"_s}, true);
    row("Thunderbird, profile", u"thunderbird"_s, u"userapp-Thunderbird-ABC.desktop"_s,
        u"thunderbird -P work -mail %u"_s, u"thunderbird"_s, {u"-P"_s, u"work"_s}, true);
    row("Betterbird, package", u"betterbird"_s, u"betterbird.desktop"_s, u"betterbird %u"_s, u"betterbird"_s,
        {}, true);
    row("Betterbird, snap", u"betterbird"_s, u"betterbird_betterbird.desktop"_s,
        u"env BAMF_DESKTOP_FILE_HINT=/x.desktop betterbird %u"_s, u"env"_s,
        {u"BAMF_DESKTOP_FILE_HINT=/x.desktop"_s, u"betterbird"_s}, true);
    row("Evolution", u"evolution"_s, u"org.gnome.Evolution.desktop"_s, u"evolution %U"_s, u"evolution"_s, {},
        false);
    row("KMail", u"kmail"_s, u"org.kde.kmail2.desktop"_s, u"kmail -qwindowtitle %c %u"_s, u"kmail"_s, {},
        false);
    row("Geary", u"geary"_s, u"org.gnome.Geary.desktop"_s, u"geary %U"_s, u"geary"_s, {}, false);
    row("Claws Mail", u"claws-mail"_s, u"claws-mail.desktop"_s, u"claws-mail %u"_s, u"claws-mail"_s, {},
        false);
    row("Sylpheed", u"sylpheed"_s, u"sylpheed.desktop"_s, u"sylpheed --compose %u"_s, u"sylpheed"_s, {},
        false);
    row("Balsa", u"balsa"_s, u"balsa-mailto-handler.desktop"_s, u"balsa -m %u"_s, u"balsa"_s, {}, false);
}

void TestMapiClients::clients()
{
    QFETCH(QString, client);
    QFETCH(QString, id);
    QFETCH(QString, exec);
    QFETCH(QString, program);
    QFETCH(QStringList, before);
    QFETCH(bool, draft);
    installProgram(program);
    // Its entry says that the bus starts it, too; that way would be without the fields.
    installDefault({id, exec, "DBusActivatable=true\n"});
    const auto own = [&] {
        std::vector<std::string> arguments = recordedArguments();
        arguments.erase(arguments.begin(), arguments.begin() + std::ptrdiff_t(before.size()));
        return arguments;
    };

    QCOMPARE(call(m_mail), 0);
    QCOMPARE(recorded().value(0), program);
    QCOMPARE(recorded().mid(1, before.size()), before);
    auto fields = readByClient(client, own());
    QVERIFY(fields);
    const QString named = u"\"Max Müller\" <max@example.org>, eva@example.org"_s;
    // One field for all, or one for each.
    QCOMPARE(textOf(*fields, "to").replace(u",eva"_s, u", eva"_s), named);
    QCOMPARE(textOf(*fields, "cc"), u"c+c@example.org"_s);
    QCOMPARE(textOf(*fields, "bcc"), u"b@example.org"_s);
    QCOMPARE(textOf(*fields, "subject"), m_mail[u"subject"_s].toString());
    QCOMPARE(textOf(*fields, "body").remove(u'\r'), m_mail[u"text"_s].toString());
    QVERIFY(outbox().isEmpty());
    QVERIFY(staged().isEmpty());

    QCOMPARE(call(mailWithFiles()), 0);
    QCOMPARE(recorded().value(0), program);
    QVERIFY(outbox().isEmpty());
    QCOMPARE(staged().size(), 1);
    if (draft) {
        QCOMPARE(own().size(), std::size_t(1));
        const QString file = QString::fromStdString(own().front());
        QVERIFY2(file.startsWith(path(u"home/ostrelle-mail/"_s)) && file.endsWith(u".eml"_s),
                 qPrintable(file));
        const QJsonArray read = readMails({file});
        QCOMPARE(read.size(), 1);
        QCOMPARE(read[0][u"headers"_s][u"X-Unsent"_s].toString().trimmed(), u"1"_s);
        QCOMPARE(read[0][u"subject"_s].toString(), m_mail[u"subject"_s].toString());
        QCOMPARE(read[0][u"to"_s].toArray().size(), 2);
        QCOMPARE(read[0][u"bcc"_s].toArray().size(), 1);
        QCOMPARE(read[0][u"parts"_s].toArray().size(), 3);
        QCOMPARE(read[0][u"parts"_s][1][u"filename"_s].toString(), awkward);
    } else {
        fields = readByClient(client, own());
        QVERIFY(fields);
        QCOMPARE(textOf(*fields, "to"), named);
        QCOMPARE(textOf(*fields, "body").remove(u'\r'), m_mail[u"text"_s].toString());
        QList<QByteArray> contents;
        QStringList names;
        for (const std::string &value : receiving::valuesOf(*fields, "attach")) {
            const std::string file = receiving::pathOfUri(value).value_or(value);
            const QFileInfo info(QString::fromStdString(file));
            QVERIFY2(info.filePath().startsWith(path(u"home/ostrelle-mail/"_s)), file.c_str());
            contents.append(readFile(info.filePath()));
            names.append(info.fileName());
        }
        QCOMPARE(names, (QStringList{awkward, u"second.txt"_s}));
        QCOMPARE(contents, (QList<QByteArray>{"first", "second"}));
    }
}

void TestMapiClients::clientGoesOn()
{
    const QByteArray fifo = QFile::encodeName(path(u"fifo"_s));
    QCOMPARE(::mkfifo(fifo.constData(), 0600), 0);
    installProgram(u"geary"_s, ": > \"$RECORD.done\"\nread x < '" + fifo + "'");
    installDefault({u"org.gnome.Geary.desktop"_s, u"geary %U"_s});
    m_environment.insert(u"OSTRELLE_CLIENT_WATCH_TIME"_s, u"0"_s);
    QCOMPARE(call(mailWithFiles()), 0);
    // The caller is gone, the client and its files are there.
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path(u"record.done"_s)), 60000);
    const auto fields = readByClient(u"geary"_s, recordedArguments());
    QVERIFY(fields);
    for (const std::string &file : receiving::valuesOf(*fields, "attach"))
        QVERIFY(QFile::exists(QString::fromStdString(file)));
    QFile end(path(u"fifo"_s));
    QVERIFY(end.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    QCOMPARE(end.write("\n"), 1);
}

void TestMapiClients::longText_data()
{
    QTest::addColumn<QString>("client");
    QTest::addColumn<bool>("handler"); // whether something opens mail files
    QTest::addColumn<ULONG>("code");
    QTest::newRow("Thunderbird takes a draft") << u"thunderbird"_s << false << SUCCESS_SUCCESS;
    QTest::newRow("Evolution does not") << u"evolution"_s << false << MAPI_E_TEXT_TOO_LARGE;
    QTest::newRow("the handler of drafts does") << u"evolution"_s << true << SUCCESS_SUCCESS;
    QTest::newRow("KMail") << u"kmail"_s << false << MAPI_E_TEXT_TOO_LARGE;
    QTest::newRow("unknown client") << u"other"_s << false << MAPI_E_TEXT_TOO_LARGE;
    QTest::newRow("unknown client and a handler") << u"other"_s << true << SUCCESS_SUCCESS;
}

void TestMapiClients::longText()
{
    QFETCH(QString, client);
    QFETCH(bool, handler);
    QFETCH(ULONG, code);
    installProgram(client);
    installDefault({client + u".desktop"_s, client + u" %u"_s});
    if (handler) {
        installProgram(u"viewer"_s);
        installHandler(u"viewer %f"_s);
    }
    QJsonObject mail = m_mail;
    mail[u"text"_s] = QString(131072, u'x');
    QCOMPARE(call(mail), int(code));
    QCOMPARE(recorded().isEmpty(), code != SUCCESS_SUCCESS);
    if (code == SUCCESS_SUCCESS) {
        QCOMPARE(recorded().size(), 2);
        const QJsonArray read = readMails({recorded().at(1)});
        QCOMPARE(read[0][u"parts"_s][0][u"text"_s].toString().trimmed(), mail[u"text"_s].toString());
        QCOMPARE(read[0][u"cc"_s].toArray().size(), 1);
    }
    QVERIFY(outbox().isEmpty());
}

void TestMapiClients::callerRemovesItsFiles()
{
    installProgram(u"evolution"_s);
    installDefault({u"evolution.desktop"_s, u"evolution %U"_s});
    QCOMPARE(call(mailWithFiles()), 0);
    QVERIFY(QDir(path(u"files"_s)).removeRecursively());
    const auto fields = readByClient(u"evolution"_s, recordedArguments());
    QVERIFY(fields);
    const auto files = receiving::valuesOf(*fields, "attach");
    QCOMPARE(files.size(), std::size_t(2));
    QCOMPARE(readFile(QString::fromStdString(files[1])), QByteArray("second"));
}

void TestMapiClients::twoFilesOfOneName()
{
    installProgram(u"sylpheed"_s);
    installDefault({u"sylpheed.desktop"_s, u"sylpheed %u"_s});
    write(u"other/second.txt"_s, "another");
    QJsonObject mail = m_mail;
    mail[u"files"_s] = QJsonArray{path(u"files/second.txt"_s), path(u"other/second.txt"_s)};
    QCOMPARE(call(mail), 0);
    const QStringList files = recorded().mid(recorded().indexOf(u"--attach"_s) + 1);
    QCOMPARE(files.size(), 2);
    QCOMPARE(readFile(files[0]), QByteArray("second"));
    QCOMPARE(readFile(files[1]), QByteArray("another"));
}

void TestMapiClients::unknownClient_data()
{
    QTest::addColumn<QString>("exec");
    QTest::addColumn<bool>("files");
    QTest::addColumn<QString>("handler"); // Exec of what opens mail files
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<QString>("started"); // and its kind of argument
    QTest::addColumn<QString>("kind");
    const QString link = u"link"_s;
    const auto row = [](const char *name, const QString &exec, bool files, const QString &handler, ULONG code,
                        const QString &started = {}, const QString &kind = {}) {
        QTest::newRow(name) << exec << files << handler << code << started << kind;
    };
    row("text", u"other %u"_s, false, {}, SUCCESS_SUCCESS, u"other"_s, link);
    row("text, several links", u"other %U"_s, false, u"viewer %f"_s, SUCCESS_SUCCESS, u"other"_s, link);
    row("no place for a link", u"other"_s, false, {}, MAPI_E_NOT_SUPPORTED);
    row("a terminal", u"other %u\nTerminal=true"_s, false, {}, MAPI_E_NOT_SUPPORTED);
    row("files, nobody", u"other %u"_s, true, {}, MAPI_E_NOT_SUPPORTED);
    row("files, by path", u"other %u"_s, true, u"viewer --open %f"_s, SUCCESS_SUCCESS, u"viewer"_s,
        u"file"_s);
    row("files, by URI", u"other %u"_s, true, u"viewer %U"_s, SUCCESS_SUCCESS, u"viewer"_s, u"uri"_s);
    row("files, in a terminal", u"other %u"_s, true, u"viewer %f\nTerminal=true"_s, MAPI_E_NOT_SUPPORTED);
    row("files, by Thunderbird", u"other %u"_s, true, u"thunderbird %u"_s, SUCCESS_SUCCESS, u"thunderbird"_s,
        u"file"_s);
    row("files, by Evolution's own way", u"other %u"_s, true, u"evolution %u"_s, SUCCESS_SUCCESS,
        u"evolution"_s, u"attach"_s);
}

void TestMapiClients::unknownClient()
{
    QFETCH(QString, exec);
    QFETCH(bool, files);
    QFETCH(QString, handler);
    QFETCH(ULONG, code);
    QFETCH(QString, started);
    QFETCH(QString, kind);
    for (const QString &program : {u"other"_s, u"viewer"_s, u"thunderbird"_s, u"evolution"_s})
        installProgram(program);
    installDefault({u"other.desktop"_s, exec});
    if (!handler.isEmpty()) {
        installHandler(handler);
    }
    QCOMPARE(call(files ? mailWithFiles() : m_mail), int(code));
    QCOMPARE(recorded().value(0), started);
    QVERIFY(outbox().isEmpty());
    QCOMPARE(staged().isEmpty(), code != SUCCESS_SUCCESS || !files);
    const QString last = recorded().isEmpty() ? QString() : recorded().last();
    if (kind == u"link") {
        const auto fields = receiving::readMailto(last.toStdString());
        QVERIFY(fields);
        QCOMPARE(textOf(*fields, "to"), u"max@example.org, eva@example.org"_s);
        QCOMPARE(textOf(*fields, "subject"), m_mail[u"subject"_s].toString());
    } else if (kind == u"attach") {
        QCOMPARE(last.count(u"&attach="_s), 2);
    } else if (!kind.isEmpty()) {
        const QString file = kind == u"uri"
            ? QString::fromStdString(receiving::pathOfUri(last.toStdString()).value_or(""))
            : last;
        const QJsonArray read = readMails({file});
        QCOMPARE(read[0][u"parts"_s].toArray().size(), 3);
    }
}

void TestMapiClients::editorIsNoMailClient()
{
    // A mail is plain text in the hierarchy of types, so an editor is offered for it.
    installProgram(u"other"_s);
    installProgram(u"editor"_s);
    installDefault({u"other.desktop"_s, u"other %u"_s});
    installEntry({u"editor.desktop"_s, u"editor %f"_s}, "text/plain;");
    makeDefault("text/plain", u"editor.desktop"_s);
    QCOMPARE(call(mailWithFiles()), int(MAPI_E_NOT_SUPPORTED));
    QVERIFY(recorded().isEmpty());
}

void TestMapiClients::noClient_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<bool>("entry");
    QTest::addColumn<bool>("program");
    QTest::newRow("no display") << QString() << true << true;
    QTest::newRow("nothing installed") << u":1"_s << false << false;
    QTest::newRow("entry without its program") << u":1"_s << true << false;
}

void TestMapiClients::noClient()
{
    QFETCH(QString, display);
    QFETCH(bool, entry);
    QFETCH(bool, program);
    m_environment.insert(u"DISPLAY"_s, display);
    if (entry)
        installDefault({u"geary.desktop"_s, u"geary %U"_s});
    if (program)
        installProgram(u"geary"_s);
    QCOMPARE(call(mailWithFiles()), 0);
    QVERIFY(recorded().isEmpty());
    QCOMPARE(outbox().size(), 1);
    if (program) {
        m_environment.insert(u"WAYLAND_DISPLAY"_s, u"wayland-0"_s);
        QCOMPARE(call(mailWithFiles()), 0);
        QCOMPARE(recorded().value(0), u"geary"_s);
        QCOMPARE(outbox().size(), 1);
    }
}

void TestMapiClients::settings_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<bool>("files");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<QString>("started"); // or "outbox"
    QTest::addColumn<QString>("last"); // how the last argument begins
    const auto row = [](const char *name, const QByteArray &settings, bool files, ULONG code,
                        const QString &started = {}, const QString &last = {}) {
        QTest::newRow(name) << settings << files << code << started << last;
    };
    row("auto", "route=auto", true, SUCCESS_SUCCESS, u"geary"_s, u"mailto:"_s);
    row("another client", "client=claws-mail", true, SUCCESS_SUCCESS, u"claws-mail"_s, u"/"_s);
    row("another client by its entry", "client=other.desktop", false, SUCCESS_SUCCESS, u"other"_s,
        u"mailto:"_s);
    row("another client by its entry's name", "client=other", false, SUCCESS_SUCCESS, u"other"_s,
        u"mailto:"_s);
    row("a client without an entry", "client=sylpheed", false, SUCCESS_SUCCESS, u"sylpheed"_s, u"mailto:"_s);
    row("a client that is not installed", "client=balsa", false, MAPI_E_FAILURE);
    row("an entry that is not installed", "client=none.desktop", false, MAPI_E_FAILURE);
    row("mailto", "route=mailto\nclient=claws-mail", false, SUCCESS_SUCCESS, u"claws-mail"_s, u"mailto:"_s);
    row("mailto with files", "route=mailto", true, MAPI_E_NOT_SUPPORTED);
    row("draft by its handler", "route=draft", false, SUCCESS_SUCCESS, u"viewer"_s, u"/"_s);
    row("draft by the client", "route=draft\nclient=thunderbird", false, SUCCESS_SUCCESS, u"thunderbird"_s,
        u"/"_s);
    row("outbox", "route=outbox", true, SUCCESS_SUCCESS, u"outbox"_s);
    row("portal without a bus", "route=portal", false, MAPI_E_NOT_SUPPORTED);
    row("wrong", "route=pigeon", false, MAPI_E_FAILURE);
    row("wrong client", "client=../x", false, MAPI_E_FAILURE);
}

void TestMapiClients::settings()
{
    QFETCH(QByteArray, settings);
    QFETCH(bool, files);
    QFETCH(ULONG, code);
    QFETCH(QString, started);
    QFETCH(QString, last);
    for (const QString &program :
         {u"geary"_s, u"claws-mail"_s, u"other"_s, u"viewer"_s, u"thunderbird"_s, u"sylpheed"_s})
        installProgram(program);
    installDefault({u"geary.desktop"_s, u"geary %U"_s});
    installEntry({u"claws-mail.desktop"_s, u"claws-mail %u"_s});
    installEntry({u"thunderbird.desktop"_s, u"thunderbird %u"_s});
    installEntry({u"other.desktop"_s, u"other %u"_s});
    installHandler(u"viewer %f"_s);
    write(u"etc/ostrelle/mapi.ini"_s, "[MAPI]\n" + settings + "\n");
    QCOMPARE(call(files ? mailWithFiles() : m_mail), int(code));
    QCOMPARE(outbox().size(), started == u"outbox" ? 1 : 0);
    QCOMPARE(recorded().value(0), started == u"outbox" ? QString() : started);
    if (!last.isEmpty())
        QVERIFY2(recorded().last().startsWith(last), qPrintable(recorded().last()));
}

void TestMapiClients::outboxOfTheSettings()
{
    m_environment.remove(u"OSTRELLE_OUTBOX"_s);
    m_environment.remove(u"DISPLAY"_s);
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\noutbox=~/sent\nstaging=~/there\n");
    QCOMPARE(call(m_mail), 0);
    QCOMPARE(outbox(u"home/sent"_s).size(), 1);
    QJsonObject direct = m_mail;
    direct[u"dialog"_s] = false;
    QCOMPARE(call(direct), 0);
    QCOMPARE(outbox(u"home/sent"_s).size(), 2);
    m_environment.insert(u"OSTRELLE_OUTBOX"_s, path(u"outbox"_s));
    QCOMPARE(call(m_mail), 0);
    QCOMPARE(outbox().size(), 1);

    m_environment.insert(u"DISPLAY"_s, u":1"_s);
    installProgram(u"geary"_s);
    installDefault({u"geary.desktop"_s, u"geary %U"_s});
    QCOMPARE(call(mailWithFiles()), 0);
    QVERIFY2(recorded().last().contains(u"&attach="_s + path(u"home/there/"_s)),
             qPrintable(recorded().last()));
}

void TestMapiClients::log()
{
    installProgram(u"thunderbird"_s);
    installDefault({u"thunderbird.desktop"_s, u"thunderbird %u"_s});
    QJsonObject mail = m_mail;
    mail[u"text"_s] = u"The SECRET words\nand more of them SECRET\n"_s;
    QCOMPARE(call(mail), 0);
    mail[u"files"_s] = QJsonArray{path(u"files/second.txt"_s)};
    QCOMPARE(call(mail), 0);
    const QByteArray log = readFile(path(u"log"_s));
    for (const char *part : {"client: thunderbird of thunderbird.desktop, \"thunderbird\"",
                             "start: \"thunderbird\" \"-compose\" \"to=", "subject=Rechnung", "body=(",
                             "route: draft, by thunderbird", "result 0"})
        QVERIFY2(log.contains(part), part);
    QVERIFY(!log.contains("SECRET"));
    struct stat status {
    };
    QCOMPARE(::stat(QFile::encodeName(path(u"log"_s)).constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0600U);

    // A log that cannot be written does not stop a mail, and a link is not followed.
    m_environment.insert(u"OSTRELLE_MAPI_LOG"_s, path(u"none/log"_s));
    QCOMPARE(call(m_mail), 0);
    write(u"target"_s, "");
    QVERIFY(QFile::link(path(u"target"_s), path(u"linked"_s)));
    m_environment.insert(u"OSTRELLE_MAPI_LOG"_s, path(u"linked"_s));
    QCOMPARE(call(m_mail), 0);
    QCOMPARE(readFile(path(u"target"_s)), QByteArray(""));
}

void TestMapiClients::directMailAsksNoClient()
{
    installProgram(u"geary"_s);
    installDefault({u"geary.desktop"_s, u"geary %U"_s});
    QJsonObject mail = m_mail;
    mail[u"dialog"_s] = false;
    QCOMPARE(call(mail), 0);
    QVERIFY(recorded().isEmpty());
    QCOMPARE(outbox().size(), 1);
}

void TestMapiClients::portal_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<unsigned>("version");
    QTest::addColumn<bool>("several");
    QTest::addColumn<bool>("files");
    QTest::addColumn<ULONG>("code");
    QTest::newRow("text") << u"answer:0"_s << 4U << true << false << SUCCESS_SUCCESS;
    QTest::newRow("files") << u"answer:0"_s << 4U << true << true << SUCCESS_SUCCESS;
    QTest::newRow("version 3") << u"answer:0"_s << 3U << true << true << SUCCESS_SUCCESS;
    QTest::newRow("version 2") << u"answer:0"_s << 2U << false << true << SUCCESS_SUCCESS;
    QTest::newRow("version 1") << u"answer:0"_s << 1U << false << false << SUCCESS_SUCCESS;
    QTest::newRow("a path of its own") << u"old"_s << 1U << false << true << SUCCESS_SUCCESS;
    QTest::newRow("cancelled") << u"answer:1"_s << 4U << true << true << MAPI_USER_ABORT;
    QTest::newRow("failed") << u"answer:2"_s << 4U << true << true << MAPI_E_FAILURE;
    QTest::newRow("another response") << u"answer:77"_s << 4U << true << true << MAPI_E_FAILURE;
}

void TestMapiClients::portal()
{
    QFETCH(QString, mode);
    QFETCH(unsigned, version);
    QFETCH(bool, several);
    QFETCH(bool, files);
    QFETCH(ULONG, code);
    startBus(mode, version);
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\nroute=portal\n");
    QJsonObject mail = files ? mailWithFiles() : m_mail;
    if (!several) {
        mail[u"to"_s] = QJsonArray{u"Max Müller <max@example.org>"_s};
        mail.remove(u"cc"_s);
        mail.remove(u"bcc"_s);
    }
    QCOMPARE(call(mail), int(code));
    QVERIFY(outbox().isEmpty());
    QCOMPARE(asked().size(), 1);
    const QJsonObject ask = asked().first();
    QCOMPARE(ask[u"subject"_s].toString(), m_mail[u"subject"_s].toString());
    QCOMPARE(ask[u"body"_s].toString(), m_mail[u"text"_s].toString());
    QCOMPARE(ask.contains(u"address"_s), version < 3);
    if (version < 3) {
        QCOMPARE(ask[u"address"_s].toString(), u"max@example.org"_s);
    } else {
        QCOMPARE(ask[u"addresses"_s].toArray(), (QJsonArray{u"max@example.org"_s, u"eva@example.org"_s}));
        QCOMPARE(ask[u"cc"_s].toArray(), (QJsonArray{u"c+c@example.org"_s}));
        QCOMPARE(ask[u"bcc"_s].toArray(), (QJsonArray{u"b@example.org"_s}));
    }
    QCOMPARE(ask[u"files"_s].toArray().size(), files ? 2 : 0);
    if (files && code == SUCCESS_SUCCESS) {
        const QString first = ask[u"files"_s][0].toString();
        QVERIFY(first.endsWith(u'/' + awkward));
        QCOMPARE(readFile(first), QByteArray("first"));
    }
    QCOMPARE(staged().size(), files && code == SUCCESS_SUCCESS ? 1 : 0);
}

void TestMapiClients::portalFails_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<unsigned>("version");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<int>("calls");
    const QString answer = u"answer:0"_s;
    QTest::newRow("refused") << u"refuse"_s << 4U << QString() << QString() << MAPI_E_INVALID_MESSAGE << 1;
    QTest::newRow("goes away") << u"leave"_s << 4U << QString() << QString() << MAPI_E_FAILURE << 1;
    QTest::newRow("several recipients, version 2")
        << answer << 2U << QString() << QString() << MAPI_E_TOO_MANY_RECIPIENTS << 0;
    QTest::newRow("long subject") << answer << 4U << u"subject"_s << QString(201, u'x')
                                  << MAPI_E_TEXT_TOO_LARGE << 0;
    QTest::newRow("local user") << answer << 4U << u"to"_s << u"root"_s << MAPI_E_INVALID_RECIPS << 0;
}

void TestMapiClients::portalFails()
{
    QFETCH(QString, mode);
    QFETCH(unsigned, version);
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(ULONG, code);
    QFETCH(int, calls);
    startBus(mode, version);
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\nroute=portal\n");
    QJsonObject mail = mailWithFiles();
    if (!key.isEmpty())
        mail[key] = key == u"to" ? QJsonValue(QJsonArray{value}) : QJsonValue(value);
    QCOMPARE(call(mail), int(code));
    QCOMPARE(asked().size(), calls);
    QVERIFY(staged().isEmpty());
    QVERIFY(outbox().isEmpty());
}

void TestMapiClients::sandbox()
{
    installProgram(u"geary"_s);
    installDefault({u"geary.desktop"_s, u"geary %U"_s});
    // The variable alone is inherited from other packages.
    m_environment.insert(u"SNAP"_s, path(u"snap"_s));
    m_environment.insert(u"SNAP_USER_COMMON"_s, path(u"common"_s));
    QCOMPARE(call(m_mail), 0);
    QCOMPARE(recorded().value(0), u"geary"_s);
    QVERIFY(QFile::remove(path(u"record"_s)));
    write(u"snap/meta/snap.yaml"_s, "name: ostrelle\n");
    QCOMPARE(call(m_mail), int(MAPI_E_NOT_SUPPORTED)); // no bus
    startBus(u"answer:0"_s);
    QCOMPARE(call(mailWithFiles()), 0);
    QVERIFY(recorded().isEmpty());
    QVERIFY(asked().first()[u"files"_s][0].toString().startsWith(path(u"common/ostrelle-mail/"_s)));
    // The settings may want it otherwise.
    write(u"config/ostrelle/mapi.ini"_s, "[MAPI]\nroute=mailto\n");
    QCOMPARE(call(m_mail), 0);
    QCOMPARE(recorded().value(0), u"geary"_s);
}

void TestMapiClients::documents_data()
{
    QTest::addColumn<QString>("package");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<QString>("client");
    const QList<QPair<QString, QString>> packages{{u"org.mozilla.Thunderbird"_s, u"thunderbird"_s},
                                                  {u"org.mozilla.thunderbird"_s, u"thunderbird"_s},
                                                  {u"org.mozilla.thunderbird_esr"_s, u"thunderbird"_s},
                                                  {u"net.thunderbird.Thunderbird"_s, u"thunderbird"_s},
                                                  {u"eu.betterbird.Betterbird"_s, u"betterbird"_s},
                                                  {u"org.gnome.Geary"_s, u"geary"_s},
                                                  {u"org.gnome.Evolution"_s, u"evolution"_s},
                                                  {u"org.claws_mail.Claws-Mail"_s, u"claws-mail"_s},
                                                  {u"org.kde.kmail2"_s, u"kmail"_s},
                                                  {u"org.desktop.Balsa"_s, u"balsa"_s}};
    for (const auto &[package, client] : packages) {
        QTest::addRow("%s", qPrintable(package)) << package << u"answer:0"_s << SUCCESS_SUCCESS << client;
        QTest::addRow("%s, not needed", qPrintable(package))
            << package << u"unneeded"_s << SUCCESS_SUCCESS << client;
        QTest::addRow("%s, in part", qPrintable(package))
            << package << u"partial"_s << MAPI_E_FAILURE << client;
        QTest::addRow("%s, no bus", qPrintable(package))
            << package << QString() << MAPI_E_NOT_SUPPORTED << client;
    }
}

void TestMapiClients::documents()
{
    QFETCH(QString, package);
    QFETCH(QString, mode);
    QFETCH(ULONG, code);
    QFETCH(QString, client);
    if (!mode.isEmpty())
        startBus(mode);
    installProgram(u"flatpak"_s);
    installDefault({package + u".desktop"_s,
                    u"flatpak run --branch=stable --file-forwarding "_s + package + u" @@u %u @@"_s});
    const QStringList command{u"flatpak"_s, u"run"_s, u"--branch=stable"_s, package};
    const auto own = [&] {
        const std::vector<std::string> arguments = recordedArguments();
        return std::vector<std::string>(arguments.begin() + 3, arguments.end());
    };
    // A mail of text needs no file, and so no export.
    QCOMPARE(call(m_mail), int(SUCCESS_SUCCESS));
    QCOMPARE(recorded().mid(0, 4), command);
    auto fields = readByClient(client, own());
    QVERIFY(fields);
    QCOMPARE(textOf(*fields, "bcc"), u"b@example.org"_s);
    QCOMPARE(textOf(*fields, "body").remove(u'\r'), m_mail[u"text"_s].toString());
    QVERIFY(asked().isEmpty());
    QVERIFY(staged().isEmpty());
    QVERIFY(QFile::remove(path(u"record"_s)));

    QCOMPARE(call(mailWithFiles()), int(code));
    if (code != SUCCESS_SUCCESS) {
        QVERIFY(recorded().isEmpty());
        QVERIFY(staged().isEmpty());
        QVERIFY(outbox().isEmpty());
        return;
    }
    QCOMPARE(recorded().mid(0, 4), command);
    QCOMPARE(asked().size(), 1);
    const QJsonObject ask = asked().first();
    QCOMPARE(ask[u"app"_s].toString(), package);
    QCOMPARE(ask[u"permissions"_s].toArray(), QJsonArray{u"read"_s});
    QCOMPARE(ask[u"flags"_s].toInt(), 7);
    const bool draft = client == u"thunderbird" || client == u"betterbird";
    QCOMPARE(ask[u"files"_s].toArray().size(), draft ? 1 : 2);
    const QString seen = mode == u"unneeded"_s ? path(u"home/ostrelle-mail/"_s) : u"/run/user/1/doc/doc0/"_s;
    if (draft) {
        const QString last = recorded().last();
        QVERIFY2(last.startsWith(seen) && last.endsWith(u"/mail.eml"_s), qPrintable(last));
        return;
    }
    fields = readByClient(client, own());
    QVERIFY(fields);
    const std::vector<std::string> files = receiving::valuesOf(*fields, "attach");
    QCOMPARE(files.size(), std::size_t(2));
    const QString first = QString::fromStdString(receiving::pathOfUri(files[0]).value_or(files[0]));
    QVERIFY2(first.startsWith(seen) && first.endsWith(u'/' + awkward), qPrintable(first));
}

void TestMapiClients::busClient_data()
{
    QTest::addColumn<QString>("mode"); // empty: nobody on the bus
    QTest::addColumn<QString>("exec");
    QTest::addColumn<bool>("files");
    QTest::addColumn<ULONG>("code");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<bool>("started");
    const auto row = [](const char *name, const QString &mode, const QString &exec, bool files, ULONG code,
                        bool isAsked, bool isStarted) {
        QTest::newRow(name) << mode << exec << files << code << isAsked << isStarted;
    };
    const QString command = u"other %u"_s;
    row("takes it", u"answer:0"_s, QString(), false, SUCCESS_SUCCESS, true, false);
    row("takes it though there is a command", u"answer:0"_s, command, false, SUCCESS_SUCCESS, true, false);
    row("takes a draft", u"answer:0"_s, command, true, SUCCESS_SUCCESS, true, false);
    row("refuses", u"refuse"_s, command, false, MAPI_E_FAILURE, true, false);
    row("is not there", QString(), QString(), false, MAPI_E_NOT_SUPPORTED, false, false);
    row("is not there, but a command is", QString(), command, false, SUCCESS_SUCCESS, false, true);
}

void TestMapiClients::busClient()
{
    QFETCH(QString, mode);
    QFETCH(QString, exec);
    QFETCH(bool, files);
    QFETCH(ULONG, code);
    QFETCH(bool, asked);
    QFETCH(bool, started);
    if (!mode.isEmpty())
        startBus(mode);
    installProgram(u"other"_s);
    installEntry({u"org.example.Bus-Mail.desktop"_s, exec, "DBusActivatable=true\n"},
                 "x-scheme-handler/mailto;message/rfc822;");
    makeDefault("x-scheme-handler/mailto", u"org.example.Bus-Mail.desktop"_s);
    makeDefault("message/rfc822", u"org.example.Bus-Mail.desktop"_s);
    QCOMPARE(call(files ? mailWithFiles() : m_mail), int(code));
    QCOMPARE(recorded().isEmpty(), !started);
    QVERIFY(outbox().isEmpty());
    QCOMPARE(this->asked().size(), asked ? 1 : 0);
    if (asked) {
        const QString uri = this->asked().first()[u"uris"_s][0].toString();
        QVERIFY2(uri.startsWith(files ? u"file:///"_s : u"mailto:max@example.org,eva@example.org?"_s),
                 qPrintable(uri));
    }
}

QTEST_GUILESS_MAIN(TestMapiClients)
#include "tst_mapiclients.moc"
