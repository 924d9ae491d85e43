#include "toolrun.h"

#include "ostrelletest/ordinaryuser.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

// Runs in which the system refuses an ordinary user something: files without permissions, a directory
// where no log can be written.
class TestRefusals final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void zmlFile();
    void bodyFile();
    void attachment();
    void log();
    void logIsADirectory();
};

void TestRefusals::zmlFile()
{
    const ToolRun tool;
    const QString path = tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\n");
    QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
    tool.letOthersRead();
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const ToolResult result = tool.run({path});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.boxText().startsWith(path + u": Can't read file"_s), qPrintable(result.boxText()));
    QVERIFY(result.calls.isEmpty());
}

void TestRefusals::bodyFile()
{
    const ToolRun tool;
    const QString zml = tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nBODYFILE=text.txt\n");
    const QString text = tool.writeFile(u"text.txt"_s, "secret");
    QVERIFY(QFile::setPermissions(text, QFile::Permissions()));
    tool.letOthersRead();
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const ToolResult result = tool.run({zml});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, toolplatform::exitCodeOfMinusOne());
    // Qt reports every refused open on this platform as one kind of error.
    QCOMPARE(result.boxText(), u"Couldn't find body file "_s + text);
    QVERIFY(result.calls.isEmpty());
}

// Whether an attachment can be read is the mail client's business: it gets the path and decides.
void TestRefusals::attachment()
{
    const ToolRun tool;
    const QString zml = tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nATTACHMENT1=a.txt\n");
    QVERIFY(QFile::setPermissions(tool.writeFile(u"a.txt"_s, "secret"), QFile::Permissions()));
    tool.letOthersRead();
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const ToolResult result = tool.run({zml});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.message()[u"nFileCount"_s].toInt(), 1);
}

void TestRefusals::log()
{
    const ToolRun tool;
    const QString zml = tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\nDEBUG=1\n");
    tool.letOthersRead();
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const ToolResult result = tool.run({zml});
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QVERIFY(tool.readFile(u"ostrelle.log"_s).isNull());
    // The lines still reach the handler that was there before.
    QVERIFY(result.standardError.contains("*** New Mail ***"));
}

void TestRefusals::logIsADirectory()
{
    const ToolRun tool;
    QVERIFY(QDir(tool.directory()).mkdir(u"ostrelle.log"_s));
    const ToolResult result = tool.runZml("DEBUG=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QVERIFY(QDir(tool.filePath(u"ostrelle.log"_s)).isEmpty());
}

QTEST_GUILESS_MAIN(TestRefusals)
#include "tst_refusals.moc"
