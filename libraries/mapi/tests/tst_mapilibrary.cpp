#include "forkedcall.h"
#include "mailreader.h"
#include "mapicaller.h"

#include <ostrelletest/scopedenvironment.h>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>
#include <optional>
#include <random>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr bool dialog = true;
constexpr bool direct = false;

QJsonArray address(const QString &name, const QString &mailbox)
{
    return {QJsonObject{{u"name"_s, name}, {u"address"_s, mailbox}}};
}

QString sha256(const QByteArray &data)
{
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex());
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

}

class TestMapiLibrary final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void exportsOnlyItsEntries();
    void canBeFoundByItsName();
    void staysLoaded();
    void wholeMail();
    void draft();
    void directWithoutSendmail();
    void directThroughSendmail();
    void dialogNeverGoesToSendmail();
    void narrowMail();
    void emptyEverything();
    void nullPointers();
    void receipt_data();
    void receipt();
    void originator();
    void subjects_data();
    void subjects();
    void noteTexts_data();
    void noteTexts();
    void noteTextThatLooksLikeHtml();
    void recipients_data();
    void recipients();
    void attachmentNames_data();
    void attachmentNames();
    void attachmentNameGiven();
    void attachmentTypes_data();
    void attachmentTypes();
    void refusals_data();
    void refusals();
    void manyRecipients();
    void manyAttachments();
    void largeAttachmentIsNotHeldInMemory();
    void attachmentThatGrows();
    void systemFileWithoutSize();
    void noHome();
    void readOnlyOutbox();
    void fileSizeLimitDoesNotKill();
    void killedInTheMiddle();
    void manyProcesses();
    void manyThreads();
    void workingDirectoryIsNotInTheMail();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_dir->filePath(name); }
    [[nodiscard]] QStringList mails() const
    {
        QStringList paths;
        const QDir outbox(path(u"outbox"_s));
        for (const QString &name : outbox.entryList({u"*.eml"_s}, QDir::Files, QDir::Name))
            paths.append(outbox.filePath(name));
        return paths;
    }
    // The one mail of the outbox as Python reads it; empty, with a failed check, when there is not just one.
    [[nodiscard]] QJsonObject onlyMail() const
    {
        const QStringList paths = mails();
        QString error;
        const QJsonArray read = paths.size() == 1 ? readMails(paths, &error) : QJsonArray();
        if (read.size() != 1)
            qWarning("%lld mails in the outbox; %s", qint64(paths.size()), qPrintable(error));
        QJsonObject mail = read.isEmpty() ? QJsonObject() : read.first().toObject();
        if (!mail.value(u"defects"_s).toArray().isEmpty())
            qWarning() << mail.value(u"defects"_s);
        return mail;
    }
    [[nodiscard]] static bool isSound(const QJsonObject &mail)
    {
        return mail.contains(u"defects"_s) && mail.value(u"defects"_s).toArray().isEmpty()
            && mail.value(u"dosLineEnds"_s).toBool() && mail.value(u"longestLine"_s).toInt() <= 998;
    }
    [[nodiscard]] static QJsonObject part(const QJsonObject &mail, int index)
    {
        return mail.value(u"parts"_s).toArray().at(index).toObject();
    }
    [[nodiscard]] bool outboxIsEmpty() const
    {
        return QDir(path(u"outbox"_s))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
            .isEmpty();
    }

    MapiLibrary m_library;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::vector<std::unique_ptr<ScopedEnvironment>> m_environment;
};

void TestMapiLibrary::initTestCase()
{
    QVERIFY2(m_library.handle() != nullptr, dlerror());
    QVERIFY(m_library.wide() != nullptr);
    QVERIFY(m_library.narrow() != nullptr);
}

void TestMapiLibrary::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    ::chmod(QFile::encodeName(m_dir->path()).constData(), 0755);
    const auto set = [this](const char *name, const QByteArray &value) {
        m_environment.push_back(std::make_unique<ScopedEnvironment>(name, value));
    };
    set("OSTRELLE_OUTBOX", QFile::encodeName(path(u"outbox"_s)));
    set("OSTRELLE_SENDMAIL", "");
    set("HOME", QFile::encodeName(m_dir->path()));
    set("XDG_DATA_HOME", QByteArray());
    // No desktop, no settings of this machine.
    set("DISPLAY", QByteArray());
    set("WAYLAND_DISPLAY", QByteArray());
    set("XDG_CONFIG_HOME", QFile::encodeName(path(u"config"_s)));
    set("XDG_CONFIG_DIRS", QFile::encodeName(path(u"config"_s)));
}

void TestMapiLibrary::cleanup()
{
    while (!m_environment.empty())
        m_environment.pop_back();
    m_dir.reset();
}

void TestMapiLibrary::exportsOnlyItsEntries()
{
    QVERIFY(m_library.symbol("MAPISendMailW") != nullptr);
    QVERIFY(m_library.symbol("MAPISendMail") != nullptr);
    QProcess nm;
    nm.start(u"nm"_s,
             {u"-D"_s, u"--defined-only"_s, u"--format=posix"_s, QStringLiteral(OSTRELLE_MAPI_LIBRARY)});
    QVERIFY(nm.waitForFinished());
    QStringList names;
    for (const QByteArray &line : nm.readAllStandardOutput().trimmed().split('\n'))
        names.append(QString::fromLatin1(line.left(line.indexOf(' '))));
    names.sort();
    QCOMPARE(names, QStringList({u"MAPISendMail"_s, u"MAPISendMailW"_s}));
}

void TestMapiLibrary::canBeFoundByItsName()
{
    // Once it is in the process, its bare name finds it without any search path.
    void *again = dlopen("libmapi32.so", RTLD_NOW | RTLD_NOLOAD);
    QVERIFY2(again != nullptr, dlerror());
    QCOMPARE(dlsym(again, "MAPISendMailW"), m_library.symbol("MAPISendMailW"));
    dlclose(again);
}

void TestMapiLibrary::staysLoaded()
{
    ForkedCall host([this] {
        const TestMail mail = TestMail{.subject = u"x"_s}.add(MAPI_TO, u"a@x"_s);
        if (mail.sendWide(m_library, dialog) != SUCCESS_SUCCESS)
            return 90U;
        while (dlclose(m_library.handle()) == 0
               && dlopen("libmapi32.so", RTLD_NOW | RTLD_NOLOAD) == nullptr) { }
        MapiLibrary again;
        return again.handle() != nullptr ? mail.sendWide(again, dialog) : 91U;
    });
    QCOMPARE(host.wait(), 0);
    QCOMPARE(mails().size(), 2);
}

void TestMapiLibrary::wholeMail()
{
    const QString pdf = path(u"Rechnung März.pdf"_s);
    const QString awkward = path(u"a, b 'c' \"d\" ü € 😀 %41.txt"_s);
    const QByteArray pdfBytes = QByteArray("%PDF-1.4\n") + QByteArray(100000, '\0') + "\r\n\n\r end";
    QVERIFY(writeFile(pdf, pdfBytes));
    QVERIFY(writeFile(awkward, "text\n"));

    TestMail mail{.subject = u"Ihre Rechnung für März – 17 €"_s,
                  .noteText = u"Guten Tag,\r\n\r\nanbei.\r\nGrüße\r\n"_s};
    mail.add(MAPI_TO, u"Max Müller <max@example.org>"_s).add(MAPI_TO, u"eva@example.org"_s);
    mail.add(MAPI_CC, u"\"Chef, Der\" <chef@example.org>"_s).add(MAPI_CC, u"Buchhaltung <b@example.org>"_s);
    mail.add(MAPI_BCC, u"archiv@example.org"_s).add(MAPI_BCC, u"max@example.org"_s);
    mail.attach(pdf).attach(awkward);
    QCOMPARE(mail.sendWide(m_library, dialog), SUCCESS_SUCCESS);

    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    QVERIFY(read.value(u"ascii"_s).toBool());
    QCOMPARE(read.value(u"subject"_s).toString(), mail.subject);
    QJsonArray to = address(u"Max Müller"_s, u"max@example.org"_s);
    to.append(address(QString(u""_s), u"eva@example.org"_s).first());
    QCOMPARE(read.value(u"to"_s).toArray(), to);
    QJsonArray cc = address(u"Chef, Der"_s, u"chef@example.org"_s);
    cc.append(address(u"Buchhaltung"_s, u"b@example.org"_s).first());
    QCOMPARE(read.value(u"cc"_s).toArray(), cc);
    QJsonArray bcc = address(u""_s, u"archiv@example.org"_s);
    bcc.append(address(u""_s, u"max@example.org"_s).first());
    QCOMPARE(read.value(u"bcc"_s).toArray(), bcc);
    QCOMPARE(read.value(u"headers"_s).toObject().value(u"MIME-Version"_s).toString().trimmed(), u"1.0"_s);

    QCOMPARE(read.value(u"parts"_s).toArray().size(), 3);
    QCOMPARE(part(read, 0).value(u"type"_s).toString(), u"text/plain"_s);
    QCOMPARE(part(read, 0).value(u"charset"_s).toString(), u"utf-8"_s);
    QCOMPARE(part(read, 0).value(u"text"_s).toString(), mail.noteText);
    QCOMPARE(part(read, 1).value(u"disposition"_s).toString(), u"attachment"_s);
    QCOMPARE(part(read, 1).value(u"filename"_s).toString(), u"Rechnung März.pdf"_s);
    QCOMPARE(part(read, 1).value(u"type"_s).toString(), u"application/pdf"_s);
    QCOMPARE(part(read, 1).value(u"size"_s).toInteger(), pdfBytes.size());
    QCOMPARE(part(read, 1).value(u"sha256"_s).toString(), sha256(pdfBytes));
    QCOMPARE(part(read, 2).value(u"filename"_s).toString(), u"a, b 'c' \"d\" ü € 😀 %41.txt"_s);
    QCOMPARE(part(read, 2).value(u"type"_s).toString(), u"text/plain"_s);
    QCOMPARE(part(read, 2).value(u"sha256"_s).toString(), sha256("text\n"));
}

void TestMapiLibrary::draft()
{
    QCOMPARE((TestMail{.subject = u"x"_s}.add(MAPI_TO, u"a@x"_s).sendWide(m_library, dialog)),
             SUCCESS_SUCCESS);
    const QJsonObject headers = onlyMail().value(u"headers"_s).toObject();
    QCOMPARE(headers.value(u"X-Unsent"_s).toString().trimmed(), u"1"_s);
    // Set by the client that sends it.
    QVERIFY(!headers.contains(u"Date"_s));
    QVERIFY(!headers.contains(u"Message-Id"_s));
    QVERIFY(!headers.contains(u"From"_s));
}

void TestMapiLibrary::directWithoutSendmail()
{
    QCOMPARE((TestMail{.subject = u"x"_s}.add(MAPI_TO, u"a@x"_s).sendWide(m_library, direct)),
             SUCCESS_SUCCESS);
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    const QJsonObject headers = read.value(u"headers"_s).toObject();
    QVERIFY(!headers.contains(u"X-Unsent"_s));
    QVERIFY(headers.contains(u"Date"_s));
    const QStringList fields = headers.keys();
    QVERIFY2(fields.contains(u"Message-Id"_s, Qt::CaseInsensitive), qPrintable(fields.join(u' ')));
    // No command would read a mail without recipients, but the outbox may keep one.
    QCOMPARE((TestMail{.subject = u"x"_s}.sendWide(m_library, direct)), SUCCESS_SUCCESS);
    QCOMPARE(mails().size(), 2);
}

void TestMapiLibrary::directThroughSendmail()
{
    const QString program = path(u"sendmail"_s);
    QVERIFY(writeFile(program, "#!/bin/sh\ncat > '" + QFile::encodeName(path(u"sent.eml"_s)) + "'\n"));
    ::chmod(QFile::encodeName(program).constData(), 0755);
    const ScopedEnvironment own("OSTRELLE_SENDMAIL", QFile::encodeName(program));
    QVERIFY(writeFile(path(u"ü.bin"_s), "\r\n\n\r"));
    TestMail mail{.subject = u"für"_s, .noteText = u"Grüße\n.\nFrom me\n"_s};
    mail.add(MAPI_TO, u"max@example.org"_s)
        .add(MAPI_BCC, u"Eva <eva@example.org>"_s)
        .attach(path(u"ü.bin"_s));
    QCOMPARE(mail.sendWide(m_library, direct), SUCCESS_SUCCESS);
    QVERIFY(outboxIsEmpty());
    const QJsonObject read = readMails({path(u"sent.eml"_s)}).first().toObject();
    QVERIFY(read.value(u"unixLineEnds"_s).toBool());
    QVERIFY(read.value(u"defects"_s).toArray().isEmpty());
    QCOMPARE(read.value(u"subject"_s).toString(), u"für"_s);
    QCOMPARE(read.value(u"bcc"_s).toArray(), address(u"Eva"_s, u"eva@example.org"_s));
    QCOMPARE(part(read, 0).value(u"text"_s).toString(), u"Grüße\r\n.\r\nFrom me\r\n"_s);
    QCOMPARE(part(read, 1).value(u"sha256"_s).toString(), sha256("\r\n\n\r"));

    QCOMPARE(TestMail{.subject = u"x"_s}.sendWide(m_library, direct), MAPI_E_UNKNOWN_RECIPIENT);
    QVERIFY(outboxIsEmpty());
}

void TestMapiLibrary::dialogNeverGoesToSendmail()
{
    const QString program = path(u"sendmail"_s);
    QVERIFY(writeFile(program, "#!/bin/sh\ntouch '" + QFile::encodeName(path(u"started"_s)) + "'\n"));
    ::chmod(QFile::encodeName(program).constData(), 0755);
    const ScopedEnvironment own("OSTRELLE_SENDMAIL", QFile::encodeName(program));
    TestMail mail{.subject = u"x"_s};
    mail.add(MAPI_TO, u"a@x"_s);
    QCOMPARE(mail.sendWithFlags(m_library, MAPI_DIALOG), SUCCESS_SUCCESS);
    QCOMPARE(mail.sendWithFlags(m_library, 0xC), SUCCESS_SUCCESS); // modeless
    QVERIFY(!QFile::exists(path(u"started"_s)));
    QCOMPARE(mails().size(), 2);
}

void TestMapiLibrary::narrowMail()
{
    QVERIFY(writeFile(path(u"ü.txt"_s), "x"));
    QByteArray subject = "für";
    QByteArray note = "Grüße";
    QByteArray to = "Max Müller <max@example.org>";
    QByteArray file = QFile::encodeName(path(u"ü.txt"_s)).replace('/', '\\');
    for (const ULONG reserved : {0U, 65001U}) {
        MapiRecipDesc recipient{0, MAPI_TO, to.data(), to.data(), 0, nullptr};
        MapiFileDesc attachment{0, 0, 0xFFFFFFFF, file.data(), nullptr, nullptr};
        MapiMessage message{reserved, subject.data(), note.data(), nullptr,    nullptr, nullptr,
                            0,        nullptr,        1,           &recipient, 1,       &attachment};
        QCOMPARE(m_library.narrow()(0, 0, &message, MAPI_LOGON_UI | MAPI_DIALOG, 0), SUCCESS_SUCCESS);
        const QJsonObject read = onlyMail();
        QVERIFY(isSound(read));
        QCOMPARE(read.value(u"subject"_s).toString(), u"für"_s);
        QCOMPARE(read.value(u"to"_s).toArray(), address(u"Max Müller"_s, u"max@example.org"_s));
        QCOMPARE(part(read, 0).value(u"text"_s).toString(), u"Grüße\r\n"_s);
        QCOMPARE(part(read, 1).value(u"filename"_s).toString(), u"ü.txt"_s);
        QVERIFY(QFile::remove(mails().first()));
    }
}

void TestMapiLibrary::emptyEverything()
{
    QCOMPARE((TestMail{.subject = u""_s, .noteText = u""_s}.sendWide(m_library, dialog)), SUCCESS_SUCCESS);
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    QCOMPARE(read.value(u"subject"_s).toString(), QString(u""_s));
    QCOMPARE(read.value(u"to"_s).toArray(), QJsonArray());
    QVERIFY(!read.value(u"headers"_s).toObject().contains(u"To"_s));
    QCOMPARE(part(read, 0).value(u"text"_s).toString(), u""_s);
}

void TestMapiLibrary::nullPointers()
{
    QCOMPARE(m_library.wide()(0, 0, nullptr, MAPI_DIALOG, 0), MAPI_E_INVALID_MESSAGE);
    QCOMPARE(m_library.narrow()(0, 0, nullptr, 0, 0), MAPI_E_INVALID_MESSAGE);
    MapiMessageW empty{};
    QCOMPARE(m_library.wide()(0, 0, &empty, MAPI_DIALOG, 0), SUCCESS_SUCCESS);
    empty.nRecipCount = 3;
    QCOMPARE(m_library.wide()(0, 0, &empty, MAPI_DIALOG, 0), MAPI_E_INVALID_RECIPS);
    empty.nRecipCount = 0;
    empty.nFileCount = 3;
    QCOMPARE(m_library.wide()(0, 0, &empty, MAPI_DIALOG, 0), MAPI_E_INVALID_MESSAGE);
    QCOMPARE(mails().size(), 1);
}

void TestMapiLibrary::receipt_data()
{
    QTest::addColumn<bool>("asDraft");
    QTest::addColumn<bool>("withOriginator");
    QTest::addColumn<bool>("notification");
    QTest::addColumn<bool>("draftInfo");
    QTest::newRow("draft") << true << false << false << true;
    QTest::newRow("draft with originator") << true << true << true << true;
    QTest::newRow("direct with originator") << false << true << true << false;
    QTest::newRow("direct, nobody to answer to") << false << false << false << false;
}

void TestMapiLibrary::receipt()
{
    QFETCH(bool, asDraft);
    QFETCH(bool, withOriginator);
    QFETCH(bool, notification);
    QFETCH(bool, draftInfo);
    TestMail mail{.subject = u"x"_s, .flags = MAPI_RECEIPT_REQUESTED};
    mail.add(MAPI_TO, u"a@x"_s);
    if (withOriginator)
        mail.originator.append({MAPI_ORIG, u"Max Müller"_s, u"max@example.org"_s});
    QCOMPARE(mail.sendWide(m_library, asDraft), SUCCESS_SUCCESS);
    const QJsonObject headers = onlyMail().value(u"headers"_s).toObject();
    QCOMPARE(headers.contains(u"Disposition-Notification-To"_s), notification);
    if (notification)
        QVERIFY(headers.value(u"Disposition-Notification-To"_s).toString().endsWith(u"<max@example.org>"_s));
    QCOMPARE(headers.contains(u"X-Mozilla-Draft-Info"_s), draftInfo);
}

void TestMapiLibrary::originator()
{
    TestMail mail{.subject = u"x"_s};
    mail.originator.append({MAPI_ORIG, u"Müller, Max"_s, u"SMTP:max@example.org"_s});
    QCOMPARE(mail.sendWide(m_library, dialog), SUCCESS_SUCCESS);
    QCOMPARE(onlyMail().value(u"from"_s).toArray(), address(u"Müller, Max"_s, u"max@example.org"_s));
    mail.originator.first().address = u"a@x, b@y"_s;
    mail.originator.first().name = QString();
    QCOMPARE(mail.sendWide(m_library, dialog), MAPI_E_INVALID_RECIPS);
}

void TestMapiLibrary::subjects_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("expected");
    const auto same = [](const char *name, const QString &text) {
        QTest::newRow(name) << text << text;
    };
    same("ascii", u"Your invoice"_s);
    same("umlauts", u"Für März: 17 €"_s);
    same("emoji", u"😀😀😀 x ü"_s);
    same("blanks at both ends and inside", u"  a   b  "_s);
    same("tab", u"a\tb"_s);
    same("looks encoded", u"=?utf-8?q?x?="_s);
    same("control characters", u"a\u0001\u000b\u000c\u001c\u007f\u0085\u2028z"_s);
    same("right to left", u"\u05e9\u05dc\u05d5\u05dd \u202e x"_s);
    same("looks like a header", u"Bcc: evil@example.org"_s);
    same("percent", u"%0D%0ABcc: evil@example.org"_s);
    same("a hundred words", u"Wort "_s.repeated(100) + u'x');
    same("one long word", u"a"_s.repeated(3000));
    same("a MiB of ascii", u"a"_s.repeated(qsizetype(1024) * 1024));
    same("a MiB of words", u"word wörd "_s.repeated(100000) + u'x');
    same("only blanks", u"   "_s);
    QTest::newRow("lone surrogate") << QString(QChar(0xD83D)) + u"x"_s << u"\ufffdx"_s;
    QTest::newRow("low surrogate at the end") << u"x"_s + QChar(0xDE00) << u"x\ufffd"_s;
}

void TestMapiLibrary::subjects()
{
    QFETCH(QString, subject);
    QFETCH(QString, expected);
    QCOMPARE((TestMail{.subject = subject}.sendWide(m_library, dialog)), SUCCESS_SUCCESS);
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    QVERIFY(read.value(u"longestLine"_s).toInt() <= 78);
    QVERIFY(read.value(u"subject"_s).toString() == expected);
    QCOMPARE(read.value(u"fields"_s).toArray().size(), 5); // Subject, X-Unsent and three of MIME
}

void TestMapiLibrary::noteTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("encoding");
    QTest::newRow("plain") << u"one\ntwo\n"_s << u"one\r\ntwo\r\n"_s << u"7bit"_s;
    QTest::newRow("dos") << u"one\r\ntwo\r\n"_s << u"one\r\ntwo\r\n"_s << u"7bit"_s;
    QTest::newRow("carriage returns") << u"one\rtwo"_s << u"one\r\ntwo\r\n"_s << u"7bit"_s;
    QTest::newRow("no line end at the end gets one") << u"one"_s << u"one\r\n"_s << u"7bit"_s;
    QTest::newRow("only line ends") << u"\n\n\n"_s << u"\r\n\r\n\r\n"_s << u"7bit"_s;
    QTest::newRow("tabs") << u"a\tb\n"_s << u"a\tb\r\n"_s << u"7bit"_s;
    QTest::newRow("some umlauts") << u"Viele Grüße aus dem Süden sendet der Verkauf\n"_s
                                  << u"Viele Grüße aus dem Süden sendet der Verkauf\r\n"_s
                                  << u"quoted-printable"_s;
    QTest::newRow("mostly not ascii") << u"Ελληνικά\n"_s << u"Ελληνικά\r\n"_s << u"base64"_s;
    QTest::newRow("equals signs") << u"a=3D b==\n"_s << u"a=3D b==\r\n"_s << u"7bit"_s;
    QTest::newRow("equals signs and umlaut")
        << u"a=3D b== and some more text ü =\n"_s << u"a=3D b== and some more text ü =\r\n"_s
        << u"quoted-printable"_s;
    QTest::newRow("single dot") << u"one\n.\ntwo\n"_s << u"one\r\n.\r\ntwo\r\n"_s << u"base64"_s;
    QTest::newRow("from line") << u"one\nFrom me\n"_s << u"one\r\nFrom me\r\n"_s << u"base64"_s;
    QTest::newRow("blanks at line ends") << u"a \nb\t\n"_s << u"a \r\nb\t\r\n"_s << u"quoted-printable"_s;
    QTest::newRow("long line") << u"x"_s.repeated(5000) + u"\n"_s << u"x"_s.repeated(5000) + u"\r\n"_s
                               << u"quoted-printable"_s;
    QTest::newRow("long line of blanks")
        << u"a"_s + u" "_s.repeated(2000) << u"a"_s + u" "_s.repeated(2000) + u"\r\n"_s
        << u"quoted-printable"_s;
    QTest::newRow("control characters")
        << u"a long enough text \u0001\u001b\u007f \u000c\n"_s
        << u"a long enough text \u0001\u001b\u007f \u000c\r\n"_s << u"quoted-printable"_s;
    QTest::newRow("boundary of its own")
        << u"--=-abc\n--=-abc--\n"_s << u"--=-abc\r\n--=-abc--\r\n"_s << u"7bit"_s;
    QTest::newRow("looks like headers")
        << u"Bcc: a@b\n\nX: y\n"_s << u"Bcc: a@b\r\n\r\nX: y\r\n"_s << u"7bit"_s;
    QTest::newRow("right to left") << u"\u202e\u05e9\u05dc\u05d5\u05dd\n"_s
                                   << u"\u202e\u05e9\u05dc\u05d5\u05dd\r\n"_s << u"base64"_s;
    QTest::newRow("lone surrogates") << QString(QChar(0xDC00)) + QChar(0xD800) << u"\ufffd\ufffd\r\n"_s
                                     << u"base64"_s;
    QTest::newRow("four MiB") << u"Viele Grüße aus der Ferne sendet der Verkauf\n"_s.repeated(100000)
                              << u"Viele Grüße aus der Ferne sendet der Verkauf\r\n"_s.repeated(100000)
                              << u"quoted-printable"_s;
}

void TestMapiLibrary::noteTexts()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QFETCH(QString, encoding);
    QVERIFY(writeFile(path(u"a.txt"_s), "x"));
    // Alone and as the first of two parts.
    TestMail mail{.subject = u"x"_s, .noteText = text};
    QCOMPARE(mail.sendWide(m_library, dialog), SUCCESS_SUCCESS);
    QCOMPARE(mail.attach(path(u"a.txt"_s)).sendWide(m_library, dialog), SUCCESS_SUCCESS);
    const QJsonArray all = readMails(mails());
    QCOMPARE(all.size(), 2);
    for (const QJsonValue value : all) {
        const QJsonObject read = value.toObject();
        QVERIFY(isSound(read));
        QVERIFY(read.value(u"ascii"_s).toBool());
        QCOMPARE(part(read, 0).value(u"encoding"_s).toString(), encoding);
        QCOMPARE(part(read, 0).value(u"charset"_s).toString(), u"utf-8"_s);
        QVERIFY2(part(read, 0).value(u"text"_s).toString() == expected,
                 qPrintable(part(read, 0).value(u"text"_s).toString().left(200)));
    }
}

void TestMapiLibrary::noteTextThatLooksLikeHtml()
{
    const QString html = u"<!DOCTYPE html><html><body><p>Hello</p></body></html>"_s;
    QCOMPARE((TestMail{.subject = u"x"_s, .noteText = html}.sendWide(m_library, dialog)), SUCCESS_SUCCESS);
    const QJsonObject read = onlyMail();
    QCOMPARE(part(read, 0).value(u"type"_s).toString(), u"text/plain"_s);
    QCOMPARE(part(read, 0).value(u"text"_s).toString(), html + u"\r\n"_s);
}

void TestMapiLibrary::recipients_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("mailbox");
    QTest::newRow("address") << u"max@example.org"_s << u""_s << u"max@example.org"_s;
    QTest::newRow("umlaut") << u"Max Müller <max@example.org>"_s << u"Max Müller"_s << u"max@example.org"_s;
    QTest::newRow("comma") << u"Müller, Max <max@example.org>"_s << u"Müller, Max"_s << u"max@example.org"_s;
    QTest::newRow("transport") << u"SMTP:max@example.org"_s << u""_s << u"max@example.org"_s;
    QTest::newRow("quotes in the name")
        << u"\"Max \\\"der Große\\\" M.\" <m@x.org>"_s << u"Max \"der Große\" M."_s << u"m@x.org"_s;
    QTest::newRow("long name") << u"Ä"_s.repeated(2000) + u" <m@x.org>"_s << u"Ä"_s.repeated(2000)
                               << u"m@x.org"_s;
    QTest::newRow("long ascii name") << u"word "_s.repeated(300) + u"x <m@x.org>"_s
                                     << u"word "_s.repeated(300) + u"x"_s << u"m@x.org"_s;
    QTest::newRow("emoji") << u"😀 <e@x.org>"_s << u"😀"_s << u"e@x.org"_s;
    QTest::newRow("domain with umlaut") << u"max@exämple.org"_s << u""_s << u"max@xn--exmple-cua.org"_s;
    QTest::newRow("lone surrogate") << QString(QChar(0xD800)) + u" <m@x.org>"_s << u"\ufffd"_s
                                    << u"m@x.org"_s;
    QTest::newRow("right to left") << u"\u202e\u05e9\u05dc <m@x.org>"_s << u"\u202e\u05e9\u05dc"_s
                                   << u"m@x.org"_s;
}

void TestMapiLibrary::recipients()
{
    QFETCH(QString, text);
    QFETCH(QString, name);
    QFETCH(QString, mailbox);
    const QStringList fields{u"to"_s, u"cc"_s, u"bcc"_s};
    for (const ULONG kind : {MAPI_TO, MAPI_CC, MAPI_BCC})
        QCOMPARE((TestMail{.subject = u"x"_s}.add(kind, text).sendWide(m_library, dialog)), SUCCESS_SUCCESS);
    const QJsonArray all = readMails(mails());
    QCOMPARE(all.size(), fields.size());
    for (qsizetype i = 0; i < fields.size(); ++i) {
        QVERIFY(isSound(all.at(i).toObject()));
        QCOMPARE(all.at(i).toObject().value(fields.at(i)).toArray(), address(name, mailbox));
    }
}

void TestMapiLibrary::attachmentNames_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : {u"plain.txt"_s,
                                u"with blank.txt"_s,
                                u"a, b 'c' \"d\" ü € 😀 %41.txt"_s,
                                u"semi;colon=eq.txt"_s,
                                u"%0d%0a.txt"_s,
                                u"'x''y'.txt"_s,
                                u"a\"; filename=\"evil.exe"_s,
                                u"\u202etxt.exe"_s,
                                u"control\u0001.txt"_s,
                                u"tab\t.txt"_s,
                                u".hidden"_s,
                                u"-rf"_s,
                                u" blanks "_s,
                                u"=?utf-8?q?x?=.txt"_s,
                                u"no-extension"_s,
                                u"x"_s.repeated(255),
                                u"ü"_s.repeated(127),
                                u"😀"_s.repeated(60),
                                u"$(touch x) `y` | z & .txt"_s,
                                u"*?[].txt"_s,
                                u"~"_s,
                                u"#a#b"_s})
        QTest::newRow(qPrintable(name.left(40))) << name;
}

void TestMapiLibrary::attachmentNames()
{
    QFETCH(QString, name);
    const QByteArray content = "content of " + name.toUtf8();
    QVERIFY(writeFile(path(name), content));
    QCOMPARE((TestMail{.subject = u"x"_s}.attach(path(name)).sendWide(m_library, dialog)), SUCCESS_SUCCESS);
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    QVERIFY(read.value(u"ascii"_s).toBool());
    QCOMPARE(read.value(u"parts"_s).toArray().size(), 2);
    QCOMPARE(part(read, 1).value(u"disposition"_s).toString(), u"attachment"_s);
    QCOMPARE(part(read, 1).value(u"filename"_s).toString(), name);
    QCOMPARE(part(read, 1).value(u"sha256"_s).toString(), sha256(content));
}

void TestMapiLibrary::attachmentNameGiven()
{
    QVERIFY(writeFile(path(u"tmp17"_s), "%PDF-1.4\n"));
    TestMail mail{.subject = u"x"_s};
    mail.files.append({path(u"tmp17"_s), u"..\\Rechnung.pdf"_s});
    QCOMPARE(mail.sendWide(m_library, dialog), SUCCESS_SUCCESS);
    const QJsonObject attachment = part(onlyMail(), 1);
    QCOMPARE(attachment.value(u"filename"_s).toString(), u"Rechnung.pdf"_s);
    QCOMPARE(attachment.value(u"type"_s).toString(), u"application/pdf"_s);
}

void TestMapiLibrary::attachmentTypes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("type");
    QTest::newRow("by name") << u"a.pdf"_s << QByteArray("x") << u"application/pdf"_s;
    QTest::newRow("by content") << u"picture"_s << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16)
                                << u"image/png"_s;
    QTest::newRow("neither") << u"data"_s << QByteArray("\x00\x01\x02\xff", 4)
                             << u"application/octet-stream"_s;
    // A part of these types may not be in base64, and would be taken for mail by its receiver.
    QTest::newRow("message") << u"old.eml"_s << QByteArray("From: a@b\r\nSubject: x\r\n\r\ntext\r\n")
                             << u"application/octet-stream"_s;
    QTest::newRow("name of a type with parameters")
        << u"a.xyz; charset=x"_s << QByteArray("\x00\x01", 2) << u"application/octet-stream"_s;
}

void TestMapiLibrary::attachmentTypes()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, type);
    QVERIFY(writeFile(path(name), content));
    QCOMPARE((TestMail{.subject = u"x"_s}.attach(path(name)).sendWide(m_library, dialog)), SUCCESS_SUCCESS);
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    QCOMPARE(part(read, 1).value(u"type"_s).toString(), type);
    QCOMPARE(part(read, 1).value(u"sha256"_s).toString(), sha256(content));
}

void TestMapiLibrary::refusals_data()
{
    QTest::addColumn<TestMail>("mail");
    QTest::addColumn<ULONG>("expected");
    const auto base = [] {
        return TestMail{.subject = u"x"_s, .noteText = u"y"_s};
    };

    QTest::newRow("line feed in the subject")
        << TestMail{.subject = u"x\nBcc: evil@example.org"_s} << MAPI_E_INVALID_MESSAGE;
    QTest::newRow("line ends in the subject")
        << TestMail{.subject = u"x\r\n\r\nbody"_s} << MAPI_E_INVALID_MESSAGE;
    QTest::newRow("carriage return in the subject")
        << TestMail{.subject = u"x\ry"_s} << MAPI_E_INVALID_MESSAGE;
    QTest::newRow("line feed in a recipient")
        << base().add(MAPI_TO, u"a@x\nBcc: evil@example.org"_s) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("line feed in a name")
        << base().add(MAPI_CC, u"A\r\nX: y <a@x>"_s) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("name without address") << base().add(MAPI_TO, u"Max Müller"_s) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("empty recipient") << base().add(MAPI_TO, u""_s) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("null recipient") << base().add(MAPI_TO, QString()) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("option as recipient") << base().add(MAPI_TO, u"-oQ/tmp@x"_s) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("good and bad recipient")
        << base().add(MAPI_TO, u"a@x"_s).add(MAPI_BCC, u"?? ?"_s) << MAPI_E_INVALID_RECIPS;
    QTest::newRow("originator as recipient") << base().add(MAPI_ORIG, u"a@x"_s) << MAPI_E_BAD_RECIPTYPE;
    QTest::newRow("unknown class") << base().add(4, u"a@x"_s) << MAPI_E_BAD_RECIPTYPE;
    QTest::newRow("class with a flag") << base().add(0x10000001, u"a@x"_s) << MAPI_E_BAD_RECIPTYPE;

    QTest::newRow("missing attachment") << base().attach(u"/nowhere/a.txt"_s) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("empty attachment path") << base().attach(u""_s) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("null attachment path") << base().attach(QString()) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("file as directory") << base().attach(u"/etc/passwd/x"_s) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("path with a drive") << base().attach(u"C:\\a.txt"_s) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("endless path") << base().attach(u"/"_s + u"x"_s.repeated(100000))
                                  << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("lone surrogate in a path")
        << base().attach(u"/tmp/"_s + QChar(0xD800)) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("directory") << base().attach(u"/tmp"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("directory with a separator")
        << base().attach(u"/tmp/"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("device") << base().attach(u"/dev/zero"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("null device") << base().attach(u"/dev/null"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("fifo") << base().attach(u"FIFO"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("fifo behind a link") << base().attach(u"LINK"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("socket") << base().attach(u"SOCKET"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("link to itself") << base().attach(u"LOOP"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("link to nothing") << base().attach(u"DANGLING"_s) << MAPI_E_ATTACHMENT_NOT_FOUND;
    QTest::newRow("unreadable") << base().attach(u"SECRET"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("unreachable") << base().attach(u"LOCKED/a.txt"_s) << MAPI_E_ATTACHMENT_OPEN_FAILURE;
    QTest::newRow("good and missing attachment")
        << base().attach(u"/etc/passwd"_s).attach(u"/nowhere"_s) << MAPI_E_ATTACHMENT_NOT_FOUND;
    TestMail lineBreak = base();
    lineBreak.files.append({u"/etc/passwd"_s, u"a\nb.txt"_s});
    QTest::newRow("line feed in a file name") << lineBreak << MAPI_E_INVALID_MESSAGE;
    QTest::newRow("file with a line feed in its name")
        << base().attach(u"LINE\nBREAK"_s) << MAPI_E_INVALID_MESSAGE;
}

void TestMapiLibrary::refusals()
{
    QFETCH(TestMail, mail);
    QFETCH(ULONG, expected);
    const auto nativePath = [this](const QString &name) {
        return QFile::encodeName(path(name));
    };
    QCOMPARE(::mkfifo(nativePath(u"FIFO"_s).constData(), 0666), 0);
    QVERIFY(QFile::link(path(u"FIFO"_s), path(u"LINK"_s)));
    QVERIFY(QFile::link(path(u"LOOP"_s), path(u"LOOP"_s)));
    QVERIFY(QFile::link(path(u"nothing"_s), path(u"DANGLING"_s)));
    const int handle = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    qstrncpy(name.sun_path, nativePath(u"SOCKET"_s).constData(), sizeof(name.sun_path));
    QCOMPARE(::bind(handle, reinterpret_cast<const sockaddr *>(&name), sizeof(name)), 0);
    ::close(handle);
    QVERIFY(writeFile(path(u"SECRET"_s), "secret"));
    ::chmod(nativePath(u"SECRET"_s).constData(), 0000);
    QVERIFY(QDir(m_dir->path()).mkdir(u"LOCKED"_s));
    QVERIFY(writeFile(path(u"LOCKED/a.txt"_s), "secret"));
    ::chmod(nativePath(u"LOCKED"_s).constData(), 0000);
    QVERIFY(writeFile(path(u"LINE\nBREAK"_s), "x"));
    ::mkdir(nativePath(u"outbox"_s).constData(), 0777);
    ::chmod(nativePath(u"outbox"_s).constData(), 0777);

    // Names in capitals stand for the files above.
    for (TestMail::File &file : mail.files) {
        if (!file.path.isEmpty() && file.path.front().isUpper() && file.path.at(1) != u':')
            file.path = path(file.path);
    }
    for (const bool kind : {dialog, direct}) {
        ForkedCall ordinary([&] { return becomeNobody() ? mail.sendWide(m_library, kind) : 200U; });
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ordinary.wait(), int(expected));
        QVERIFY(timer.elapsed() < 20000);
    }
    QVERIFY(outboxIsEmpty());
    ::chmod(nativePath(u"LOCKED"_s).constData(), 0700);
}

void TestMapiLibrary::manyRecipients()
{
    constexpr int count = 10000;
    TestMail mail{.subject = u"x"_s};
    for (int i = 0; i < count; ++i)
        mail.add(MAPI_TO + ULONG(i % 3), u"Müller, %1 <user%1@example.org>"_s.arg(i));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(mail.sendWide(m_library, dialog), SUCCESS_SUCCESS);
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    const QStringList fields{u"to"_s, u"cc"_s, u"bcc"_s};
    for (int i = 0; i < count; ++i) {
        const QJsonObject entry = read.value(fields.at(i % 3)).toArray().at(i / 3).toObject();
        QCOMPARE(entry.value(u"name"_s).toString(), u"Müller, %1"_s.arg(i));
        QCOMPARE(entry.value(u"address"_s).toString(), u"user%1@example.org"_s.arg(i));
    }
}

void TestMapiLibrary::manyAttachments()
{
    // More than a process may have open at a time.
    constexpr int count = 1500;
    TestMail mail{.subject = u"x"_s};
    for (int i = 0; i < count; ++i) {
        QVERIFY(writeFile(path(u"%1.txt"_s.arg(i)), QByteArray::number(i)));
        mail.attach(path(u"%1.txt"_s.arg(i)));
    }
    ForkedCall limited([&] {
        const rlimit limit{64, 64};
        setrlimit(RLIMIT_NOFILE, &limit);
        return mail.sendWide(m_library, dialog);
    });
    QCOMPARE(limited.wait(), int(SUCCESS_SUCCESS));
    const QJsonObject read = onlyMail();
    QVERIFY(isSound(read));
    QCOMPARE(read.value(u"parts"_s).toArray().size(), count + 1);
    for (int i = 0; i < count; ++i)
        QCOMPARE(part(read, i + 1).value(u"sha256"_s).toString(), sha256(QByteArray::number(i)));
}

void TestMapiLibrary::largeAttachmentIsNotHeldInMemory()
{
    constexpr qint64 size = qint64(256) * 1024 * 1024;
    QFile large(path(u"large.bin"_s));
    QVERIFY(large.open(QIODevice::WriteOnly));
    QVERIFY(large.resize(size)); // takes no room on the disk
    large.close();
    const TestMail mail = TestMail{.subject = u"x"_s}.attach(large.fileName());
    ForkedCall measured([&] {
        rusage before{};
        getrusage(RUSAGE_SELF, &before);
        const ULONG result = mail.sendWide(m_library, dialog);
        rusage after{};
        getrusage(RUSAGE_SELF, &after);
        return after.ru_maxrss - before.ru_maxrss < 64L * 1024 ? result : 99U;
    });
    QCOMPARE(measured.wait(), int(SUCCESS_SUCCESS));
    QCOMPARE(mails().size(), 1);
    QVERIFY(QFileInfo(mails().first()).size() > size * 4 / 3);
}

void TestMapiLibrary::attachmentThatGrows()
{
    // Somebody writes to the file all the time: the mail must be refused, or hold the file as it was at one
    // moment. With a writer this busy it is refused.
    const QString name = path(u"log.txt"_s);
    QVERIFY(writeFile(name, QByteArray(4000000, 'x')));
    const ForkedCall writer([&] {
        const int file = ::open(QFile::encodeName(name).constData(), O_WRONLY | O_APPEND);
        const QByteArray piece(1000, 'y');
        for (int i = 0; i < 100000 && ::write(file, piece.constData(), 1000) == 1000; ++i)
            QTest::qSleep(1);
        return 0U;
    });
    QTRY_VERIFY(QFileInfo(name).size() > 4000000);
    const TestMail mail = TestMail{.subject = u"x"_s}.attach(name);
    QCOMPARE(mail.sendWide(m_library, dialog), MAPI_E_ATTACHMENT_OPEN_FAILURE);
    QVERIFY(outboxIsEmpty());
}

void TestMapiLibrary::systemFileWithoutSize()
{
    // These say that their size is 0 and yet have content; an empty attachment would be a lie.
    const TestMail mail = TestMail{.subject = u"x"_s}.attach(u"/proc/self/status"_s);
    QCOMPARE(mail.sendWide(m_library, dialog), MAPI_E_ATTACHMENT_OPEN_FAILURE);
    QVERIFY(writeFile(path(u"empty"_s), ""));
    QCOMPARE((TestMail{.subject = u"x"_s}.attach(path(u"empty"_s)).sendWide(m_library, dialog)),
             SUCCESS_SUCCESS);
    QCOMPARE(part(onlyMail(), 1).value(u"size"_s).toInt(), 0);
}

void TestMapiLibrary::noHome()
{
    const ScopedEnvironment outbox("OSTRELLE_OUTBOX", QByteArray());
    const TestMail mail = TestMail{.subject = u"x"_s}.add(MAPI_TO, u"a@x"_s);
    QCOMPARE(mail.sendWide(m_library, dialog), SUCCESS_SUCCESS);
    QCOMPARE(QDir(path(u".local/share/ostrelle/outbox"_s)).entryList({u"*.eml"_s}, QDir::Files).size(), 1);

    const ScopedEnvironment home("HOME", "/proc/nowhere");
    const ULONG result = mail.sendWide(m_library, dialog);
    QVERIFY2(result == MAPI_E_FAILURE || result == MAPI_E_ACCESS_DENIED, qPrintable(QString::number(result)));

    const ScopedEnvironment relative("OSTRELLE_OUTBOX", "outbox");
    QCOMPARE(mail.sendWide(m_library, dialog), MAPI_E_FAILURE);
}

void TestMapiLibrary::readOnlyOutbox()
{
    QVERIFY(QDir(m_dir->path()).mkdir(u"outbox"_s));
    ::chmod(QFile::encodeName(path(u"outbox"_s)).constData(), 0555);
    const TestMail mail = TestMail{.subject = u"x"_s}.add(MAPI_TO, u"a@x"_s);
    ForkedCall ordinary([&] { return becomeNobody() ? mail.sendWide(m_library, direct) : 200U; });
    QCOMPARE(ordinary.wait(), int(MAPI_E_ACCESS_DENIED));
    QVERIFY(outboxIsEmpty());
}

void TestMapiLibrary::fileSizeLimitDoesNotKill()
{
    const TestMail mail{.subject = u"x"_s, .noteText = u"x\n"_s.repeated(500000)};
    ForkedCall limited([&] {
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_DFL);
        return mail.sendWide(m_library, dialog);
    });
    QCOMPARE(limited.wait(), int(MAPI_E_DISK_FULL));
    QVERIFY(outboxIsEmpty());
}

void TestMapiLibrary::killedInTheMiddle()
{
    QVERIFY(writeFile(path(u"a.bin"_s), QByteArray(6000000, 'x')));
    const TestMail mail = TestMail{.subject = u"x"_s}.add(MAPI_TO, u"a@x"_s).attach(path(u"a.bin"_s));
    std::minstd_rand random(4711);
    for (int i = 0; i < 30; ++i) {
        const ForkedCall writer([&] { return mail.sendWide(m_library, dialog); });
        QTest::qSleep(int(random() % 60));
    }
    const QString expected = sha256(QByteArray(6000000, 'x'));
    for (const QJsonValue value : readMails(mails())) {
        const QJsonObject read = value.toObject();
        QVERIFY(isSound(read));
        QCOMPARE(part(read, 1).value(u"sha256"_s).toString(), expected);
    }
    const QStringList all
        = QDir(path(u"outbox"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QVERIFY2(all.size() > mails().size(), "no writer was killed in the middle: the test shows nothing");
}

void TestMapiLibrary::manyProcesses()
{
    constexpr int processes = 8;
    constexpr int mailsEach = 10;
    QVERIFY(writeFile(path(u"a.bin"_s), QByteArray(50000, 'x')));
    std::vector<std::unique_ptr<ForkedCall>> senders;
    senders.reserve(processes);
    for (int i = 0; i < processes; ++i) {
        senders.push_back(std::make_unique<ForkedCall>([&, i] {
            for (int j = 0; j < mailsEach; ++j) {
                TestMail mail{.subject = u"%1/%2"_s.arg(i).arg(j)};
                const ULONG result = mail.attach(path(u"a.bin"_s)).sendWide(m_library, j % 2 == 0);
                if (result != SUCCESS_SUCCESS)
                    return result;
            }
            return SUCCESS_SUCCESS;
        }));
    }
    for (const auto &sender : senders)
        QCOMPARE(sender->wait(), int(SUCCESS_SUCCESS));
    QSet<QString> subjects;
    for (const QJsonValue value : readMails(mails())) {
        QVERIFY(isSound(value.toObject()));
        subjects.insert(value.toObject().value(u"subject"_s).toString());
        QCOMPARE(part(value.toObject(), 1).value(u"size"_s).toInt(), 50000);
    }
    QCOMPARE(subjects.size(), processes * mailsEach);
}

void TestMapiLibrary::manyThreads()
{
    constexpr int threads = 8;
    constexpr int mailsEach = 10;
    QVERIFY(writeFile(path(u"ü.bin"_s), QByteArray(50000, 'x')));
    std::atomic<int> failures = 0;
    std::vector<std::unique_ptr<QThread>> senders;
    senders.reserve(threads);
    for (int i = 0; i < threads; ++i) {
        senders.emplace_back(QThread::create([&, i] {
            for (int j = 0; j < mailsEach; ++j) {
                TestMail mail{.subject = u"ü %1/%2"_s.arg(i).arg(j)};
                mail.add(MAPI_TO, u"Müller <m@x.org>"_s).attach(path(u"ü.bin"_s));
                failures += mail.sendWide(m_library, dialog) == SUCCESS_SUCCESS ? 0 : 1;
            }
        }));
        senders.back()->start();
    }
    for (const auto &sender : senders)
        QVERIFY(sender->wait(60000));
    QCOMPARE(failures.load(), 0);
    QSet<QString> subjects;
    for (const QJsonValue value : readMails(mails())) {
        QVERIFY(isSound(value.toObject()));
        subjects.insert(value.toObject().value(u"subject"_s).toString());
    }
    QCOMPARE(subjects.size(), threads * mailsEach);
}

void TestMapiLibrary::workingDirectoryIsNotInTheMail()
{
    // What a receiver can learn from a mail is what the sender put in, not where the files are.
    QVERIFY(writeFile(path(u"a.txt"_s), "x"));
    TestMail mail{.subject = u"x"_s, .noteText = u"y"_s};
    QCOMPARE(mail.attach(path(u"a.txt"_s)).sendWide(m_library, direct), SUCCESS_SUCCESS);
    QFile file(mails().first());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(!file.readAll().contains(m_dir->path().section(u'/', -1).toUtf8()));
}

QTEST_GUILESS_MAIN(TestMapiLibrary)
#include "tst_mapilibrary.moc"
