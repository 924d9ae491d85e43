#include "mailparameters.h"

#include "ostrelletest/scopedcurrentdir.h"
#include "zmlfile.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTextStream>

#include <iterator>

using namespace Qt::StringLiterals;

class TestMailParameters final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaults_data();
    void defaults();
    void flags_data();
    void flags();
    void texts_data();
    void texts();
    void numberedKeys_data();
    void numberedKeys();
    void replyTo();
    void priority_data();
    void priority();
    void body_data();
    void body();
    void bodyFile_data();
    void bodyFile();
    void bodyFilePath();
    void bodyFileInOtherEncodings_data();
    void bodyFileInOtherEncodings();
    void bodyFileOfOneLongLine();
    void bodyFileAgreesWithTheStraightforwardWay();
    void bodyFileFailures();
    void attachments();
    void attachmentsWithBackslashes();
    void attachmentsStandBesideTheZmlFile();
    void leavesTheZmlFileAlone();
};

void TestMailParameters::defaults_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("head alone") << QByteArray("[ZERKMAIL]");
    QTest::newRow("another section") << QByteArray("[MAIL]\nSUBJECT=x\nTO1=a@b\nSEND=1\n");
    QTest::newRow("keys before the head") << QByteArray("SUBJECT=x\nTO1=a@b\n[ZERKMAIL]\n");
}

void TestMailParameters::defaults()
{
    QFETCH(QByteArray, file);
    const ZmlFile zml("");
    zml.writeRaw(file);
    const MailParameters parameters(zml.path());
    QString error;
    QVERIFY(!parameters.send());
    QVERIFY(!parameters.debug());
    QVERIFY(!parameters.htmlBody());
    QVERIFY(!parameters.readReceipt());
    QVERIFY(!parameters.useSignature());
    QVERIFY(!parameters.deliveryReceipt());
    QCOMPARE(parameters.subject(), u"(no subject)"_s);
    QCOMPARE(parameters.newLine(), u";"_s);
    QCOMPARE(parameters.priority(), 3);
    QVERIFY(parameters.to().isEmpty());
    QVERIFY(parameters.cc().isEmpty());
    QVERIFY(parameters.bcc().isEmpty());
    QVERIFY(parameters.replyTo().isEmpty());
    QVERIFY(parameters.attachments().isEmpty());
    QVERIFY(parameters.fromAddress().isEmpty());
    QVERIFY(parameters.bodyFile().isEmpty());
    QVERIFY(parameters.body(error).isEmpty());
    QVERIFY(error.isEmpty());
}

void TestMailParameters::flags_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("on");
    for (const char *on : {"1", "j", "J", "y", "Y", " 1 ", "\tJ\t"})
        QTest::addRow("'%s' is on", on) << QByteArray(on) << true;
    for (const char *off : {"", "0", "2", "11", "yes", "ja", "true", "n", "on", "1.", "j y"})
        QTest::addRow("'%s' is off", off) << QByteArray(off) << false;
}

void TestMailParameters::flags()
{
    QFETCH(QByteArray, value);
    QFETCH(bool, on);
    static constexpr struct {
        const char *key;
        bool (MailParameters::*getter)() const;
    } getters[] = {
        {"SEND", &MailParameters::send},
        {"DEBUG", &MailParameters::debug},
        {"HTMLBODY", &MailParameters::htmlBody},
        {"READRECEIPT", &MailParameters::readReceipt},
        {"USESIGNATURE", &MailParameters::useSignature},
        {"DELIVERYRECEIPT", &MailParameters::deliveryReceipt},
    };
    for (const auto &row : getters) {
        const ZmlFile zml(QByteArray(row.key) + "=" + value + "\n");
        const MailParameters parameters(zml.path());
        QVERIFY2((parameters.*row.getter)() == on, row.key);
        for (const auto &other : getters) {
            if (other.getter != row.getter)
                QVERIFY2(!(parameters.*other.getter)(), other.key);
        }
    }
}

void TestMailParameters::texts_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("newLine");
    QTest::addColumn<QString>("fromAddress");

    const QString noSubject = u"(no subject)"_s;
    QTest::newRow("subject") << QByteArray("SUBJECT=Grüße\n") << u"Grüße"_s << u";"_s << QString();
    QTest::newRow("subject in small letters") << QByteArray("subject=x\n") << u"x"_s << u";"_s << QString();
    QTest::newRow("empty subject") << QByteArray("SUBJECT=\n") << u""_s << u";"_s << QString();
    QTest::newRow("line break token") << QByteArray("NEWLINE=|\n") << noSubject << u"|"_s << QString();
    QTest::newRow("empty line break token") << QByteArray("NEWLINE=\n") << noSubject << u""_s << QString();
    QTest::newRow("sender") << QByteArray("FROMADDRESS=a\nFROMADRESS=b\n") << noSubject << u";"_s << u"a"_s;
    QTest::newRow("sender in the old spelling")
        << QByteArray("FROMADRESS=b\n") << noSubject << u";"_s << u"b"_s;
    QTest::newRow("empty sender falls back")
        << QByteArray("FROMADDRESS=\nFROMADRESS=b\n") << noSubject << u";"_s << u"b"_s;
}

void TestMailParameters::texts()
{
    QFETCH(QByteArray, lines);
    const ZmlFile zml(lines);
    const MailParameters parameters(zml.path());
    QTEST(parameters.subject(), "subject");
    QTEST(parameters.newLine(), "newLine");
    QTEST(parameters.fromAddress(), "fromAddress");
}

void TestMailParameters::numberedKeys_data()
{
    QTest::addColumn<QByteArray>("lines"); // %% stands for the keyword
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("none") << QByteArray() << QStringList();
    QTest::newRow("three in any order")
        << QByteArray("%%3=c\n%%1=a\n%%2=b\n") << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("a gap hides the rest") << QByteArray("%%1=a\n%%3=c\n") << QStringList{u"a"_s};
    QTest::newRow("counting starts at 1") << QByteArray("%%0=z\n%%2=b\n") << QStringList();
    QTest::newRow("an empty value ends the list")
        << QByteArray("%%1=a\n%%2=\n%%3=c\n") << QStringList{u"a"_s};
    QTest::newRow("white space is an empty value")
        << QByteArray("%%1=a\n%%2= \t \n%%3=c\n") << QStringList{u"a"_s};
    QTest::newRow("no padding") << QByteArray("%%01=a\n") << QStringList();
    QTest::newRow("without a number") << QByteArray("%%=a\n") << QStringList();
    QTest::newRow("blank behind the key") << QByteArray("%%1 =a\n") << QStringList();
    QTest::newRow("duplicates go, the first stays")
        << QByteArray("%%1=a\n%%2=b\n%%3=a\n%%4=c\n") << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("duplicates are exact")
        << QByteArray("%%1=a@b\n%%2=A@b\n") << QStringList{u"a@b"_s, u"A@b"_s};
    QTest::newRow("equals sign in the value") << QByteArray("%%1=x=y\n") << QStringList{u"x=y"_s};
    QTest::newRow("no splitting") << QByteArray("%%1=a@b, c@d; e@f\n") << QStringList{u"a@b, c@d; e@f"_s};
    QTest::newRow("name and address")
        << QByteArray("%%1=\"M\xC3\xBCller\" <m@x>\n") << QStringList{u"\"Müller\" <m@x>"_s};
}

void TestMailParameters::numberedKeys()
{
    QFETCH(QByteArray, lines);
    QFETCH(QStringList, expected);
    static constexpr struct {
        const char *key;
        QStringList (MailParameters::*getter)() const;
    } getters[] = {
        {"TO", &MailParameters::to},
        {"CC", &MailParameters::cc},
        {"BCC", &MailParameters::bcc},
    };
    for (const auto &row : getters) {
        const ZmlFile zml(QByteArray(lines).replace("%%", row.key));
        const MailParameters parameters(zml.path());
        QCOMPARE((parameters.*row.getter)(), expected);
        for (const auto &other : getters) {
            if (other.getter != row.getter)
                QVERIFY2((parameters.*other.getter)().isEmpty(), other.key);
        }
    }
}

void TestMailParameters::replyTo()
{
    const ZmlFile zml("REPLYTO1=c\nREPLYTO2=a\nREPLY-TO1=a\nREPLY-TO2=b\nREPLY-TO4=x\n");
    const MailParameters parameters(zml.path());
    QCOMPARE(parameters.replyTo(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
}

void TestMailParameters::priority_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("expected");
    static constexpr struct {
        const char *value;
        int expected;
    } rows[] = {{"1", 1},  {"5", 5}, {"4", 4},    {"6", 5},   {"99", 5}, {"0", 1},
                {"-7", 1}, {"", 1},  {"high", 1}, {"0x2", 2}, {"03", 3}, {"0x10", 5}};
    for (const auto &row : rows)
        QTest::addRow("'%s'", row.value) << QByteArray(row.value) << row.expected;
}

void TestMailParameters::priority()
{
    QFETCH(QByteArray, value);
    const ZmlFile zml("PRIORITY=" + value + "\n");
    QTEST(MailParameters(zml.path()).priority(), "expected");
}

void TestMailParameters::body_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("expected");

    QTest::newRow("default token") << QByteArray("BODY=a;b\n") << u"a\nb"_s;
    QTest::newRow("own token") << QByteArray("BODY=a;b\nNEWLINE=|\n") << u"a;b"_s;
    QTest::newRow("own token in the text") << QByteArray("BODY=a|b;c\nNEWLINE=|\n") << u"a\nb;c"_s;
    QTest::newRow("long token") << QByteArray("BODY=a<NL>b<nl>c\nNEWLINE=<NL>\n") << u"a\nb<nl>c"_s;
    QTest::newRow("no token") << QByteArray("BODY=a;b\nNEWLINE=\n") << u"a;b"_s;
    QTest::newRow("token of blanks is none") << QByteArray("BODY=a b\nNEWLINE= \n") << u"a b"_s;
    QTest::newRow("HTML") << QByteArray("BODY=a;b\nHTMLBODY=1\n") << u"a<BR>b"_s;
    QTest::newRow("token alone") << QByteArray("BODY=;\n") << u"\n"_s;
    QTest::newRow("numbered lines") << QByteArray("BODY=a\nBODYZ1=b\nBODYZ2=c\n") << u"a\nb\nc"_s;
    QTest::newRow("numbered lines in HTML")
        << QByteArray("BODY=a\nBODYZ1=b\nBODYZ2=c\nHTMLBODY=j\n") << u"a<BR>b<BR>c"_s;
    QTest::newRow("numbered lines alone") << QByteArray("BODYZ1=b\nBODYZ2=c\n") << u"b\nc"_s;
    QTest::newRow("numbered lines keep the token") << QByteArray("BODY=a;b\nBODYZ1=c;d\n") << u"a\nb\nc;d"_s;
    QTest::newRow("numbered lines keep duplicates") << QByteArray("BODYZ1=b\nBODYZ2=b\n") << u"b\nb"_s;
    QTest::newRow("gap in numbered lines") << QByteArray("BODYZ1=b\nBODYZ3=c\n") << u"b"_s;
    QTest::newRow("empty body") << QByteArray("BODY=\nBODYZ1=b\n") << u"b"_s;
    QTest::newRow("nothing") << QByteArray() << QString();
}

void TestMailParameters::body()
{
    QFETCH(QByteArray, lines);
    const ZmlFile zml(lines);
    QString error;
    QTEST(MailParameters(zml.path()).body(error), "expected");
    QVERIFY(error.isEmpty());
}

void TestMailParameters::bodyFile_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("expected");

    QTest::newRow("alone") << QByteArray() << QByteArray("x\ny\n") << u"x\ny"_s;
    QTest::newRow("behind the body") << QByteArray("BODY=a;b\n") << QByteArray("x\n") << u"a\nb\nx"_s;
    QTest::newRow("behind everything")
        << QByteArray("BODY=a\nBODYZ1=b\n") << QByteArray("x\ny") << u"a\nb\nx\ny"_s;
    QTest::newRow("HTML") << QByteArray("BODY=a\nHTMLBODY=1\n") << QByteArray("<p>x</p>\n<p>y</p>\n")
                          << u"a<BR><p>x</p><BR><p>y</p>"_s;
    QTest::newRow("blank lines at the start of an empty body go")
        << QByteArray() << QByteArray("\n\nx\n\ny\n") << u"x\n\ny"_s;
    QTest::newRow("blank lines behind a body stay")
        << QByteArray("BODY=a\n") << QByteArray("\n\nx") << u"a\n\n\nx"_s;
    QTest::newRow("token is not replaced") << QByteArray("BODY=a;b\n") << QByteArray("x;y") << u"a\nb\nx;y"_s;
    QTest::newRow("CR LF") << QByteArray() << QByteArray("x\r\ny\r\n") << u"x\ny"_s;
    QTest::newRow("lines are not trimmed") << QByteArray() << QByteArray("  x \t\n") << u"  x \t"_s;
    QTest::newRow("empty file") << QByteArray("BODY=a\n") << QByteArray() << u"a"_s;
    QTest::newRow("empty file alone") << QByteArray() << QByteArray() << QString();
    QTest::newRow("blank lines alone") << QByteArray() << QByteArray("\n\n") << QString();
    QTest::newRow("blank lines alone in HTML")
        << QByteArray("HTMLBODY=1\n") << QByteArray("\n\n") << QString();
    QTest::newRow("lone CR") << QByteArray() << QByteArray("x\ry\r\nz\r") << u"x\ry\nz"_s;
    QTest::newRow("CR alone behind a body") << QByteArray("BODY=a\n") << QByteArray("\r") << u"a\n"_s;
    QTest::newRow("blank lines in HTML")
        << QByteArray("BODY=a\nHTMLBODY=1\n") << QByteArray("\r\nx\r\n\r\n") << u"a<BR><BR>x<BR>"_s;
    QTest::newRow("one empty line") << QByteArray("BODY=a\n") << QByteArray("\n") << u"a\n"_s;
}

void TestMailParameters::bodyFile()
{
    QFETCH(QByteArray, lines);
    QFETCH(QByteArray, file);
    const ZmlFile zml(lines + "BODYFILE=text.txt\n");
    zml.writeBeside(u"text.txt"_s, file);
    QString error;
    QTEST(MailParameters(zml.path()).body(error), "expected");
    QVERIFY(error.isEmpty());
}

void TestMailParameters::bodyFilePath()
{
    const ZmlFile zml("BODYFILE=sub\\text.txt\n");
    QCOMPARE(MailParameters(zml.path()).bodyFile(), zml.directory() + u"/sub/text.txt"_s);
    zml.writeRaw("[ZERKMAIL]\nBODYFILE=" + zml.path().toUtf8() + "\n");
    QCOMPARE(MailParameters(zml.path()).bodyFile(), zml.path());
}

void TestMailParameters::bodyFileInOtherEncodings_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("expected");
    QTest::newRow("UTF-8 mark") << QByteArray("\xEF\xBB\xBF\xC3\xA4") << u"ä"_s;
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE\xE4\0\n\0x\0", 8) << u"ä\nx"_s;
    QTest::newRow("UTF-16, big endian") << QByteArray("\xFE\xFF\0\xE4\0\n\0x", 8) << u"ä\nx"_s;
    QTest::newRow("UTF-32") << QByteArray("\xFF\xFE\0\0\xE4\0\0\0\n\0\0\0x\0\0\0", 16) << u"ä\nx"_s;
    QTest::newRow("UTF-16 without a mark is not recognised")
        << QByteArray("a\0\n\0x\0", 6) << QString::fromUtf16(u"a\0\n\0x\0", 6);
    QTest::newRow("system code page") << QByteArray("\xE4 x") << QString::fromLocal8Bit("\xE4 x");
    QTest::newRow("NUL") << QByteArray("a\0b", 3) << QString::fromUtf16(u"a\0b", 3);
}

void TestMailParameters::bodyFileInOtherEncodings()
{
    QFETCH(QByteArray, file);
    const ZmlFile zml("BODYFILE=text.txt\n");
    zml.writeBeside(u"text.txt"_s, file);
    QString error;
    QTEST(MailParameters(zml.path()).body(error), "expected");
    QVERIFY(error.isEmpty());
}

void TestMailParameters::bodyFileOfOneLongLine()
{
    constexpr qsizetype size = 32 << 20;
    const ZmlFile zml("BODY=a\nBODYFILE=text.txt\n");
    zml.writeBeside(u"text.txt"_s, QByteArray(size, 'x') + "\xC3\xA4");
    QString error;
    const QString body = MailParameters(zml.path()).body(error);
    QVERIFY(error.isEmpty());
    QCOMPARE(body.size(), size + 3);
    QVERIFY(body.startsWith(u"a\nxxx"_s));
    QVERIFY(body.endsWith(u"xxxä"_s));
}

// Read whole, decoded whole, split and joined.
void TestMailParameters::bodyFileAgreesWithTheStraightforwardWay()
{
    const ZmlFile zml("");
    QRandomGenerator random(20261122);
    static constexpr const char *parts[]
        = {"a", "bcd", "\r", "\n", "\r\n", "\n\n", "\t ", "\xC3\xA4", "<BR>", "\xF0\x9F\x98\x80"};
    for (int round = 0; round < 300; ++round) {
        QByteArray file = round % 5 == 0 ? "\xEF\xBB\xBF" : "";
        const int count = round % 20 != 0 ? random.bounded(20) : 20000;
        for (int i = 0; i < count; ++i)
            file += parts[random.bounded(int(std::size(parts)))];
        zml.writeBeside(u"text.txt"_s, file);
        const bool html = random.bounded(2) == 0;
        const bool hasBody = random.bounded(2) == 0;
        zml.writeRaw(QByteArray("[ZERKMAIL]\nBODYFILE=text.txt\n") + (html ? "HTMLBODY=1\n" : "")
                     + (hasBody ? "BODY=one;two\n" : ""));

        const QString separator = html ? u"<BR>"_s : u"\n"_s;
        QString expected = hasBody ? u"one"_s + separator + u"two"_s : QString();
        QTextStream stream(file, QIODevice::ReadOnly);
        QString line;
        while (stream.readLineInto(&line)) {
            if (!expected.isEmpty())
                expected += separator;
            expected += line;
        }
        QString error;
        const QString body = MailParameters(zml.path()).body(error);
        QVERIFY2(body == expected, file.toHex().constData());
        QVERIFY(error.isEmpty());
    }
}

void TestMailParameters::bodyFileFailures()
{
    const ZmlFile zml("BODY=a\nBODYFILE=missing.txt\n");
    QString error;
    QCOMPARE(MailParameters(zml.path()).body(error), u"a"_s);
    QCOMPARE(error, u"Couldn't find body file "_s + zml.directory() + u"/missing.txt"_s);

    QVERIFY(zml.dir().mkdir(u"folder"_s));
    zml.writeRaw("[ZERKMAIL]\nBODYZ1=a\nBODYFILE=folder\n");
    error.clear();
    QCOMPARE(MailParameters(zml.path()).body(error), u"a"_s);
    QVERIFY2(error.startsWith(u"Couldn't "_s)
                 && error.endsWith(u" body file "_s + zml.directory() + u"/folder"_s),
             qPrintable(error));
}

void TestMailParameters::attachments()
{
    const ZmlFile zml("");
    const QString one = zml.writeBeside(u"one.txt"_s, "1");
    const QString two = zml.writeBeside(u"zwei ü.txt"_s, "2");
    QVERIFY(zml.dir().mkdir(u"folder"_s));
    zml.writeRaw("[ZERKMAIL]\n"
                 "ATTACHMENT1=one.txt\n"
                 "ATTACHMENT2=missing.txt\n"
                 "ATTACHMENT3=zwei \xC3\xBC.txt\n"
                 "ATTACHMENT4="
                 + one.toUtf8()
                 + "\n"
                   "ATTACHMENT5=folder\n"
                   "ATTACHMENT7=one.txt\n");
    QCOMPARE(MailParameters(zml.path()).attachments(),
             (QStringList{one, two, zml.directory() + u"/folder"_s}));
}

void TestMailParameters::attachmentsWithBackslashes()
{
    const ZmlFile zml("");
    QVERIFY(zml.dir().mkdir(u"sub"_s));
    const QString path = zml.writeBeside(u"sub/a.txt"_s, "a");
    const QByteArray native = path.toUtf8().replace('/', '\\');
    zml.writeRaw("[ZERKMAIL]\nATTACHMENT1=sub\\a.txt\nATTACHMENT2=" + native + "\n");
    QStringList paths = MailParameters(zml.path()).attachments();
    QVERIFY(!paths.isEmpty());
    for (QString &found : paths)
        QCOMPARE(found.replace(u'\\', u'/'), path);
}

void TestMailParameters::attachmentsStandBesideTheZmlFile()
{
    const ZmlFile zml("ATTACHMENT1=here.txt\n");
    const ZmlFile elsewhere("");
    elsewhere.writeBeside(u"here.txt"_s, "wrong");
    const ScopedCurrentDir current(elsewhere.directory());
    QVERIFY(current.entered());
    QVERIFY(MailParameters(zml.path()).attachments().isEmpty());
    const QString path = zml.writeBeside(u"here.txt"_s, "right");
    QCOMPARE(MailParameters(zml.path()).attachments(), QStringList{path});

    // A zml file named without a directory stands in the current one.
    elsewhere.writeRaw("[ZERKMAIL]\nATTACHMENT1=here.txt\n");
    const QStringList found = MailParameters(u"mail.zml"_s).attachments();
    QCOMPARE(found.size(), 1);
    QVERIFY(QDir::isAbsolutePath(found.first()));
    QCOMPARE(QFileInfo(found.first()).canonicalFilePath(),
             QFileInfo(elsewhere.directory() + u"/here.txt"_s).canonicalFilePath());
}

void TestMailParameters::leavesTheZmlFileAlone()
{
    const QByteArray bytes = "[ZERKMAIL]\r\nSUBJECT=x\r\n\0\xFF";
    const ZmlFile zml("");
    zml.writeRaw(bytes);
    const QDateTime written = QFileInfo(zml.path()).lastModified();
    QString error;
    const MailParameters parameters(zml.path());
    QVERIFY(parameters.body(error).isEmpty());
    QVERIFY(parameters.attachments().isEmpty());
    QFile file(zml.path());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), bytes);
    QCOMPARE(QFileInfo(zml.path()).lastModified(), written);
}

QTEST_APPLESS_MAIN(TestMailParameters)
#include "tst_mailparameters.moc"
