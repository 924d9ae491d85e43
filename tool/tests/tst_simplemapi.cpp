#include "fakemapiplatform.h"
#include "simplemapi.h"

#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

// What the entries of the libraries were handed. They are plain functions, so it lies at file scope.
struct Call {
    QString entry; // library and name
    quint64 session;
    quint64 uiParam;
    const void *message;
    quint32 flags;
    quint32 reserved;
    // Of the narrow message, while it lived; null for a null pointer.
    quint32 narrowReserved = 0;
    QByteArray subject = {};
    QByteArray noteText = {};
    QByteArray recipient = {};
    QByteArray path = {};
};

QList<Call> calls;
ULONG wantedResult = 0;
FakeMapiPlatform *watched = nullptr;

enum class Library { system, provider };

template <Library library>
ULONG sendWide(LHANDLE session, ULONG_PTR uiParam, lpMapiMessageW message, FLAGS flags, ULONG reserved)
{
    const QString entry = library == Library::system ? u"mapi32.dll wide"_s : u"client.dll wide"_s;
    watched->calls.append(u"call "_s + entry);
    calls.append({entry, session, uiParam, message, flags, reserved});
    return wantedResult;
}

template <Library library>
ULONG sendNarrow(LHANDLE session, ULONG_PTR uiParam, lpMapiMessage message, FLAGS flags, ULONG reserved)
{
    const QString entry = library == Library::system ? u"mapi32.dll narrow"_s : u"client.dll narrow"_s;
    watched->calls.append(u"call "_s + entry);
    Call call{entry, session, uiParam, message, flags, reserved};
    if (message != nullptr) {
        call.narrowReserved = message->ulReserved;
        call.subject = message->lpszSubject;
        call.noteText = message->lpszNoteText;
        call.recipient = message->nRecipCount > 0 ? message->lpRecips[0].lpszAddress : nullptr;
        call.path = message->nFileCount > 0 ? message->lpFiles[0].lpszPathName : nullptr;
    }
    calls.append(call);
    return wantedResult;
}

template <Library library> QHash<QByteArray, void *> entries(bool wide, bool narrow)
{
    QHash<QByteArray, void *> symbols;
    if (wide)
        symbols.insert("MAPISendMailW", reinterpret_cast<void *>(&sendWide<library>));
    if (narrow)
        symbols.insert("MAPISendMail", reinterpret_cast<void *>(&sendNarrow<library>));
    return symbols;
}

}

class TestSimpleMapi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void entry_data();
    void entry();
    void withoutSystemLibrary();
    void wideEntryOfSystemLibrary();
    void wideEntryOfProvider();
    void noProvider();
    void providerWithoutEntryIsReleased();
    void forceUnicodeForbidsNarrow();
    void narrowMessage_data();
    void narrowMessage();
    void narrowMessageIsFreed();
    void narrowEntryMissing();
    void nullMessage();
    void conversionFailure_data();
    void conversionFailure();
    void results_data();
    void results();

private:
    void addClient(bool supportUtf8 = false);
    ULONG send(FLAGS flags = 9);

    std::unique_ptr<FakeMapiPlatform> m_platform;
    const QString m_subject = u"Grüße"_s;
    const QString m_noteText = u"ж"_s;
    const QString m_address = u"ö@x"_s;
    QString m_path;
    MapiRecipDescW m_recipient{};
    MapiFileDescW m_file{};
    MapiMessageW m_message{};
};

void TestSimpleMapi::init()
{
    calls.clear();
    wantedResult = 0;
    m_platform.reset();
    m_platform = std::make_unique<FakeMapiPlatform>();
    watched = m_platform.get();
    m_path = u"C:\\ä.txt"_s;
    m_recipient = {};
    m_recipient.lpszAddress = toWide(m_address);
    m_file = {};
    m_file.lpszPathName = toWide(m_path);
    m_message = {};
    m_message.ulReserved = 3;
    m_message.lpszSubject = toWide(m_subject);
    m_message.lpszNoteText = toWide(m_noteText);
    m_message.nRecipCount = 1;
    m_message.lpRecips = &m_recipient;
    m_message.nFileCount = 1;
    m_message.lpFiles = &m_file;
}

void TestSimpleMapi::addClient(bool supportUtf8)
{
    const QString key = u"HKLM\\Software\\Clients\\Mail"_s;
    m_platform->addValue(key, QString(), REG_SZ, registryText(u"Client"_s));
    m_platform->addValue(key + u"\\Client"_s, u"DLLPath"_s, REG_SZ, registryText(u"client.dll"_s));
    if (supportUtf8)
        m_platform->addValue(key + u"\\Client"_s, u"SupportUTF8"_s, REG_DWORD, registryNumber(1));
}

ULONG TestSimpleMapi::send(FLAGS flags)
{
    return sendThroughMapiPlatform(*m_platform, 11, 22, &m_message, flags, 33);
}

void TestSimpleMapi::entry_data()
{
    QTest::addColumn<bool>("systemWide");
    QTest::addColumn<bool>("systemNarrow");
    QTest::addColumn<bool>("providerWide");
    QTest::addColumn<bool>("providerNarrow");
    QTest::addColumn<QString>("expected"); // empty for no call
    for (int choice = 0; choice < 16; ++choice) {
        const bool systemWide = (choice & 1) != 0;
        const bool systemNarrow = (choice & 2) != 0;
        const bool providerWide = (choice & 4) != 0;
        const bool providerNarrow = (choice & 8) != 0;
        QTest::addRow("system%s%s, provider%s%s", systemWide ? " wide" : "", systemNarrow ? " narrow" : "",
                      providerWide ? " wide" : "", providerNarrow ? " narrow" : "")
            << systemWide << systemNarrow << providerWide << providerNarrow
            << (systemWide         ? u"mapi32.dll wide"_s
                    : providerWide ? u"client.dll wide"_s
                    : systemNarrow ? u"mapi32.dll narrow"_s
                                   : u""_s);
    }
}

void TestSimpleMapi::entry()
{
    QFETCH(bool, systemWide);
    QFETCH(bool, systemNarrow);
    QFETCH(bool, providerWide);
    QFETCH(bool, providerNarrow);
    QFETCH(QString, expected);
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(systemWide, systemNarrow));
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(providerWide, providerNarrow));
    addClient();
    wantedResult = 17;
    QCOMPARE(send(), expected.isEmpty() ? MAPI_E_FAILURE : wantedResult);
    QCOMPARE(calls.size(), expected.isEmpty() ? 0 : 1);
    if (!expected.isEmpty()) {
        QCOMPARE(calls.first().entry, expected);
        QCOMPARE(calls.first().session, quint64{11});
        QCOMPARE(calls.first().uiParam, quint64{22});
        QCOMPARE(calls.first().flags, 9U);
        QCOMPARE(calls.first().reserved, 33U);
        QCOMPARE(calls.first().message == &m_message, expected.endsWith(u"wide"_s));
    }
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::withoutSystemLibrary()
{
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(true, true));
    addClient();
    QCOMPARE(send(), MAPI_E_FAILURE);
    QCOMPARE(m_platform->calls, QStringList(u"load mapi32.dll = 0"_s));
}

void TestSimpleMapi::wideEntryOfSystemLibrary()
{
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(true, true));
    addClient();
    QCOMPARE(send(), SUCCESS_SUCCESS);
    QCOMPARE(m_platform->calls,
             QStringList({u"load mapi32.dll"_s, u"symbol [mapi32.dll] MAPISendMailW"_s,
                          u"call mapi32.dll wide"_s, u"free [mapi32.dll]"_s}));
}

void TestSimpleMapi::wideEntryOfProvider()
{
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(true, true));
    addClient(true);
    QCOMPARE(send(), SUCCESS_SUCCESS);
    QCOMPARE(m_platform->calls.first(2),
             QStringList({u"load mapi32.dll"_s, u"symbol [mapi32.dll] MAPISendMailW"_s}));
    QCOMPARE(m_platform->calls.last(5),
             QStringList({u"load client.dll"_s, u"symbol [client.dll] MAPISendMailW"_s,
                          u"call client.dll wide"_s, u"free [client.dll]"_s, u"free [mapi32.dll]"_s}));
    QCOMPARE(m_platform->mistakes(), QStringList());
}

// Nothing is registered: the narrow entry of the system's library, not in UTF-8.
void TestSimpleMapi::noProvider()
{
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    QCOMPARE(send(), SUCCESS_SUCCESS);
    QCOMPARE(m_platform->callsOf(u"load"_s), QStringList(u"load mapi32.dll"_s));
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().subject, m_subject.toLatin1());
    QCOMPARE(calls.first().noteText, QByteArray("?"));
    QCOMPARE(calls.first().narrowReserved, 3U);
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::providerWithoutEntryIsReleased()
{
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(false, true));
    addClient();
    QCOMPARE(send(), SUCCESS_SUCCESS);
    const qsizetype freed = m_platform->calls.indexOf(u"free [client.dll]"_s);
    QCOMPARE(
        m_platform->calls.mid(freed - 2, 3),
        QStringList({u"load client.dll"_s, u"symbol [client.dll] MAPISendMailW"_s, u"free [client.dll]"_s}));
    // Before anything is converted, and never asked for its narrow entry.
    QVERIFY(m_platform->calls.at(freed + 1).startsWith(u"convert"_s));
    QCOMPARE(m_platform->calls.last(3),
             QStringList({u"symbol [mapi32.dll] MAPISendMail"_s, u"call mapi32.dll narrow"_s,
                          u"free [mapi32.dll]"_s}));
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::forceUnicodeForbidsNarrow()
{
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(false, true));
    addClient();
    QCOMPARE(send(MAPI_LOGON_UI | MAPI_FORCE_UNICODE), MAPI_E_FAILURE);
    QVERIFY(calls.isEmpty());
    QVERIFY(m_platform->callsOf(u"convert"_s).isEmpty());
    QCOMPARE(m_platform->allocations, 0);
    QCOMPARE(m_platform->mistakes(), QStringList());

    // The wide ways stay open, with the flag handed on.
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(true, true));
    QCOMPARE(send(MAPI_LOGON_UI | MAPI_FORCE_UNICODE), SUCCESS_SUCCESS);
    QCOMPARE(calls.first().entry, u"client.dll wide"_s);
    QCOMPARE(calls.first().flags, 0x40001U);
}

void TestSimpleMapi::narrowMessage_data()
{
    QTest::addColumn<bool>("supportUtf8");
    QTest::addColumn<bool>("isLoadable");
    QTest::newRow("ANSI") << false << true;
    QTest::newRow("UTF-8") << true << true;
    QTest::newRow("UTF-8 of a client that cannot be loaded") << true << false;
}

void TestSimpleMapi::narrowMessage()
{
    QFETCH(bool, supportUtf8);
    QFETCH(bool, isLoadable);
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    if (isLoadable)
        m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(false, true));
    addClient(supportUtf8);
    m_path = u"C:\\ж.txt"_s;
    m_file.lpszPathName = toWide(m_path);
    m_platform->shortPaths.insert(m_path, u"C:\\\u00C4~1.TXT"_s);
    QCOMPARE(send(), SUCCESS_SUCCESS);
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().subject, supportUtf8 ? m_subject.toUtf8() : m_subject.toLatin1());
    QCOMPARE(calls.first().noteText, supportUtf8 ? m_noteText.toUtf8() : QByteArray("?"));
    QCOMPARE(calls.first().narrowReserved, supportUtf8 ? 65001U : 3U);
    QCOMPARE(calls.first().recipient, m_address.toLatin1());
    QCOMPARE(calls.first().path, QByteArray("C:\\\xC4~1.TXT"));
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::narrowMessageIsFreed()
{
    m_platform->logMemory = true;
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    QCOMPARE(send(), SUCCESS_SUCCESS);
    const qsizetype called = m_platform->calls.indexOf(u"call mapi32.dll narrow"_s);
    QCOMPARE(m_platform->calls.last(), u"free [mapi32.dll]"_s);
    for (qsizetype index = called + 1; index < m_platform->calls.size() - 1; ++index)
        QCOMPARE(m_platform->calls.at(index), u"release"_s);
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::narrowEntryMissing()
{
    m_platform->addLibrary(u"mapi32.dll"_s);
    QCOMPARE(send(), MAPI_E_FAILURE);
    QCOMPARE(m_platform->calls.last(2),
             QStringList({u"symbol [mapi32.dll] MAPISendMail"_s, u"free [mapi32.dll]"_s}));
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::nullMessage()
{
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    QCOMPARE(sendThroughMapiPlatform(*m_platform, 0, 0, nullptr, 1, 0), SUCCESS_SUCCESS);
    QCOMPARE(calls.size(), 1);
    QVERIFY(calls.first().message == nullptr);
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::conversionFailure_data()
{
    QTest::addColumn<QString>("noteText");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("failingAllocation");
    QTest::addColumn<bool>("supportUtf8");
    const QString plain = u"plain"_s;
    QTest::newRow("no short path") << plain << u"C:\\ж.txt"_s << 0 << false;
    QTest::newRow("unpaired surrogate in UTF-8") << QString(QChar(0xDC00)) << plain << 0 << true;
    QTest::newRow("no memory") << plain << plain << 1 << false;
}

void TestSimpleMapi::conversionFailure()
{
    QFETCH(QString, noteText);
    QFETCH(QString, path);
    QFETCH(int, failingAllocation);
    QFETCH(bool, supportUtf8);
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    addClient(supportUtf8);
    m_platform->failingAllocation = failingAllocation;
    m_platform->error = 50;
    m_message.lpszNoteText = toWide(noteText);
    m_file.lpszPathName = toWide(path);
    QCOMPARE(send(), MAPI_E_FAILURE);
    QVERIFY(calls.isEmpty());
    QVERIFY(!m_platform->calls.contains(u"symbol [mapi32.dll] MAPISendMail"_s));
    QCOMPARE(m_platform->calls.last(), u"free [mapi32.dll]"_s);
    QCOMPARE(m_platform->mistakes(), QStringList());
}

void TestSimpleMapi::results_data()
{
    QTest::addColumn<quint32>("result");
    for (const quint32 result : {0U, 1U, 2U, 7U, 28U, 29U, 0xFFFFFFFFU})
        QTest::addRow("%u", result) << result;
}

// Whatever an entry answers comes back as it is; in particular 2 starts no further attempt.
void TestSimpleMapi::results()
{
    QFETCH(quint32, result);
    wantedResult = result;
    addClient();
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(true, true));
    m_platform->addLibrary(u"client.dll"_s, entries<Library::provider>(true, true));
    QCOMPARE(quint32(send()), result);
    m_platform->addLibrary(u"mapi32.dll"_s, entries<Library::system>(false, true));
    QCOMPARE(quint32(send()), result);
    m_platform->addLibrary(u"client.dll"_s);
    QCOMPARE(quint32(send()), result);
    QCOMPARE(calls.size(), 3);
    QCOMPARE(m_platform->mistakes(), QStringList());
}

QTEST_APPLESS_MAIN(TestSimpleMapi)
#include "tst_simplemapi.moc"
