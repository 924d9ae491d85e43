#include "mailclients.h"
#include "mapiresult.h"
#include "toolrun.h"

#include <windows.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QScopeGuard>
#include <QTest>

#include <array>

using namespace Qt::StringLiterals;
using mailclients::Hive;

// The tool against the system's own Simple MAPI library and its registry, and against a library in its place
// that lacks the wide entry.
class TestRealMapi final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void unicodeReachesTheWideEntry();
    void systemConvertsForNarrowProvider();
    void flags_data();
    void flags();
    void results_data();
    void results();
    void noClient_data();
    void noClient();

    void providerOfRegistry_data();
    void providerOfRegistry();
    void usersClientComesFirst();
    void brokenUsersClient();
    void loadedModuleComesFirst();
    void providerIsTheSystemLibrary();
    void fixedName_data();
    void fixedName();
    void installerComponent_data();
    void installerComponent();
    void narrowEntry_data();
    void narrowEntry();
    void narrowPathOutsideTheCodePage();
};

namespace
{

const QString client = u"Ostrelle recorder"_s;

QString providerPath(const QString &choice)
{
    return QDir::toNativeSeparators(ToolRun::providers() + u'/' + choice + u"/recordingprovider.dll"_s);
}

void registerForMachine(const QString &library)
{
    mailclients::setText(Hive::Machine, client, u"DLLPath"_s, library);
    mailclients::setDefault(Hive::Machine, client);
}

// Puts a library with the narrow entry alone in the place of the system's, for this tool.
void replaceSystemLibrary(const ToolRun &tool, const QString &choice = u"narrow"_s)
{
    mailclients::setSystemLibrary(u"native"_s);
    if (!QFile::copy(providerPath(choice), tool.toolDirectory() + u"/mapi32.dll"_s))
        qFatal("cannot copy the library");
}

QString systemFile(const QString &name)
{
    std::array<wchar_t, MAX_PATH> directory = {};
    GetSystemDirectoryW(directory.data(), UINT(directory.size()));
    return QString::fromWCharArray(directory.data()) + u'\\' + name;
}

// The bytes of the text in the ANSI code page, as the record shows them.
QString ansiHex(const QString &text)
{
    const auto *wide = reinterpret_cast<const wchar_t *>(text.utf16());
    QByteArray bytes(text.size() * 4 + 1, '\0');
    const int size = WideCharToMultiByte(CP_ACP, 0, wide, int(text.size()), bytes.data(), int(bytes.size()),
                                         nullptr, nullptr);
    return QString::fromLatin1(bytes.first(size).toHex());
}

QString hexOf(const QJsonValue &narrowText)
{
    return narrowText[u"hex"_s].toString();
}

void compareFiles(const QString &actual, const QString &expected)
{
    QCOMPARE(QDir::fromNativeSeparators(actual).toLower(), QDir::fromNativeSeparators(expected).toLower());
}

}

void TestRealMapi::init()
{
    mailclients::removeAll();
    mailclients::setSystemLibrary(u"builtin"_s);
    QFile::remove(systemFile(u"mapisvc.inf"_s));
    QFile::remove(systemFile(u"mapi32x.dll"_s));
}

void TestRealMapi::unicodeReachesTheWideEntry()
{
    ToolRun tool;
    tool.setProvider(QString());
    registerForMachine(providerPath(u"both"_s));
    const QString fileName = u"Übersicht März – 日本 😀.csv"_s;
    tool.writeFile(fileName, "a;b");
    const ToolResult result
        = tool.runZml(u"SUBJECT=Grüße € 日本 😀\nBODY=Zeile 1 – ß;Zeile 2 Ω\n"
                      "TO1=Jürgen Groß <j@example.org>\nCC1=李 <li@example.org>\n"
                      "BCC1=b@example.org\nREADRECEIPT=1\nSEND=1\nATTACHMENT1=%1\n"_s.arg(fileName)
                          .toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.boxes.isEmpty());
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), u"MAPISendMailW"_s);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(u"both"_s));
    const QJsonObject message = result.message();
    QCOMPARE(message[u"lpszSubject"_s].toString(), u"Grüße € 日本 😀"_s);
    QCOMPARE(message[u"lpszNoteText"_s].toString(), u"Zeile 1 – ß\nZeile 2 Ω"_s);
    QCOMPARE(message[u"flFlags"_s].toInt(), 2);
    const QJsonArray recipients = message[u"lpRecips"_s].toArray();
    QCOMPARE(recipients.size(), 3);
    QCOMPARE(recipients[0][u"lpszAddress"_s].toString(), u"Jürgen Groß <j@example.org>"_s);
    QCOMPARE(recipients[1][u"lpszAddress"_s].toString(), u"李 <li@example.org>"_s);
    QCOMPARE(recipients[2][u"ulRecipClass"_s].toInt(), 3);
    const QJsonValue file = message[u"lpFiles"_s].toArray().at(0);
    QCOMPARE(file[u"lpszPathName"_s].toString(), QDir::toNativeSeparators(tool.filePath(fileName)));
    QVERIFY(file[u"exists"_s].toBool());
    QCOMPARE(file[u"size"_s].toInt(), 3);
}

// A mail client of before Unicode: the system's library has the wide entry and converts by itself.
void TestRealMapi::systemConvertsForNarrowProvider()
{
    ToolRun tool;
    tool.setProvider(QString());
    registerForMachine(providerPath(u"narrow"_s));
    tool.writeFile(u"März.csv"_s, "a;b");
    const ToolResult result
        = tool.runZml(u"SUBJECT=Grüße 日本\nBODY=ß\nTO1=Groß\nSEND=1\nATTACHMENT1=März.csv\n"_s.toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), u"MAPISendMail"_s);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(u"narrow"_s));
    const QJsonObject message = result.message();
    QCOMPARE(hexOf(message[u"lpszSubject"_s]), ansiHex(u"Grüße 日本"_s));
    QCOMPARE(hexOf(message[u"lpszNoteText"_s]), ansiHex(u"ß"_s));
    QCOMPARE(hexOf(message[u"lpRecips"_s][0][u"lpszAddress"_s]), ansiHex(u"Groß"_s));
    const QJsonValue file = message[u"lpFiles"_s][0];
    QCOMPARE(hexOf(file[u"lpszPathName"_s]), ansiHex(QDir::toNativeSeparators(tool.filePath(u"März.csv"_s))));
    QVERIFY(file[u"exists"_s].toBool());
}

void TestRealMapi::flags_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<int>("flags");
    QTest::newRow("sent, wide") << u"both"_s << QByteArray("SEND=1\n") << 1;
    QTest::newRow("displayed, wide") << u"both"_s << QByteArray("SEND=0\n") << 9;
    QTest::newRow("sent, narrow") << u"narrow"_s << QByteArray("SEND=1\n") << 1;
    QTest::newRow("displayed, narrow") << u"narrow"_s << QByteArray("SEND=0\n") << 9;
}

void TestRealMapi::flags()
{
    QFETCH(QString, choice);
    QFETCH(QByteArray, lines);
    ToolRun tool;
    tool.setProvider(QString());
    registerForMachine(providerPath(choice));
    const ToolResult result = tool.runZml(lines);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QTEST(result.calls[0][u"flags"_s].toInt(), "flags");
}

void TestRealMapi::results_data()
{
    QTest::addColumn<quint32>("code");
    for (quint32 code = 0; code <= 29; ++code)
        QTest::addRow("%u", code) << code;
    QTest::newRow("far beyond") << 0x80004005U;
}

void TestRealMapi::results()
{
    QFETCH(quint32, code);
    ToolRun tool;
    tool.setProvider(QString());
    tool.setResult(code);
    registerForMachine(providerPath(u"both"_s));
    const ToolResult result = tool.runZml("SEND=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.calls.size(), 1);
    if (code == 0) {
        QCOMPARE(result.exitCode, 0);
        QVERIFY(result.boxes.isEmpty());
        return;
    }
    QCOMPARE(result.exitCode, -1);
    QCOMPARE(result.boxText(), u"Couldn't send email: "_s + mapiResultText(code));
}

void TestRealMapi::noClient_data()
{
    QTest::addColumn<QString>("defaultClient");
    QTest::addColumn<QString>("library");
    QTest::newRow("no default client") << QString() << QString();
    QTest::newRow("client that is not registered") << client << QString();
    QTest::newRow("client whose library is missing") << client << u"C:\\no such\\library.dll"_s;
}

// The system's library says so in a box of its own and gives "not supported", which the tool then tells.
void TestRealMapi::noClient()
{
    QFETCH(QString, defaultClient);
    QFETCH(QString, library);
    ToolRun tool;
    tool.setProvider(QString());
    mailclients::setDefault(Hive::Machine, defaultClient);
    if (!library.isEmpty())
        mailclients::setText(Hive::Machine, client, u"DLLPath"_s, library);
    const ToolResult result = tool.runZml("SUBJECT=x\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, -1);
    QCOMPARE(result.boxes.size(), 2);
    QCOMPARE(result.boxes[0].title, u"Send Mail"_s);
    QVERIFY2(result.boxes[0].text.contains(u"MAPI"_s), qPrintable(result.boxes[0].text));
    QCOMPARE(result.boxes[1].text, u"Couldn't send email: Not supported [26]"_s);
}

void TestRealMapi::providerOfRegistry_data()
{
    QTest::addColumn<bool>("defaultOfUser");
    QTest::addColumn<bool>("clientOfUser");
    QTest::addColumn<bool>("expandable");
    QTest::newRow("machine, plain path") << false << false << false;
    QTest::newRow("machine, path with a variable") << false << false << true;
    QTest::newRow("user, plain path") << true << true << false;
    QTest::newRow("user, path with a variable") << true << true << true;
    QTest::newRow("user's client registered for the machine alone") << true << false << false;
    QTest::newRow("the same, path with a variable") << true << false << true;
}

void TestRealMapi::providerOfRegistry()
{
    QFETCH(bool, defaultOfUser);
    QFETCH(bool, clientOfUser);
    QFETCH(bool, expandable);
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    mailclients::setDefault(defaultOfUser ? Hive::User : Hive::Machine, client);
    const Hive hive = clientOfUser ? Hive::User : Hive::Machine;
    if (expandable) {
        tool.environment.insert(u"OSTRELLE_PROVIDERS"_s, QDir::toNativeSeparators(ToolRun::providers()));
        mailclients::setExpandableText(hive, client, u"DLLPath"_s,
                                       u"%OSTRELLE_PROVIDERS%\\wide\\recordingprovider.dll"_s);
    } else {
        mailclients::setText(hive, client, u"DLLPath"_s, providerPath(u"wide"_s));
    }
    const ToolResult result = tool.runZml(u"SUBJECT=日本\nSEND=1\n"_s.toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), u"MAPISendMailW"_s);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(u"wide"_s));
    QCOMPARE(result.message()[u"lpszSubject"_s].toString(), u"日本"_s);
}

void TestRealMapi::usersClientComesFirst()
{
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    registerForMachine(providerPath(u"wide"_s));
    mailclients::setDefault(Hive::User, u"Mine"_s);
    mailclients::setText(Hive::User, u"Mine"_s, u"DLLPath"_s, providerPath(u"both"_s));
    const ToolResult result = tool.runZml("SEND=1\n");
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(u"both"_s));
}

void TestRealMapi::brokenUsersClient()
{
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    registerForMachine(providerPath(u"wide"_s));
    mailclients::setDefault(Hive::User, u"Mine"_s);
    mailclients::setText(Hive::User, u"Mine"_s, u"Other"_s, u"value"_s);
    const ToolResult result = tool.runZml("SEND=1\n");
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(u"wide"_s));
}

// A process that has a client's module loaded belongs to that client, whatever the default is.
void TestRealMapi::loadedModuleComesFirst()
{
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    registerForMachine(providerPath(u"wide"_s));
    mailclients::setText(Hive::Machine, u"Loaded"_s, u"DLLPath"_s, providerPath(u"both"_s));
    mailclients::listModule(u"ostrelle.exe"_s, u"Loaded"_s);
    const ToolResult result = tool.runZml("SEND=1\n");
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(u"both"_s));
}

void TestRealMapi::providerIsTheSystemLibrary()
{
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    registerForMachine(u"MAPI32.DLL"_s);
    const ToolResult result = tool.runZml("SEND=1\nSUBJECT=plain\n");
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), u"MAPISendMail"_s);
    compareFiles(result.calls[0][u"library"_s].toString(), tool.toolDirectory() + u"/mapi32.dll"_s);
}

void TestRealMapi::fixedName_data()
{
    QTest::addColumn<bool>("profileFile");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<bool>("taken");
    QTest::newRow("mapisvc.inf present") << true << false << true;
    QTest::newRow("listed module loaded") << false << true << true;
    QTest::newRow("neither") << false << false << false;
}

void TestRealMapi::fixedName()
{
    QFETCH(bool, profileFile);
    QFETCH(bool, listed);
    QFETCH(bool, taken);
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    const auto cleanUp = qScopeGuard([] {
        QFile::remove(systemFile(u"mapisvc.inf"_s));
        QFile::remove(systemFile(u"mapi32x.dll"_s));
    });
    QVERIFY(QFile::copy(providerPath(u"wide"_s), systemFile(u"mapi32x.dll"_s)));
    if (profileFile)
        QVERIFY(QFile(systemFile(u"mapisvc.inf"_s)).open(QIODevice::WriteOnly));
    if (listed)
        mailclients::listModule(u"ostrelle.exe"_s, u"Nobody"_s);
    const ToolResult result = tool.runZml("SEND=1\nSUBJECT=plain\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), taken ? u"MAPISendMailW"_s : u"MAPISendMail"_s);
    compareFiles(result.calls[0][u"library"_s].toString(),
                 taken ? systemFile(u"mapi32x.dll"_s) : tool.toolDirectory() + u"/mapi32.dll"_s);
}

void TestRealMapi::installerComponent_data()
{
    QTest::addColumn<QString>("qualifier");
    QTest::addColumn<bool>("hasLanguageValues"); // MSIApplicationLCID, MSIOfficeLCID
    QTest::addColumn<bool>("taken");
    QTest::newRow("fixed language, with suffix") << u"1033\\NT"_s << true << true;
    QTest::newRow("fixed language, without suffix") << u"1033"_s << true << true;
    QTest::newRow("language of the registry") << u"1031\\NT"_s << true << true;
    QTest::newRow("no language values") << u"1033\\NT"_s << false << false;
    QTest::newRow("another language alone") << u"1036"_s << true << false;
}

void TestRealMapi::installerComponent()
{
    QFETCH(QString, qualifier);
    QFETCH(bool, hasLanguageValues);
    QFETCH(bool, taken);
    const QString category = u"{6A3E5F21-94C8-4D07-B1E6-7D5C8A9F0B34}"_s;
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    registerForMachine(providerPath(u"both"_s)); // taken where the installer has nothing
    mailclients::setText(Hive::Machine, client, u"MSIComponentID"_s, category);
    if (hasLanguageValues) {
        mailclients::setTexts(Hive::Machine, client, u"MSIApplicationLCID"_s,
                              {u"OstrelleTest\\Language"_s, u"UILanguage"_s});
        mailclients::setTexts(Hive::Machine, client, u"MSIOfficeLCID"_s, {u"OstrelleTest\\None"_s, u"X"_s});
        mailclients::setUserNumber(u"Software\\OstrelleTest\\Language"_s, u"UILanguage"_s, 1031);
    }
    const auto cleanUp = qScopeGuard([&category] { mailclients::unpublishComponents(category); });
    mailclients::publishComponent(category, qualifier, providerPath(u"wide"_s));
    const ToolResult result = tool.runZml("SEND=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    compareFiles(result.calls[0][u"library"_s].toString(), providerPath(taken ? u"wide"_s : u"both"_s));
}

void TestRealMapi::narrowEntry_data()
{
    QTest::addColumn<bool>("utf8");
    QTest::newRow("ANSI") << false;
    QTest::newRow("UTF-8") << true;
}

// Neither library has the wide entry: the narrow one of the system's library gets the mail.
void TestRealMapi::narrowEntry()
{
    QFETCH(bool, utf8);
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    registerForMachine(providerPath(u"neither"_s));
    if (utf8)
        mailclients::setNumber(Hive::Machine, client, u"SupportUTF8"_s, 1);
    tool.writeFile(u"März.csv"_s, "a;b");
    const ToolResult result = tool.runZml(
        u"SUBJECT=Grüße\nBODY=ß\nTO1=Groß\nSEND=0\nREADRECEIPT=1\nATTACHMENT1=März.csv\n"_s.toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
    QCOMPARE(result.calls[0][u"entry"_s].toString(), u"MAPISendMail"_s);
    QCOMPARE(result.calls[0][u"flags"_s].toInt(), 9);
    compareFiles(result.calls[0][u"library"_s].toString(), tool.toolDirectory() + u"/mapi32.dll"_s);
    const QJsonObject message = result.message();
    QCOMPARE(message[u"ulReserved"_s].toInt(-1), utf8 ? 65001 : 0);
    QCOMPARE(message[u"flFlags"_s].toInt(), 2);
    const auto textHex = [utf8](const QString &text) {
        return utf8 ? QString::fromLatin1(text.toUtf8().toHex()) : ansiHex(text);
    };
    QCOMPARE(hexOf(message[u"lpszSubject"_s]), textHex(u"Grüße"_s));
    QCOMPARE(hexOf(message[u"lpszNoteText"_s]), textHex(u"ß"_s));
    QCOMPARE(hexOf(message[u"lpRecips"_s][0][u"lpszAddress"_s]), ansiHex(u"Groß"_s));
    const QJsonValue file = message[u"lpFiles"_s][0];
    QCOMPARE(hexOf(file[u"lpszPathName"_s]), ansiHex(QDir::toNativeSeparators(tool.filePath(u"März.csv"_s))));
    QVERIFY(file[u"exists"_s].toBool());
    QVERIFY(file[u"lpszFileName"_s].isNull());
}

// The code page has no such characters: the file goes by its short name.
void TestRealMapi::narrowPathOutsideTheCodePage()
{
    ToolRun tool;
    tool.setProvider(QString());
    replaceSystemLibrary(tool);
    tool.writeFile(u"日本.csv"_s, "a;b;c");
    const ToolResult result = tool.runZml(u"SEND=1\nATTACHMENT1=日本.csv\n"_s.toUtf8());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    const QJsonValue file = result.message()[u"lpFiles"_s][0];
    QVERIFY(!hexOf(file[u"lpszPathName"_s]).contains(u"3f"_s)); // no question mark
    QVERIFY(file[u"exists"_s].toBool());
    QCOMPARE(file[u"size"_s].toInt(), 5);
}

QTEST_GUILESS_MAIN(TestRealMapi)
#include "tst_realmapi.moc"
