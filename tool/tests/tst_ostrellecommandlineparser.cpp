#include "ostrellecommandlineparser.h"

#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedenvironment.h"
#include "zmlfile.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestOstrelleCommandLineParser final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outcomes_data();
    void outcomes();
    void acceptsAFile_data();
    void acceptsAFile();
    void refusesAFile_data();
    void refusesAFile();
    void expandsEnvironment();
    void helpText();
};

void TestOstrelleCommandLineParser::outcomes_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("expected");
    QTest::addColumn<QString>("message");

    const QString missing = u"/no such directory/x.zml"_s;
    QTest::newRow("no arguments") << QStringList() << 1 << QString();
    QTest::newRow("empty argument") << QStringList{QString()} << 1 << QString();
    QTest::newRow("-h") << QStringList{u"-h"_s} << 2 << QString();
    QTest::newRow("-?") << QStringList{u"-?"_s} << 2 << QString();
    QTest::newRow("--help") << QStringList{u"--help"_s} << 2 << QString();
    QTest::newRow("help wins over a missing file") << QStringList{u"-h"_s, missing} << 2 << QString();
    QTest::newRow("help behind the file") << QStringList{missing, u"--help"_s} << 2 << QString();
    QTest::newRow("--help-all is no help") << QStringList{u"--help-all"_s} << 1 << QString();
    QTest::newRow("unknown option") << QStringList{u"--sned"_s} << 1 << u"Unknown option 'sned'."_s;
    QTest::newRow("unknown short option") << QStringList{u"-x"_s} << 1 << u"Unknown option 'x'."_s;
    QTest::newRow("unknown option wins over help")
        << QStringList{u"-x"_s, u"-h"_s} << 1 << u"Unknown option 'x'."_s;
    QTest::newRow("value for an option without one")
        << QStringList{u"--help=1"_s} << 1 << u"Unexpected value after '--help'."_s;
    QTest::newRow("missing file") << QStringList{missing} << 1 << missing + u": File does not exist"_s;
    QTest::newRow("angle brackets stay as they are")
        << QStringList{u"a<b>.zml"_s} << 1 << u"a<b>.zml: File does not exist"_s;
    QTest::newRow("option behind two dashes is a file")
        << QStringList{u"--"_s, u"-h"_s} << 1 << u"-h: File does not exist"_s;
}

void TestOstrelleCommandLineParser::outcomes()
{
    QFETCH(QStringList, arguments);
    OstrelleCommandLineParser parser;
    QString zmlFile = u"untouched"_s;
    QString error = u"old"_s;
    const int result = parser.parse(QStringList{u"ostrelle"_s} + arguments, zmlFile, error);
    QTEST(result, "expected");
    QTEST(error, "message");
    QCOMPARE(zmlFile, u"untouched"_s);
}

void TestOstrelleCommandLineParser::acceptsAFile_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("behind");
    QTest::newRow("alone") << QStringList() << QStringList();
    QTest::newRow("a second one is ignored") << QStringList() << QStringList{u"/no such directory/y.zml"_s};
    QTest::newRow("--help-all has no effect") << QStringList{u"--help-all"_s} << QStringList();
    QTest::newRow("two dashes") << QStringList{u"--"_s} << QStringList();
}

void TestOstrelleCommandLineParser::acceptsAFile()
{
    QFETCH(QStringList, before);
    QFETCH(QStringList, behind);
    const ZmlFile zml("");
    OstrelleCommandLineParser parser;
    QString zmlFile;
    QString error;
    QCOMPARE(
        parser.parse(QStringList{u"ostrelle"_s} + before + QStringList{zml.path()} + behind, zmlFile, error),
        0);
    QCOMPARE(zmlFile, zml.path());
    QVERIFY(error.isEmpty());

    // The path stays as the argument gave it, backslashes included.
    const QString native = zml.path().replace(u'/', u'\\');
    QCOMPARE(parser.parse(QStringList{u"ostrelle"_s} + before + QStringList{native} + behind, zmlFile, error),
             0);
    QCOMPARE(zmlFile, native);

    const ScopedCurrentDir current(zml.directory());
    QCOMPARE(parser.parse({u"ostrelle"_s, u"mail.zml"_s}, zmlFile, error), 0);
    QCOMPARE(zmlFile, u"mail.zml"_s);
}

void TestOstrelleCommandLineParser::refusesAFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a directory") << QDir::tempPath();
    QTest::newRow("a directory with a slash") << QDir::tempPath() + u"/"_s;
    QTest::newRow("an unknown variable stays as written") << u"%OSTRELLE_NO_SUCH_NAME%/x.zml"_s;
}

void TestOstrelleCommandLineParser::refusesAFile()
{
    QFETCH(QString, path);
    OstrelleCommandLineParser parser;
    QString zmlFile;
    QString error;
    QCOMPARE(parser.parse({u"ostrelle"_s, path}, zmlFile, error), 1);
    QCOMPARE(error, path + u": File does not exist"_s);
}

void TestOstrelleCommandLineParser::expandsEnvironment()
{
    const ZmlFile zml("");
    const ScopedEnvironment variable("OSTRELLE_TEST_DIR", zml.directory().toUtf8());
    OstrelleCommandLineParser parser;
    QString zmlFile;
    QString error;
    for (const QString &argument : {u"%OSTRELLE_TEST_DIR%/mail.zml"_s, u"${OSTRELLE_TEST_DIR}/mail.zml"_s}) {
        QCOMPARE(parser.parse({u"ostrelle"_s, argument}, zmlFile, error), 0);
        QCOMPARE(zmlFile, zml.path());
    }
    // The message names the expanded path.
    QCOMPARE(parser.parse({u"ostrelle"_s, u"%OSTRELLE_TEST_DIR%/x.zml"_s}, zmlFile, error), 1);
    QCOMPARE(error, zml.directory() + u"/x.zml: File does not exist"_s);

    const ScopedEnvironment option("OSTRELLE_TEST_OPTION", "--help");
    QCOMPARE(parser.parse({u"ostrelle"_s, u"%OSTRELLE_TEST_OPTION%"_s}, zmlFile, error), 2);
}

void TestOstrelleCommandLineParser::helpText()
{
    const OstrelleCommandLineParser parser;
    const QString text = parser.helpText();
    QVERIFY(text.contains(u"zmlFile"_s));
    QVERIFY(text.contains(u"Path to the zml file"_s));
    QVERIFY(text.contains(u"-?"_s));
    QVERIFY(text.contains(u"-h, --help"_s));
    QVERIFY(!text.contains(u"help-all"_s));
}

QTEST_GUILESS_MAIN(TestOstrelleCommandLineParser)
#include "tst_ostrellecommandlineparser.moc"
