#include "toolrun.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;

// The whole run as a client of the tool sees it: command line and zml file in; the record of the mail
// client, the exit code, the log and the boxes out.
class TestRun final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyMail();
    void everyField();
    void recipientOrder();
    void sendAndDisplay_data();
    void sendAndDisplay();
    void results_data();
    void results();
    void help_data();
    void help();
    void badCommandLine_data();
    void badCommandLine();
    void missingFile();
    void directoryIsNoFile();
    void environmentInTheArgument();
    void twoPositionalArguments();
    void bodyFileMissing();
    void bodyFileMissingWithLog();
    void bodyFileOfOneLongLine();
    void withoutMapi();
    void withoutEitherEntry();
    void narrowEntryAlone();
    void logOff();
    void logOn();
    void logOnTwice();
    void logOffAfterOn();
    void logOfAFailure();
    void relativePath();
    void badInput_data();
    void badInput();
    void nothingIsChanged();
};

namespace
{

const QString addressOf(const QJsonValue &recipient)
{
    return recipient[u"lpszAddress"_s].toString();
}

}

void TestRun::emptyMail()
{
    const ToolRun tool;
    const ToolResult result = tool.run({tool.writeFile(u"mail.zml"_s, "")});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.boxes.isEmpty());
    QCOMPARE(result.calls.size(), 1);
    const QJsonObject call = result.calls[0];
    QCOMPARE(call[u"entry"_s].toString(), u"MAPISendMailW"_s);
    QCOMPARE(call[u"session"_s].toInt(-1), 0);
    QCOMPARE(call[u"uiParam"_s].toInt(-1), 0);
    QCOMPARE(call[u"reserved"_s].toInt(-1), 0);
    QCOMPARE(call[u"flags"_s].toInt(), 9);
    const QJsonObject message = result.message();
    QCOMPARE(message[u"lpszSubject"_s].toString(), u"(no subject)"_s);
    QCOMPARE(message[u"lpszNoteText"_s], QJsonValue(u""_s));
    QCOMPARE(message[u"nRecipCount"_s].toInt(-1), 0);
    QVERIFY(message[u"lpRecips"_s].isNull());
    QCOMPARE(message[u"nFileCount"_s].toInt(-1), 0);
    QVERIFY(message[u"lpFiles"_s].isNull());
    // No log without DEBUG, not even an empty one.
    QVERIFY(!QFile::exists(tool.filePath(u"ostrelle.log"_s)));
}

void TestRun::everyField()
{
    const ToolRun tool;
    tool.writeFile(u"Rechnung 4711 ä€.pdf"_s, "%PDF");
    tool.writeFile(u"text.txt"_s, "from a file\r\nßü\r\n");
    const ToolResult result
        = tool.runZml(u"SUBJECT=Grüße €\nTO1=Müller <m@example.org>\nBODY=one;two\nBODYZ1=three\n"
                      "BODYFILE=text.txt\nREADRECEIPT=1\nSEND=1\n"
                      "ATTACHMENT1=Rechnung 4711 ä€.pdf\nATTACHMENT2=missing.pdf\n"_s.toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    const QJsonObject message = result.message();
    QCOMPARE(message[u"ulReserved"_s].toInt(-1), 0);
    QCOMPARE(message[u"lpszSubject"_s].toString(), u"Grüße €"_s);
    QCOMPARE(message[u"lpszNoteText"_s].toString(), u"one\ntwo\nthree\nfrom a file\nßü"_s);
    QVERIFY(message[u"lpszMessageType"_s].isNull());
    QVERIFY(message[u"lpszDateReceived"_s].isNull());
    QVERIFY(message[u"lpszConversationID"_s].isNull());
    QCOMPARE(message[u"flFlags"_s].toInt(), 2);
    QVERIFY(message[u"lpOriginator"_s].isNull());

    QCOMPARE(message[u"nRecipCount"_s].toInt(), 1);
    const QJsonObject recipient = message[u"lpRecips"_s].toArray().at(0).toObject();
    QCOMPARE(recipient[u"ulReserved"_s].toInt(-1), 0);
    QCOMPARE(recipient[u"ulRecipClass"_s].toInt(), 1);
    QCOMPARE(recipient[u"lpszName"_s].toString(), u"Müller <m@example.org>"_s);
    QCOMPARE(recipient[u"lpszAddress"_s].toString(), u"Müller <m@example.org>"_s);
    QVERIFY(recipient[u"nameIsAddress"_s].toBool());
    QCOMPARE(recipient[u"ulEIDSize"_s].toInt(-1), 0);
    QVERIFY(recipient[u"lpEntryID"_s].isNull());

    QCOMPARE(message[u"nFileCount"_s].toInt(), 1);
    const QJsonObject file = message[u"lpFiles"_s].toArray().at(0).toObject();
    QCOMPARE(file[u"ulReserved"_s].toInt(-1), 0);
    QCOMPARE(file[u"flFlags"_s].toInt(-1), 0);
    QCOMPARE(file[u"nPosition"_s].toDouble(), 4294967295.0);
    QString path = tool.filePath(u"Rechnung 4711 ä€.pdf"_s);
    QCOMPARE(file[u"lpszPathName"_s].toString(), path.replace(u'/', u'\\'));
    QVERIFY(file[u"lpszFileName"_s].isNull());
    QVERIFY(file[u"lpFileType"_s].isNull());
    QVERIFY(file[u"exists"_s].toBool());
    QCOMPARE(file[u"size"_s].toInt(), 4);
}

void TestRun::recipientOrder()
{
    const ToolRun tool;
    const ToolResult result = tool.runZml("BCC1=b1\nBCC2=b2\nCC1=c1\nTO1=t1\nTO2=t2\nTO3=t1\nBCC3=t1\n");
    QVERIFY(result.ended);
    const QJsonObject message = result.message();
    QStringList got;
    const QJsonArray recipients = message[u"lpRecips"_s].toArray();
    for (const QJsonValue &recipient : recipients)
        got += QString::number(recipient[u"ulRecipClass"_s].toInt()) + u' ' + addressOf(recipient);
    QCOMPARE(got, (QStringList{u"1 t1"_s, u"1 t2"_s, u"2 c1"_s, u"3 b1"_s, u"3 b2"_s, u"3 t1"_s}));
}

void TestRun::sendAndDisplay_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<int>("flags");
    QTest::addColumn<int>("messageFlags");
    QTest::newRow("sent") << QByteArray("SEND=1\n") << 1 << 0;
    QTest::newRow("displayed") << QByteArray("SEND=0\n") << 9 << 0;
    QTest::newRow("displayed by default") << QByteArray() << 9 << 0;
    QTest::newRow("read receipt") << QByteArray("SEND=j\nREADRECEIPT=Y\n") << 1 << 2;
}

void TestRun::sendAndDisplay()
{
    QFETCH(QByteArray, lines);
    const ToolRun tool;
    const ToolResult result = tool.runZml(lines);
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QTEST(result.calls[0][u"flags"_s].toInt(), "flags");
    QTEST(result.message()[u"flFlags"_s].toInt(), "messageFlags");
}

void TestRun::results_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("box"); // empty: success
    QTest::newRow("success") << 0u << QString();
    QTest::newRow("closed compose window") << 1u << u"Couldn't send email: User abort [1]"_s;
    QTest::newRow("general failure") << 2u << u"Couldn't send email: General MAPI failure [2]"_s;
    QTest::newRow("missing attachment")
        << 11u << u"Couldn't send email: A specified attachment was not found [11]"_s;
    QTest::newRow("last code") << 28u << u"Couldn't send email: Attachment too large [28]"_s;
    QTest::newRow("no word") << 7u << u"Couldn't send email: MAPI error [7]"_s;
    QTest::newRow("unknown") << 4711u << u"Couldn't send email: MAPI error [4711]"_s;
    QTest::newRow("high bit") << 0xFFFFFFFF << u"Couldn't send email: MAPI error [-1]"_s;
}

void TestRun::results()
{
    QFETCH(quint32, code);
    QFETCH(QString, box);
    ToolRun tool;
    tool.setResult(code);
    const ToolResult result = tool.runZml("SEND=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, box.isEmpty() ? 0 : toolplatform::exitCodeOfMinusOne());
    QCOMPARE(result.boxText(), box);
    QCOMPARE(result.boxes.size(), box.isEmpty() ? 0 : 1);
    // Nothing is tried a second time.
    QCOMPARE(result.calls.size(), 1);
}

void TestRun::help_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("-h") << QStringList{u"-h"_s};
    QTest::newRow("-?") << QStringList{u"-?"_s};
    QTest::newRow("--help") << QStringList{u"--help"_s};
    QTest::newRow("with a missing file") << QStringList{u"-h"_s, u"/no such directory/x.zml"_s};
    QTest::newRow("behind a valid file") << QStringList{u"mail.zml"_s, u"--help"_s};
}

void TestRun::help()
{
    QFETCH(QStringList, arguments);
    const ToolRun tool;
    tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nDEBUG=1\n");
    const ToolResult result = tool.run(arguments);
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.boxes.size(), 1);
    QVERIFY2(result.boxText().contains(u"Path to the zml file"_s), qPrintable(result.boxText()));
    QVERIFY(!result.boxText().contains(u"help-all"_s));
    QVERIFY(result.calls.isEmpty());
    QVERIFY(tool.readFile(u"ostrelle.log"_s).isNull());
}

void TestRun::badCommandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("heading"); // empty: the help text alone
    QTest::newRow("no arguments") << QStringList() << QString();
    QTest::newRow("--help-all alone") << QStringList{u"--help-all"_s} << QString();
    QTest::newRow("unknown option") << QStringList{u"--sned"_s, u"mail.zml"_s} << u"Unknown option 'sned'."_s;
}

void TestRun::badCommandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, heading);
    const ToolRun tool;
    tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nDEBUG=1\n");
    const ToolResult result = tool.run(arguments);
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.boxes.size(), 1);
    QVERIFY(result.boxText().contains(u"Path to the zml file"_s));
    QVERIFY2(result.boxText().startsWith(heading.isEmpty() ? u"Usage: "_s : heading),
             qPrintable(result.boxText()));
    QVERIFY(result.calls.isEmpty());
    QVERIFY(tool.readFile(u"ostrelle.log"_s).isNull());
}

void TestRun::missingFile()
{
    const ToolRun tool;
    const ToolResult result = tool.run({u"no such file.zml"_s});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.boxText().startsWith(u"no such file.zml: File does not exist"_s),
             qPrintable(result.boxText()));
    QVERIFY(result.calls.isEmpty());
}

void TestRun::directoryIsNoFile()
{
    const ToolRun tool;
    const ToolResult result = tool.run({tool.directory()});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.boxText().contains(u": File does not exist"_s), qPrintable(result.boxText()));
    QVERIFY(result.calls.isEmpty());
}

void TestRun::environmentInTheArgument()
{
    ToolRun tool;
    tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nSUBJECT=found\n");
    tool.environment.insert(u"OSTRELLE_ZML_DIR"_s, tool.directory());
    for (const auto &argument : {u"%OSTRELLE_ZML_DIR%/mail.zml"_s, u"${OSTRELLE_ZML_DIR}/mail.zml"_s,
                                 u"%OSTRELLE_ZML_DIR%\\mail.zml"_s}) {
        const ToolResult result = tool.run({argument});
        QVERIFY(result.ended);
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.message()[u"lpszSubject"_s].toString(), u"found"_s);
    }
    const ToolResult missing = tool.run({u"%OSTRELLE_ZML_DIR%/x.zml"_s});
    QCOMPARE(missing.exitCode, 1);
    QVERIFY2(missing.boxText().startsWith(tool.directory() + u"/x.zml: File does not exist"_s),
             qPrintable(missing.boxText()));
}

void TestRun::twoPositionalArguments()
{
    const ToolRun tool;
    tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nSUBJECT=first\n");
    const ToolResult result = tool.run({u"mail.zml"_s, u"no such file.zml"_s});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.message()[u"lpszSubject"_s].toString(), u"first"_s);
}

void TestRun::bodyFileMissing()
{
    const ToolRun tool;
    const ToolResult result = tool.runZml("DEBUG=0\nBODYFILE=missing.txt\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    QCOMPARE(result.boxText(), u"Couldn't find body file "_s + tool.directory() + u"/missing.txt"_s);
    QVERIFY(result.calls.isEmpty());
}

void TestRun::bodyFileMissingWithLog()
{
    const ToolRun tool;
    const ToolResult result = tool.runZml("DEBUG=1\nBODYFILE=missing.txt\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    // The failure itself is no line of the log.
    const QString line = u"gui.ostrelle: Reading parameter from file %1"_s.arg(tool.filePath(u"mail.zml"_s));
    QCOMPARE(tool.readFile(u"ostrelle.log"_s), line.toUtf8() + toolplatform::lineEnd());
}

void TestRun::bodyFileOfOneLongLine()
{
    constexpr qsizetype size = 4 << 20;
    const ToolRun tool;
    tool.writeFile(u"text.txt"_s, QByteArray(size, 'x'));
    const ToolResult result = tool.runZml("BODYFILE=text.txt\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.message()[u"lpszNoteText"_s].toString().size(), size);
}

void TestRun::withoutMapi()
{
    ToolRun tool;
    tool.setProvider(u"none"_s);
    const ToolResult result = tool.runZml("SEND=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    QVERIFY2(result.boxText().startsWith(u"Couldn't send email: "_s), qPrintable(result.boxText()));
    QVERIFY2(result.boxText().contains(u"mapi32"_s, Qt::CaseInsensitive), qPrintable(result.boxText()));
    QVERIFY(!result.boxText().endsWith(u']'));
}

void TestRun::withoutEitherEntry()
{
    ToolRun tool;
    tool.setProvider(u"neither"_s);
    const ToolResult result = tool.runZml("SEND=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    // QLibrary has no words of its own for a library that is there without the entry.
    QCOMPARE(result.boxText(), u"Couldn't send email: Unknown error"_s);
    QVERIFY(result.calls.isEmpty());
}

void TestRun::narrowEntryAlone()
{
    ToolRun tool;
    tool.setProvider(u"narrow"_s);
    const ToolResult result = tool.runZml("SEND=1\nSUBJECT=plain\nTO1=a@x\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), u"MAPISendMail"_s);
    QCOMPARE(result.message()[u"lpszSubject"_s][u"text"_s].toString(), u"plain"_s);
    QCOMPARE(result.message()[u"nRecipCount"_s].toInt(), 1);
}

void TestRun::logOff()
{
    const ToolRun tool;
    const ToolResult result = tool.runZml("DEBUG=0\n");
    QCOMPARE(result.exitCode, 0);
    QVERIFY(!QFile::exists(tool.filePath(u"ostrelle.log"_s)));
}

void TestRun::logOn()
{
    const ToolRun tool;
    const QString attachment = tool.writeFile(u"a.txt"_s, "a");
    const ToolResult result
        = tool.runZml(u"DEBUG=1\nSEND=1\nSUBJECT=S ü\nTO1=t@x\nCC1=c@x\nBCC1=b@x\nBODY=one;two\n"
                      "ATTACHMENT1=a.txt\n"_s.toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QString nativeAttachment = attachment;
    nativeAttachment.replace(u'/', u'\\');
    const QString expected
        = u"gui.ostrelle: Reading parameter from file %1\n"
          "gui.ostrelle: *** New Mail ***\n"
          "gui.ostrelle: Add TO Recipient [t@x]\n"
          "gui.ostrelle: Add CC Recipient [c@x]\n"
          "gui.ostrelle: Add BCC Recipient [b@x]\n"
          "gui.ostrelle: Attach [%2]\n"
          "gui.ostrelle: Set Subject [S ü]\n"
          "gui.ostrelle: Set Body [one\ntwo]\n"
          "gui.ostrelle: Send Mail\n"
          "gui.ostrelle: Sending email OK\n"_s.arg(tool.filePath(u"mail.zml"_s), nativeAttachment);
    QCOMPARE(tool.readFile(u"ostrelle.log"_s), expected.toUtf8().replace("\n", toolplatform::lineEnd()));
}

void TestRun::logOnTwice()
{
    const ToolRun tool;
    QCOMPARE(tool.runZml("DEBUG=1\nSUBJECT=first\n").exitCode, 0);
    QVERIFY(tool.readFile(u"ostrelle.log"_s).contains("[first]"));
    QCOMPARE(tool.runZml("DEBUG=1\nSUBJECT=second\n").exitCode, 0);
    const QByteArray log = tool.readFile(u"ostrelle.log"_s);
    QVERIFY(!log.contains("[first]"));
    QVERIFY(log.contains("[second]"));
    QCOMPARE(log.count("Display Mail"), 1);
}

void TestRun::logOffAfterOn()
{
    const ToolRun tool;
    QCOMPARE(tool.runZml("SUBJECT=first\n").exitCode, 0);
    QVERIFY(tool.readFile(u"ostrelle.log"_s).isNull());
    QCOMPARE(tool.runZml("DEBUG=1\nSUBJECT=second\n").exitCode, 0);
    QVERIFY(tool.readFile(u"ostrelle.log"_s).contains("[second]"));
    QCOMPARE(tool.runZml("DEBUG=0\nSUBJECT=third\n").exitCode, 0);
    QVERIFY(!tool.readFile(u"ostrelle.log"_s).isNull());
    QVERIFY(tool.readFile(u"ostrelle.log"_s).isEmpty());
}

void TestRun::logOfAFailure()
{
    ToolRun tool;
    tool.setResult(1);
    const ToolResult result = tool.runZml("DEBUG=1\n");
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    const QByteArray log = tool.readFile(u"ostrelle.log"_s);
    QVERIFY2(log.endsWith("gui.ostrelle: Display Mail" + toolplatform::lineEnd()
                          + "gui.ostrelle: Couldn't send email: User abort [1]" + toolplatform::lineEnd()),
             log.constData());
}

void TestRun::relativePath()
{
    ToolRun tool;
    QVERIFY(QDir(tool.directory()).mkdir(u"sub"_s));
    tool.writeFile(u"sub/mail.zml"_s, "[ZERKMAIL]\nDEBUG=1\nATTACHMENT1=a.txt\n");
    tool.writeFile(u"sub/a.txt"_s, "a");

    ToolResult result = tool.run({u"sub/mail.zml"_s});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(tool.readFile(u"sub/ostrelle.log"_s)
                .startsWith("gui.ostrelle: Reading parameter from file sub/mail.zml"));
    QCOMPARE(result.message()[u"nFileCount"_s].toInt(), 1);
    QVERIFY(tool.readFile(u"ostrelle.log"_s).isNull());

    // A bare file name: the log lies in the current directory.
    tool.workingDirectory = tool.filePath(u"sub"_s);
    QVERIFY(QFile::remove(tool.filePath(u"sub/ostrelle.log"_s)));
    result = tool.run({u"mail.zml"_s});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(tool.readFile(u"sub/ostrelle.log"_s)
                .startsWith("gui.ostrelle: Reading parameter from file mail.zml"));
    QCOMPARE(result.message()[u"nFileCount"_s].toInt(), 1);
}

void TestRun::badInput_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("subject");

    const QString noSubject = u"(no subject)"_s;
    QTest::newRow("empty") << QByteArray() << noSubject;
    QTest::newRow("head alone") << QByteArray("[ZERKMAIL]") << noSubject;
    QTest::newRow("keys before the head") << QByteArray("SUBJECT=x\n[ZERKMAIL]\n") << noSubject;
    QTest::newRow("NUL bytes") << QByteArray(4096, '\0') << noSubject;
    QByteArray noise;
    for (int i = 0; i < 65536; ++i)
        noise += char((i * 7919 + i / 251) & 0xFF);
    QTest::newRow("binary noise") << noise << noSubject;
    QTest::newRow("UTF-16 with mark") << QByteArray::fromHex(
        "fffe5b005a00450052004b004d00410049004c005d000a005300550042004a004500430054003d00fc000a00")
                                      << u"ü"_s;
    QTest::newRow("UTF-16 without mark") << QByteArray::fromHex(
        "5b005a00450052004b004d00410049004c005d000a005300550042004a004500430054003d00fc000a00")
                                         << noSubject;
    QTest::newRow("sections and keys twice")
        << QByteArray("[zerkmail]\nSUBJECT=a\n[x]\nSUBJECT=b\n[ZerkMail]\nsubject=c\n") << u"c"_s;
    QTest::newRow("line of 16 MiB") << "[ZERKMAIL]\n" + QByteArray(16 << 20, ' ') + "\nSUBJECT=x\n" << u"x"_s;
    QTest::newRow("lone surrogate in UTF-16") << QByteArray::fromHex("fffe00d80a00") << noSubject;
}

void TestRun::badInput()
{
    QFETCH(QByteArray, file);
    const ToolRun tool;
    const ToolResult result = tool.run({tool.writeFile(u"mail.zml"_s, file)});
    QVERIFY(result.ended);
    QVERIFY(!result.crashed);
    QCOMPARE(result.exitCode, 0);
    QTEST(result.message()[u"lpszSubject"_s].toString(), "subject");
    QCOMPARE(tool.readFile(u"mail.zml"_s), file.isEmpty() ? QByteArray("") : file);
}

void TestRun::nothingIsChanged()
{
    ToolRun tool;
    tool.setResult(4);
    tool.writeFile(u"a.txt"_s, "attached");
    tool.writeFile(u"text.txt"_s, "body");
    const QByteArray lines = "BODYFILE=text.txt\nATTACHMENT1=a.txt\n";
    const ToolResult result = tool.runZml(lines);
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    QCOMPARE(tool.readFile(u"a.txt"_s), "attached");
    QCOMPARE(tool.readFile(u"text.txt"_s), "body");
    QCOMPARE(tool.readFile(u"mail.zml"_s), "[ZERKMAIL]\n" + lines);
    QCOMPARE(QDir(tool.directory()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(),
             3);
}

QTEST_GUILESS_MAIN(TestRun)
#include "tst_run.moc"
