#include "s3settingswithinheritance.h"

#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/tracerecorder.h"
#include "privatemembers.h"
#include "s3operatingsystem.h"
#include "s3string.h"
#include "settingsfixture.h"

#include <QTest>

#include <memory>
#include <type_traits>
#include <vector>

using namespace Qt::StringLiterals;

using Type = s3Settings::Type;

static_assert(std::has_virtual_destructor_v<s3SettingsWithInheritance>);

struct ChainMembers {
    friend auto membersOf(ChainMembers);
};
template struct ExposeMembers<ChainMembers, &s3SettingsWithInheritance::chain,
                              &s3SettingsWithInheritance::ownsSettings>;

namespace
{

const QByteArray mark("[version]\nformat=2\n");

// A chain of files, each with section "s" selected.
class Chain
{
public:
    explicit Chain(const QByteArrayList &contents)
    {
        for (const QByteArray &content : contents) {
            const QString name = u"%1.ini"_s.arg(m_settings.size());
            m_settings.push_back(
                std::make_unique<s3Settings>(m_fixture.masterFile("[s]\n" + content + '\n' + mark, name),
                                             s3Settings::LoadFlags(), u"s"_s));
            m_chain.addSettings(m_settings.back().get());
        }
    }

    [[nodiscard]] const s3SettingsWithInheritance *operator->() const { return &m_chain; }
    [[nodiscard]] s3Settings *at(size_t index) const { return m_settings.at(index).get(); }

private:
    SettingsFixture m_fixture;
    std::vector<std::unique_ptr<s3Settings>> m_settings;
    s3SettingsWithInheritance m_chain{nullptr};
};

// The stops as "r g b position", and "flag".
QStringList textOf(const s3ColorStops &gradient)
{
    QStringList text;
    for (qsizetype i = 0; i < gradient.count(); ++i) {
        const QColor color = gradient.colorAt(i);
        text += u"%1 %2 %3 %4"_s.arg(color.red())
                    .arg(color.green())
                    .arg(color.blue())
                    .arg(gradient.positionAt(i));
        if (color.alpha() != 255)
            text += u"not opaque"_s;
    }
    if (gradient.flag())
        text += u"flag"_s;
    return text;
}

}

class TestSettingsWithInheritance final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void membersInOrder();
    void emptyChain();
    void nullIsIgnored();
    void ownsSettingsOnRequest();
    void hasSection();
    void findsTheFirst();
    void readsTheFirst_data();
    void readsTheFirst();
    void firstHitIsFinal();
    void listOfKeys();
    void platformKeysComeFirst();
    void tracesTheHitAlone();
    void privateFilesValuesAreNotFound();
    void readsColors_data();
    void readsColors();
    void colorOutOfRange();
    void colorsAcrossTheChain();
    void readsGradients_data();
    void readsGradients();
    void gradientsAcrossTheChain();
    void gradientForThePlatform();
    void parsesGradientLists_data();
    void parsesGradientLists();
    void followsFiveReferences();
};

void TestSettingsWithInheritance::membersInOrder()
{
    QVERIFY(areMembersInOrder<ChainMembers>(s3SettingsWithInheritance(nullptr)));
}

void TestSettingsWithInheritance::emptyChain()
{
    const s3SettingsWithInheritance chain(nullptr);
    QCOMPARE(chain.findSettingsWithKey(u"a"_s), nullptr);
    QCOMPARE(chain.read(u"a"_s, u"default"_s), u"default"_s);
    QCOMPARE(chain.readInt(u"a"_s, 7), 7);
    QCOMPARE(chain.readBool(u"a"_s, true), true);
    QCOMPARE(chain.read(QStringList(), u"default"_s), u"default"_s);
    QCOMPARE(chain.readColor(u"a"_s, Qt::green), QColor(Qt::green));
    QCOMPARE(chain.readColor(u"red"_s, Qt::green), QColor(Qt::red));
    QCOMPARE(chain.readGradient(u"a"_s, s3ColorStops(Qt::green)), s3ColorStops(Qt::green));
    QVERIFY(!chain.hasSection(Type::File, QString()));
}

void TestSettingsWithInheritance::nullIsIgnored()
{
    const SettingsFixture fixture;
    s3Settings settings(fixture.masterFile("key=x\n" + mark));
    s3SettingsWithInheritance chain(nullptr);
    chain.addSettings(nullptr);
    chain.addSettings(&settings);
    chain.addSettings(nullptr);
    QCOMPARE(chain.read(u"key"_s, u"default"_s), u"x"_s);
    QCOMPARE(chain.read(u"none"_s, u"default"_s), u"default"_s);
    QVERIFY(!chain.hasSection(Type::Ini, u"general"_s));
}

void TestSettingsWithInheritance::ownsSettingsOnRequest()
{
    const SettingsFixture fixture;
    const QString path = fixture.path(u"master/a.ini"_s);
    {
        // Closing is what writes the file, so a file tells of a deletion.
        auto *settings = new s3Settings(path);
        {
            const s3SettingsWithInheritance chain(settings);
            QVERIFY(settings->write(u"key"_s, 1));
        }
        QVERIFY(!QFileInfo::exists(path));
        s3SettingsWithInheritance owner(settings);
        owner.setOwnsSettings(true);
    }
    QVERIFY(QFileInfo::exists(path));
    s3Settings back(path);
    {
        s3SettingsWithInheritance chain(&back);
        chain.setOwnsSettings(true);
        chain.setOwnsSettings(false);
    }
    QCOMPARE(back.readInt(u"key"_s), 1);
}

void TestSettingsWithInheritance::hasSection()
{
    const SettingsFixture fixture;
    QVERIFY(writeFile(fixture.path(u"gui/zerkgui.cfg"_s), mark));
    s3Settings file(fixture.masterFile(mark), {}, u"a"_s);
    s3Settings cfg(Type::Cfg);
    s3SettingsWithInheritance chain(&file);
    chain.addSettings(&cfg);
    QVERIFY(chain.hasSection(Type::File, u"a"_s));
    QVERIFY(!chain.hasSection(Type::File, u"A"_s));
    QVERIFY(!chain.hasSection(Type::File, u"general"_s));
    QVERIFY(!chain.hasSection(Type::Cfg, u"a"_s));
    QVERIFY(chain.hasSection(Type::Cfg, u"general"_s));
    QVERIFY(!chain.hasSection(Type::Cfg, u"General"_s));
    QVERIFY(!chain.hasSection(Type::Cfg, QString()));
    QVERIFY(!chain.hasSection(Type::Ini, u"general"_s));
    file.setSection(u"b"_s);
    QVERIFY(chain.hasSection(Type::File, u"b"_s));
}

void TestSettingsWithInheritance::findsTheFirst()
{
    const Chain chain({"a=1", "a=2\nb=2", "b=3\nc=\n"});
    QCOMPARE(chain->findSettingsWithKey(u"a"_s), chain.at(0));
    QCOMPARE(chain->findSettingsWithKey(u"b"_s), chain.at(1));
    QCOMPARE(chain->findSettingsWithKey(u"c"_s), chain.at(2));
    QCOMPARE(chain->findSettingsWithKey(u"d"_s), nullptr);
    QCOMPARE(chain->findSettingsWithKey(QString()), nullptr);
    chain.at(1)->setSection(u"none"_s);
    QCOMPARE(chain->findSettingsWithKey(u"b"_s), chain.at(2));
}

void TestSettingsWithInheritance::readsTheFirst_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("isOn");
    QTest::newRow("first of two") << u"a"_s << u"0x10"_s << 16 << false;
    QTest::newRow("second of three") << u"b"_s << u"2"_s << 2 << true;
    QTest::newRow("last") << u"c"_s << u"true"_s << 0 << true;
    QTest::newRow("empty in the first") << u"empty"_s << QString() << 7 << true;
    QTest::newRow("none") << u"none"_s << u"default"_s << 7 << true;
    QTest::newRow("no key") << QString() << u"default"_s << 7 << true;
}

void TestSettingsWithInheritance::readsTheFirst()
{
    QFETCH(const QString, key);
    QFETCH(const QString, text);
    QFETCH(const int, number);
    QFETCH(const bool, isOn);
    const Chain chain({"a=0x10\nempty=", "a=2\nb=2\nempty=3", "b=3\nc=true"});
    QCOMPARE(chain->read(key, u"default"_s), text);
    QCOMPARE(chain->readInt(key, 7), number);
    QCOMPARE(chain->readBool(key, true), isOn);
    QCOMPARE(chain->read(QStringList(key), u"default"_s), text);
    QCOMPARE(chain->readInt(QStringList(key), 7), number);
    QCOMPARE(chain->readBool(QStringList(key), true), isOn);
}

void TestSettingsWithInheritance::firstHitIsFinal()
{
    const Chain chain({"empty=\nword=many\nnone=@Invalid()", "empty=5\nword=5\nnone=5"});
    QCOMPARE(chain->readInt(u"empty"_s, 7), 7);
    QCOMPARE(chain->readBool(u"empty"_s, false), false);
    QCOMPARE(chain->read(u"empty"_s, u"default"_s), QString());
    QCOMPARE(chain->readInt(u"word"_s, 7), 0);
    QCOMPARE(chain->read(u"none"_s, u"default"_s), u"default"_s);
}

void TestSettingsWithInheritance::listOfKeys()
{
    const Chain chain({"b=first b", "a=second a\nb=second b"});
    QCOMPARE(chain->read(QStringList({u"a"_s, u"b"_s}), u"default"_s), u"second a"_s);
    QCOMPARE(chain->read(QStringList({u"b"_s, u"a"_s}), u"default"_s), u"first b"_s);
    QCOMPARE(chain->read(QStringList({QString(), u"none"_s, u"b"_s}), u"default"_s), u"first b"_s);
    QCOMPARE(chain->read(QStringList({QString(), u"none"_s}), u"default"_s), u"default"_s);
    QCOMPARE(chain->readInt(QStringList({u"a"_s, u"b"_s}), 7), 0);
}

void TestSettingsWithInheritance::platformKeysComeFirst()
{
    const QByteArray system = s3OperatingSystem::shortName().toUtf8();
    if (system.isEmpty())
        QSKIP("this system has no short name");
    const Chain chain({"a=1\nb=true", "a=2", "a." + system + "=3\nb." + system + "=0\nc." + system + "=4"});
    QCOMPARE(chain->read(u"a"_s, u"default"_s), u"3"_s);
    QCOMPARE(chain->readInt(u"a"_s, 7), 3);
    QCOMPARE(chain->readBool(u"b"_s, true), false);
    QCOMPARE(chain->readInt(u"c"_s, 7), 4);
    // A list is taken as it is.
    QCOMPARE(chain->readInt(QStringList(u"a"_s), 7), 1);
    QCOMPARE(chain->readInt(QStringList(u"c"_s), 7), 7);
}

void TestSettingsWithInheritance::tracesTheHitAlone()
{
    const Chain chain({"a=1", "b=2", "b=3\nnone=@Invalid()", "none=4"});
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    QCOMPARE(chain->read(u"b"_s, u"default"_s), u"2"_s);
    QCOMPARE(chain->readInt(u"none"_s, 7), 7);
    QCOMPARE(chain->read(u"missing"_s, u"default"_s), u"default"_s);
    const QString format
        = u"s3Settings::read(this=%1, key='%2' defaultValue='%3') file='%4' section='s' --> value='%5' "
          "typeName='%6'"_s;
    const auto self = [&chain](size_t index) {
        return s3String::fromHex(reinterpret_cast<quintptr>(chain.at(index)));
    };
    QCOMPARE(recorder.lines(),
             QStringList({format.arg(self(1), u"b"_s, u"default"_s, u"1.ini"_s, u"2"_s, u"QString"_s),
                          format.arg(self(2), u"none"_s, QString(), u"2.ini"_s, u"(QMetaType::UnknownType)"_s,
                                     QString())}));
}

// What only the compiled-in file has is not in the file, so the next one is asked.
void TestSettingsWithInheritance::privateFilesValuesAreNotFound()
{
    const SettingsFixture fixture;
    QVERIFY(writeFile(fixture.path(u"gui/zerkgui.ini"_s), "[version]\nother=x\n"));
    s3Settings ini(Type::IniWithPrivate, u"version"_s);
    s3Settings file(fixture.masterFile("[version]\nformat=2\nonly=file\n"), {}, u"version"_s);
    ini.removeKey(u"format"_s);
    QCOMPARE(ini.read(u"format"_s), u"2"_s);
    QVERIFY(!ini.hasKey(u"format"_s));
    s3SettingsWithInheritance chain(&ini);
    QCOMPARE(chain.read(u"format"_s, u"default"_s), u"default"_s);
    chain.addSettings(&file);
    QCOMPARE(chain.findSettingsWithKey(u"format"_s), &file);
}

void TestSettingsWithInheritance::readsColors_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QColor>("expected");
    const QColor byDefault(Qt::green);
    QTest::newRow("numbers") << QByteArray("key=10, 20, 30") << QColor(10, 20, 30);
    QTest::newRow("numbers in quotes") << QByteArray("key=\"10,20,30\"") << QColor(10, 20, 30);
    QTest::newRow("other bases") << QByteArray("key=0x10 010 0") << QColor(16, 8, 0);
    QTest::newRow("four numbers") << QByteArray("key=1, 2, 3, 4") << QColor(1, 2, 3, 255);
    QTest::newRow("five numbers") << QByteArray("key=1, 2, 3, 4, 5") << QColor(1, 2, 3, 255);
    QTest::newRow("two numbers") << QByteArray("key=1, 2") << byDefault;
    QTest::newRow("words in a list are 0") << QByteArray("key=red, 20, blue") << QColor(0, 20, 0);
    QTest::newRow("colour name") << QByteArray("key=blue") << QColor(Qt::blue);
    QTest::newRow("hash") << QByteArray("key=#102030") << QColor(16, 32, 48);
    QTest::newRow("two words") << QByteArray("key=light blue") << byDefault;
    QTest::newRow("missing") << QByteArray("other=1,2,3") << byDefault;
    QTest::newRow("empty") << QByteArray("key=") << byDefault;
    QTest::newRow("one number is a key") << QByteArray("key=5\n5=1, 2, 3") << QColor(1, 2, 3);
    QTest::newRow("one number without its key") << QByteArray("key=5") << byDefault;
    QTest::newRow("reference") << QByteArray("key=other\nother=10, 20, 30") << QColor(10, 20, 30);
    QTest::newRow("reference to nothing") << QByteArray("key=other") << byDefault;
    QTest::newRow("reference to a name") << QByteArray("key=other\nother=red") << QColor(Qt::red);
    QTest::newRow("circle of two") << QByteArray("key=other\nother=key") << byDefault;
    QTest::newRow("circle of one") << QByteArray("key=key") << byDefault;
}

void TestSettingsWithInheritance::readsColors()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QColor, expected);
    const Chain chain({content});
    QCOMPARE(chain->readColor(u"key"_s, Qt::green), expected);
    QCOMPARE(chain->readColor(QString(), Qt::green), QColor(Qt::green));
    if (expected == QColor(Qt::green))
        QVERIFY(!chain->readColor(u"key"_s, QColor()).isValid());
}

// Three numbers are a colour, whether there is such a one or not.
void TestSettingsWithInheritance::colorOutOfRange()
{
    const Chain chain({"key=256, 0, 0\nnegative=-1, 0, 0"});
    QVERIFY(!chain->readColor(u"key"_s, Qt::green).isValid());
    QVERIFY(!chain->readColor(u"negative"_s, Qt::green).isValid());
}

void TestSettingsWithInheritance::colorsAcrossTheChain()
{
    const Chain chain({"key=other\nred=1,2,3", "key=1,1,1\nthird=7,8,9", "other=third"});
    QCOMPARE(chain->readColor(u"key"_s, Qt::green), QColor(7, 8, 9));
    // The name of a colour never reaches a file.
    QCOMPARE(chain->readColor(u"red"_s, Qt::green), QColor(Qt::red));
}

void TestSettingsWithInheritance::readsGradients_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("expected");
    const QStringList byDefault{u"0 255 0 0"_s};
    const QString red = u"255 0 0 0"_s;
    QTest::newRow("two stops of words")
        << QByteArray("key=red, 0, blue, 100") << QStringList{red, u"0 0 255 100"_s};
    QTest::newRow("two stops of numbers")
        << QByteArray("key=1,2,3,10, 4,5,6,90") << QStringList{u"1 2 3 10"_s, u"4 5 6 90"_s};
    QTest::newRow("3 items") << QByteArray("key=1,2,3") << QStringList{u"1 2 3 0"_s};
    QTest::newRow("7 items") << QByteArray("key=1,2,3,10, 4,5,6")
                             << QStringList{u"1 2 3 10"_s, u"4 5 6 100"_s};
    QTest::newRow("11 items") << QByteArray("key=1,2,3,10, 4,5,6,20, 7,8,9")
                              << QStringList{u"1 2 3 10"_s, u"4 5 6 20"_s, u"7 8 9 100"_s};
    QTest::newRow("flag") << QByteArray("key=1,2,3,10, 1") << QStringList{u"1 2 3 10"_s, u"flag"_s};
    QTest::newRow("flag 0") << QByteArray("key=1,2,3,10, 0") << QStringList{u"1 2 3 10"_s};
    QTest::newRow("flag after two stops")
        << QByteArray("key=1,2,3,10, 4,5,6,20, -1") << QStringList{u"1 2 3 10"_s, u"4 5 6 20"_s, u"flag"_s};
    QTest::newRow("6 items") << QByteArray("key=0, 0, 0, 255, 255, 255")
                             << QStringList{u"0 0 0 100"_s, u"flag"_s};
    QTest::newRow("positions never fall")
        << QByteArray("key=1,2,3,60, 4,5,6,20") << QStringList{u"1 2 3 60"_s, u"4 5 6 60"_s};
    QTest::newRow("a word for a position")
        << QByteArray("key=red start blue end") << QStringList{red, u"0 0 255 100"_s};
    QTest::newRow("2 items") << QByteArray("key=1, 2") << byDefault;
    QTest::newRow("empty") << QByteArray("key=") << byDefault;
    QTest::newRow("missing") << QByteArray("other=1,2,3") << byDefault;
    QTest::newRow("colour name") << QByteArray("key=red") << QStringList{red};
    QTest::newRow("reference") << QByteArray("key=other\nother=1,2,3,10") << QStringList{u"1 2 3 10"_s};
    QTest::newRow("reference to nothing") << QByteArray("key=other") << byDefault;
    QTest::newRow("one number is a reference")
        << QByteArray("key=5\n5=1,2,3,10") << QStringList{u"1 2 3 10"_s};
    QTest::newRow("circle") << QByteArray("key=other\nother=key") << byDefault;
    QTest::newRow("number out of range")
        << QByteArray("key=256,0,0,10, 4,5,6,20") << QStringList{u"4 5 6 20"_s};
    QTest::newRow("key of a colour") << QByteArray("key=mine, 0, blue, 100\nmine=1,2,3")
                                     << QStringList{u"1 2 3 0"_s, u"0 0 255 100"_s};
}

void TestSettingsWithInheritance::readsGradients()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QStringList, expected);
    const Chain chain({content});
    const s3ColorStops byDefault(Qt::green);
    QCOMPARE(textOf(chain->readGradient(u"key"_s, byDefault)), expected);
    QCOMPARE(chain->readGradient(QString(), byDefault), byDefault);
}

void TestSettingsWithInheritance::gradientsAcrossTheChain()
{
    const Chain chain({"key=other", "other=mine, 0, blue, 100", "mine=1,2,3"});
    QCOMPARE(textOf(chain->readGradient(u"key"_s, s3ColorStops())),
             QStringList({u"1 2 3 0"_s, u"0 0 255 100"_s}));
    QCOMPARE(chain->readGradient(u"red"_s, s3ColorStops()), s3ColorStops(Qt::red));
}

void TestSettingsWithInheritance::gradientForThePlatform()
{
    const QByteArray system = s3OperatingSystem::shortName().toUtf8();
    if (system.isEmpty())
        QSKIP("this system has no short name");
    const Chain chain({"key=1,2,3\nplain=7,8,9", "key." + system + "=4,5,6"});
    QCOMPARE(textOf(chain->readGradientForPlatform(u"key"_s, s3ColorStops())), QStringList(u"4 5 6 0"_s));
    QCOMPARE(textOf(chain->readGradientForPlatform(u"plain"_s, s3ColorStops())), QStringList(u"7 8 9 0"_s));
    QCOMPARE(chain->readGradientForPlatform(u"none"_s, s3ColorStops(Qt::green)), s3ColorStops(Qt::green));
    QCOMPARE(chain->readGradientForPlatform(QString(), s3ColorStops(Qt::green)), s3ColorStops(Qt::green));
    QCOMPARE(textOf(chain->readGradient(u"key"_s, s3ColorStops())), QStringList(u"1 2 3 0"_s));
}

void TestSettingsWithInheritance::parsesGradientLists_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("expected");
    using Numbers = QList<int>;
    QTest::newRow("empty") << QString() << Numbers();
    QTest::newRow("separators alone") << u", \t ,"_s << Numbers();
    QTest::newRow("one word") << u"other"_s << Numbers{0};
    QTest::newRow("one number") << u"255"_s << Numbers{0};
    QTest::newRow("one colour") << u"red"_s << Numbers{0};
    QTest::newRow("one part among separators") << u" ,red, "_s << Numbers{0};
    QTest::newRow("numbers") << u"1,2 3\t4"_s << Numbers{1, 2, 3, 4};
    QTest::newRow("bases and signs") << u"0x10, 010, -1, +2"_s << Numbers{16, 8, -1, 2};
    QTest::newRow("stops of words") << u"red, 0, blue, 100"_s << Numbers{255, 0, 0, 0, 0, 0, 255, 100};
    QTest::newRow("words alone") << u"red blue"_s << Numbers{255, 0, 0, 0};
    QTest::newRow("three words") << u"red blue green"_s << Numbers{255, 0, 0, 0, 0, 128, 0};
    QTest::newRow("four words") << u"red blue lime blue"_s << Numbers{255, 0, 0, 0, 0, 255, 0, 100};
    QTest::newRow("word where a number of a colour is due") << u"1, red, 3, 4"_s << Numbers{1, 0, 3, 4};
    QTest::newRow("word where the third number is due") << u"1, 2, red, 4"_s << Numbers{1, 2, 0, 4};
    QTest::newRow("unknown word for a colour") << u"nonsense, 2, 3, 4"_s << Numbers{0, 2, 3, 4};
    QTest::newRow("first position") << u"1, 2, 3, x"_s << Numbers{1, 2, 3, 0};
    QTest::newRow("later position") << u"1, 2, 3, 4, 5, 6, 7, x"_s << Numbers{1, 2, 3, 4, 5, 6, 7, 100};
    QTest::newRow("key of a colour") << u"mine, 5"_s << Numbers{7, 8, 9, 5};
    QTest::newRow("too large a number") << u"99999999999, 1"_s << Numbers{0, 1};
}

void TestSettingsWithInheritance::parsesGradientLists()
{
    QFETCH(const QString, text);
    QFETCH(const QList<int>, expected);
    const Chain chain({"mine=7, 8, 9"});
    QCOMPARE(chain->parseGradientList(text), expected);
}

void TestSettingsWithInheritance::followsFiveReferences()
{
    const Chain chain({"k1=k2\nk2=k3\nk3=k4\nk4=k5\nk5=1,2,3\nname=n2\nn2=n3\nn3=n4\nn4=n5\nn5=red\n"
                       "k0=k1"});
    const QColor byDefault(Qt::green);
    QCOMPARE(chain->readColor(u"k1"_s, byDefault), QColor(1, 2, 3));
    QCOMPARE(chain->readColor(u"k0"_s, byDefault), byDefault);
    QCOMPARE(chain->readColor(u"n2"_s, byDefault), QColor(Qt::red));
    QCOMPARE(chain->readColor(u"name"_s, byDefault), byDefault);
    const s3ColorStops noGradient(byDefault);
    QCOMPARE(textOf(chain->readGradient(u"k1"_s, noGradient)), QStringList(u"1 2 3 0"_s));
    QCOMPARE(chain->readGradient(u"k0"_s, noGradient), noGradient);
    QCOMPARE(chain->readGradient(u"n2"_s, noGradient), s3ColorStops(Qt::red));
    QCOMPARE(chain->readGradient(u"name"_s, noGradient), noGradient);
}

QTEST_GUILESS_MAIN(TestSettingsWithInheritance)
#include "tst_s3settingswithinheritance.moc"
