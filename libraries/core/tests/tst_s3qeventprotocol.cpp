#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/semaphore.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "protocol/eventnames.h"
#include "protocol/s3customeventbase.h"
#include "protocol/s3qeventprotocol.h"
#include "test/s3testausproxy_p.h"

#include <QMetaEnum>
#include <QTest>
#include <QThread>

#include <array>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

// At global scope, as its name is asked for.
class EventOfThisSuite final : public s3CustomEventBase<EventOfThisSuite>
{
};

class EventWithArguments final : public s3CustomEventBase<EventWithArguments>
{
public:
    explicit EventWithArguments(const QString &arguments) : m_arguments(arguments) { }
    QString argumentsText() const override { return m_arguments; }

private:
    QString m_arguments;
};

class IgnoredEventOfThisSuite final : public s3CustomEventBase<IgnoredEventOfThisSuite>
{
};

class TracedEventOfThisSuite final : public s3CustomEventBase<TracedEventOfThisSuite>
{
};

class ContendedEvent final : public s3CustomEventBase<ContendedEvent>
{
};

namespace
{

QString pointerText(const void *pointer)
{
    return u"0x"_s + QString::number(reinterpret_cast<quintptr>(pointer), 16).rightJustified(16, u'0');
}

QString firstLine(const QString &text)
{
    return text.section(u'\n', 0, 0);
}

QString typeName(int type)
{
    s3QEventProtocol protocol;
    const QEvent event{static_cast<QEvent::Type>(type)};
    return firstLine(protocol.describeEvent(nullptr, &event));
}

const QString dashes = QString(120, u'-');

}

class TestEventProtocol final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tablesAreComplete();
    void eventNamesAreQts();
    void everyEventNameIsAnswered();
    void numbersThatStandTwice();
    void unknownTypes_data();
    void unknownTypes();
    void customNamesMustBeInRange_data();
    void customNamesMustBeInRange();
    void customNameReplacesAnEarlierOne();
    void ignoredTypeGivesNothing();
    void describesObjectAndThread();
    void describesNoObject();
    void argumentsOfCustomEvents();
    void customTypeShowsItsClass();
    void flushEventIsLeftOut();
    void typeIsRegisteredOnceAndTraced();
    void typeIsRegisteredOnceByWorkersToo();
    void windowMessages_data();
    void windowMessages();
    void everyWindowMessageIsAnswered();
};

void TestEventProtocol::tablesAreComplete()
{
    QCOMPARE(s3EventNames.size(), size_t(170));
    QCOMPARE(s3WindowMessageNames.size(), size_t(235));

    QSet<int> types;
    QSet<QString> names;
    for (const s3EventName &row : s3EventNames) {
        types.insert(row.type);
        names.insert(QStringView(row.name).toString());
    }
    QCOMPARE(types.size(), 168); // two stand twice
    QCOMPARE(names.size(), 170);

    QSet<unsigned> messages;
    QSet<QString> messageNames;
    for (const s3WindowMessageName &row : s3WindowMessageNames) {
        messages.insert(row.message);
        messageNames.insert(QStringView(row.name).toString());
    }
    QCOMPARE(messageNames.size(), 234); // BM_CLICK stands twice
    QCOMPARE(messages.size(), 231); // and three numbers with two names
}

void TestEventProtocol::eventNamesAreQts()
{
    const QMetaEnum qtTypes = QMetaEnum::fromType<QEvent::Type>();
    int known = 0;
    for (const s3EventName &row : s3EventNames) {
        const QByteArray name = QStringView(row.name).toLatin1();
        bool isKnown = false;
        const int value = qtTypes.keyToValue(name.constData(), &isKnown);
        if (!isKnown)
            continue;
        ++known;
        QVERIFY2(value == row.type, name.constData());
    }
    // All but a handful that Qt keeps to itself are in its meta-object.
    QVERIFY2(known >= 165, QByteArray::number(known).constData());
}

void TestEventProtocol::everyEventNameIsAnswered()
{
    for (const s3EventName &row : s3EventNames) {
        if (row.type == 121 || row.type == 122)
            continue;
        QCOMPARE(typeName(row.type),
                 u"QEVENT : {type=%1, typeName=%2}"_s.arg(QString::number(row.type),
                                                          QStringView(row.name).toString()));
    }
}

void TestEventProtocol::numbersThatStandTwice()
{
    QCOMPARE(typeName(121), u"QEVENT : {type=121, typeName=ApplicationActivated}"_s);
    QCOMPARE(typeName(122), u"QEVENT : {type=122, typeName=ApplicationDeactivated}"_s);
    QCOMPARE(s3QEventProtocol::windowMessageName(256), u"WM_KEYFIRST"_s);
    QCOMPARE(s3QEventProtocol::windowMessageName(512), u"WM_MOUSEMOVE"_s);
    QCOMPARE(s3QEventProtocol::windowMessageName(526), u"WM_MOUSELAST"_s);
}

void TestEventProtocol::unknownTypes_data()
{
    QTest::addColumn<int>("type");

    QTest::newRow("none") << 0;
    QTest::newRow("between Qt's") << 900;
    QTest::newRow("below the custom ones") << 999;
    QTest::newRow("custom without a name") << 40000;
    QTest::newRow("last") << 65535;
}

void TestEventProtocol::unknownTypes()
{
    QFETCH(int, type);
    QCOMPARE(typeName(type), u"QEVENT : {type=%1, typeName=Unknown}"_s.arg(type));
}

void TestEventProtocol::customNamesMustBeInRange_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("isAccepted");

    QTest::newRow("999") << 999 << false;
    QTest::newRow("1000, the first") << 1000 << true;
    QTest::newRow("65535, the last") << 65535 << true;
    QTest::newRow("65536") << 65536 << false;
    QTest::newRow("-1, none left to register") << -1 << false;
}

void TestEventProtocol::customNamesMustBeInRange()
{
    QFETCH(int, type);
    QFETCH(bool, isAccepted);
    const QString message = thrownMessage([&] { s3QEventProtocol::addCustomQEventName(type, u"Name"_s); });
    if (isAccepted) {
        QCOMPARE(message, QString());
        QCOMPARE(typeName(type), u"QEVENT : {type=%1, typeName=Name}"_s.arg(type));
    } else {
        QVERIFY(isAssertion(message, u"type >= QEvent::User && type <= QEvent::MaxUser"_s,
                            u"libraries/core/src/protocol/s3qeventprotocol"_s,
                            u"s3QEventProtocol::addCustomQEventName"_s));
    }
}

void TestEventProtocol::customNameReplacesAnEarlierOne()
{
    s3QEventProtocol::addCustomQEventName(50000, u"First"_s);
    s3QEventProtocol::addCustomQEventName(50000, u"Second"_s);
    QCOMPARE(typeName(50000), u"QEVENT : {type=50000, typeName=Second}"_s);
}

void TestEventProtocol::ignoredTypeGivesNothing()
{
    QVERIFY(!typeName(QEvent::Speech).isEmpty());
    s3QEventProtocol::ignoreQEventType(QEvent::Speech);
    QVERIFY(typeName(QEvent::Speech).isEmpty());
}

void TestEventProtocol::describesObjectAndThread()
{
    s3QEventProtocol protocol;
    const QEvent event(QEvent::Close);
    QObject object;
    object.setObjectName(u"größe %1"_s);
    const auto text = [&](const QString &thread) {
        return u"QEVENT : {type=19, typeName=Close}\nQOBJECT: "_s + u"QObject"_s.leftJustified(35)
            + u"(this="_s + pointerText(&object) + u", thread="_s + thread + u", name=größe %1)\n"_s + dashes;
    };
    QCOMPARE(protocol.describeEvent(&object, &event), text(u"main      "_s));

    QThread thread;
    object.moveToThread(&thread);
    QCOMPARE(protocol.describeEvent(&object, &event), text(pointerText(&thread)));

    // A class name beyond the column is not cut.
    QVERIFY(protocol.describeEvent(this, &event).contains(u"TestEventProtocol                  (this="_s));
}

void TestEventProtocol::describesNoObject()
{
    s3QEventProtocol protocol;
    const QEvent event(QEvent::Timer);
    QCOMPARE(protocol.describeEvent(nullptr, &event),
             QString(u"QEVENT : {type=1, typeName=Timer}\nQOBJECT: \n"_s + dashes));
}

void TestEventProtocol::argumentsOfCustomEvents()
{
    s3QEventProtocol protocol;
    const EventWithArguments event(u"a=1 b=\"x\""_s);
    QCOMPARE(
        protocol.describeEvent(nullptr, &event),
        QString(u"QEVENT : {type=%1, typeName=EventWithArguments}\nQOBJECT: \nARGS   : a=1 b=\"x\"\n"_s.arg(
                    EventWithArguments::type())
                + dashes));

    const EventWithArguments empty{QString()};
    QVERIFY(!protocol.describeEvent(nullptr, &empty).contains(u"ARGS"_s));

    // A custom number alone does not make an event that can tell its arguments.
    const QEvent plain(QEvent::User);
    QVERIFY(!protocol.describeEvent(nullptr, &plain).contains(u"ARGS"_s));
}

void TestEventProtocol::customTypeShowsItsClass()
{
    const EventOfThisSuite event;
    QVERIFY(event.type() >= QEvent::User && event.type() <= QEvent::MaxUser);
    QCOMPARE(event.argumentsText(), QString());
    QCOMPARE(typeName(event.type()),
             u"QEVENT : {type=%1, typeName=EventOfThisSuite}"_s.arg(EventOfThisSuite::type()));
}

void TestEventProtocol::flushEventIsLeftOut()
{
    (void)s3TestausProxy::instance(); // it says so when it is made
    s3QEventProtocol protocol;
    const s3TestausProxyPrivatFlushEvent event;
    QCOMPARE(protocol.describeEvent(this, &event), QString());
}

void TestEventProtocol::typeIsRegisteredOnceAndTraced()
{
    const ScopedTestFlag tracing(400);
    const TraceRecorder trace;
    const int type = TracedEventOfThisSuite::type();
    QCOMPARE(TracedEventOfThisSuite::type(), type);
    QCOMPARE(trace.lines(),
             QStringList(u"s3CustomEventBase<class TracedEventOfThisSuite>::type() = %1"_s.arg(type)));

    IgnoredEventOfThisSuite::setIgnored(true);
    s3QEventProtocol protocol;
    const IgnoredEventOfThisSuite ignored;
    QCOMPARE(protocol.describeEvent(nullptr, &ignored), QString());
}

void TestEventProtocol::typeIsRegisteredOnceByWorkersToo()
{
    // The standard library's threads: the thread sanitizer sees how they are joined.
    std::array<int, 8> types = {};
    std::vector<std::thread> threads;
    Semaphore start{0};
    for (int &type : types) {
        threads.emplace_back([&start, &type] {
            start.acquire();
            type = ContendedEvent::type();
        });
    }
    start.release(std::ssize(types));
    for (std::thread &thread : threads)
        thread.join();
    for (const int type : types)
        QCOMPARE(type, types[0]);
}

void TestEventProtocol::windowMessages_data()
{
    QTest::addColumn<unsigned>("message");
    QTest::addColumn<QString>("name");

    QTest::newRow("0") << 0u << u"WM_NULL"_s;
    QTest::newRow("theme engine, first") << 0x90u << u"WM_UAHDESTROYWINDOW"_s;
    QTest::newRow("theme engine, second") << 0x91u << u"WM_UAHDRAWMENU"_s;
    QTest::newRow("theme engine, third") << 0x92u << u"WM_UAHDRAWMENUITEM"_s;
    QTest::newRow("theme engine, fourth") << 0x93u << u"WM_UAHINITMENU"_s;
    QTest::newRow("theme engine, fifth") << 0x94u << u"WM_UAHMEASUREMENUITEM"_s;
    QTest::newRow("theme engine, sixth") << 0x95u << u"WM_UAHNCPAINTMENUPOPUP"_s;
    QTest::newRow("stands twice") << 0xF5u << u"BM_CLICK"_s;
    QTest::newRow("not in the table, below WM_USER") << 0x96u << u"150 (0x0000000000000096)"_s;
    QTest::newRow("1023") << 1023u << u"1023 (0x00000000000003ff)"_s;
    QTest::newRow("1024") << 1024u << u"WM_USER"_s;
    QTest::newRow("1025") << 1025u << u"WM_USER + 1"_s;
    QTest::newRow("32767") << 32767u << u"WM_USER + 31743"_s;
    QTest::newRow("32768") << 32768u << u"32768 (0x0000000000008000)"_s;
    QTest::newRow("largest") << 0xFFFFFFFFu << u"4294967295 (0x00000000ffffffff)"_s;
}

void TestEventProtocol::windowMessages()
{
    QFETCH(unsigned, message);
    QFETCH(QString, name);
    QCOMPARE(s3QEventProtocol::windowMessageName(message), name);
}

void TestEventProtocol::everyWindowMessageIsAnswered()
{
    QHash<unsigned, QString> last;
    for (const s3WindowMessageName &row : s3WindowMessageNames)
        last.insert(row.message, QStringView(row.name).toString());
    for (auto row = last.cbegin(); row != last.cend(); ++row)
        QCOMPARE(s3QEventProtocol::windowMessageName(row.key()), row.value());
}

QTEST_GUILESS_MAIN(TestEventProtocol)
#include "tst_s3qeventprotocol.moc"
