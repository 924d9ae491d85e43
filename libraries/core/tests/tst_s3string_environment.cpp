#include "s3string.h"

#include "ostrelletest/scopedenvironment.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/tracerecorder.h"
#include "s3string_p.h"

#include <QHash>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestStringEnvironment final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void expands_data();
    void expands();
    void expandsFromTheProcessEnvironment();
    void takesASnapshotAtEachCall();
    void namesCompareLikeTheSystems();
    void flag277SwitchesItOff();
    void flag276TracesIt();
    void asksForEachNameOnce();
    void everyTextAsOneReplacementAfterTheOther_data();
    void everyTextAsOneReplacementAfterTheOther();
    void longTexts_data();
    void longTexts();
};

namespace
{

using Environment = QHash<QString, QString>;

s3EnvironmentLookup lookupIn(const Environment &environment)
{
    return [&environment](const QString &name) -> std::optional<QString> {
        const auto found = environment.constFind(name);
        return found == environment.cend() ? std::nullopt : std::optional(*found);
    };
}

// The definition: the matches of the text as it is before a form is applied, one replaced everywhere
// after the other.
QString expandedByDefinition(QString text, const Environment &environment)
{
    static const QRegularExpression percentForm(u"(\\%([^\\%]+)\\%)"_s);
    static const QRegularExpression braceForm(u"(\\$\\{([^\\}]+)\\})"_s);
    for (const QRegularExpression *form : {&percentForm, &braceForm}) {
        QRegularExpressionMatchIterator matches = form->globalMatch(text);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            if (environment.contains(match.captured(2)))
                text.replace(match.captured(1), environment.value(match.captured(2)));
        }
    }
    return text;
}

}

void TestStringEnvironment::expands_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Environment>("environment");
    QTest::addColumn<QString>("expected");
    const Environment one{{u"A"_s, u"1"_s}};
    QTest::newRow("both forms, unknown name") << u"%A%-%B%-${A}"_s << one << u"1-%B%-1"_s;
    QTest::newRow("unknown name in braces") << u"${B}${A}"_s << one << u"${B}1"_s;
    QTest::newRow("percent value passes through braces")
        << u"%A%"_s << Environment{{u"A"_s, u"${C}"_s}, {u"C"_s, u"x"_s}} << u"x"_s;
    QTest::newRow("brace value stays")
        << u"${A}"_s << Environment{{u"A"_s, u"%C%"_s}, {u"C"_s, u"x"_s}} << u"%C%"_s;
    QTest::newRow("brace value with braces stays")
        << u"${A}"_s << Environment{{u"A"_s, u"${C}"_s}, {u"C"_s, u"x"_s}} << u"${C}"_s;
    QTest::newRow("percent value with percent signs stays")
        << u"%A%"_s << Environment{{u"A"_s, u"%C%"_s}, {u"C"_s, u"x"_s}} << u"%C%"_s;
    QTest::newRow("twice") << u"%A% and %A%"_s << one << u"1 and 1"_s;
    QTest::newRow("empty value") << u"a%E%b${E}c"_s << Environment{{u"E"_s, QString()}} << u"abc"_s;
    QTest::newRow("empty name") << u"%%A%%"_s << one << u"%1%"_s;
    QTest::newRow("empty name in braces") << u"${}${A}"_s << one << u"${}1"_s;
    QTest::newRow("neighbours") << u"%A%%B%"_s << Environment{{u"A"_s, u"1"_s}, {u"B"_s, u"2"_s}} << u"12"_s;
    QTest::newRow("sign left over") << u"100% of %A%"_s << one << u"100% of %A%"_s;
    QTest::newRow("unclosed") << u"%A ${A"_s << one << u"%A ${A"_s;
    QTest::newRow("case counts") << u"%a%"_s << one << u"%a%"_s;
    QTest::newRow("name with other characters")
        << u"%a b\n(ä)%"_s << Environment{{u"a b\n(ä)"_s, u"1"_s}} << u"1"_s;
    QTest::newRow("name in braces with an opening")
        << u"${a${b}"_s << Environment{{u"a${b"_s, u"1"_s}, {u"b"_s, u"2"_s}} << u"1"_s;
    QTest::newRow("a later name comes in by a value")
        << u"%A%%B%"_s << Environment{{u"A"_s, u"%B%"_s}, {u"B"_s, u"2"_s}} << u"22"_s;
    QTest::newRow("an earlier name comes in by a value")
        << u"%B%%A%"_s << Environment{{u"A"_s, u"%B%"_s}, {u"B"_s, u"2"_s}} << u"2%B%"_s;
    QTest::newRow("an earlier name comes in and has its turn again")
        << u"%A%%B%%A%"_s << Environment{{u"A"_s, u"1"_s}, {u"B"_s, u"%A%"_s}} << u"111"_s;
    QTest::newRow("an earlier name comes in after it was missing")
        << u"%A%%A%%B%%A%"_s << Environment{{u"A"_s, u"1"_s}, {u"B"_s, u"%A%"_s}} << u"1111"_s;
    QTest::newRow("a value with its own name")
        << u"%A%%A%"_s << Environment{{u"A"_s, u"x%A%"_s}} << u"xx%A%xx%A%"_s;
    QTest::newRow("a known name between two references")
        << u"%X%A%Y%A%A%"_s << one << expandedByDefinition(u"%X%A%Y%A%A%"_s, one);
    QTest::newRow("a name closed to a whole by a value")
        << u"%%A%B%%%B%"_s << Environment{{u"A"_s, QString()}, {u"B"_s, u"2"_s}} << u"2%2"_s;
    QTest::newRow("a mark closed to a whole by an empty value")
        << u"$${E}{A}${A}"_s << Environment{{u"E"_s, QString()}, {u"A"_s, u"1"_s}} << u"11"_s;
    QTest::newRow("no reference") << u"plain text"_s << one << u"plain text"_s;
    QTest::newRow("empty") << QString() << one << QString();
    QTest::newRow("half of a pair") << QString(QChar(0xd83d)) + u"%A%"_s << one
                                    << QString(QChar(0xd83d)) + u"1"_s;
}

void TestStringEnvironment::expands()
{
    QFETCH(QString, text);
    QFETCH(Environment, environment);
    s3ExpandEnvironmentReferences(text, lookupIn(environment));
    QTEST(text, "expected");
}

void TestStringEnvironment::expandsFromTheProcessEnvironment()
{
    const ScopedEnvironment a("OSTRELLE_TEST_A", "${OSTRELLE_TEST_C}");
    const ScopedEnvironment b("OSTRELLE_TEST_B", QByteArray());
    const ScopedEnvironment c("OSTRELLE_TEST_C", "x y");
    s3String text = u"%OSTRELLE_TEST_A%-%OSTRELLE_TEST_B%-${OSTRELLE_TEST_C}"_s;
    QCOMPARE(&text.expandEnvironmentStrings(), &text);
    QCOMPARE(text, u"x y-%OSTRELLE_TEST_B%-x y"_s);
}

void TestStringEnvironment::takesASnapshotAtEachCall()
{
    for (const char *value : {"1", "2"}) {
        const ScopedEnvironment a("OSTRELLE_TEST_A", value);
        QCOMPARE(s3String(u"%OSTRELLE_TEST_A%"_s).expandEnvironmentStrings(), QString::fromLatin1(value));
    }
    QCOMPARE(s3String(u"%OSTRELLE_TEST_A%"_s).expandEnvironmentStrings(), u"%OSTRELLE_TEST_A%"_s);
}

void TestStringEnvironment::namesCompareLikeTheSystems()
{
    const ScopedEnvironment a("OSTRELLE_TEST_A", "1");
    const bool ignoresCase = QProcessEnvironment::systemEnvironment().contains(u"ostrelle_test_a"_s);
    QCOMPARE(s3String(u"%ostrelle_test_a%"_s).expandEnvironmentStrings(),
             ignoresCase ? u"1"_s : u"%ostrelle_test_a%"_s);
}

void TestStringEnvironment::flag277SwitchesItOff()
{
    const ScopedEnvironment a("OSTRELLE_TEST_A", "1");
    const ScopedTestFlag trace(276);
    const ScopedTestFlag off(277);
    const TraceRecorder recorder;
    QCOMPARE(s3String(u"%OSTRELLE_TEST_A%"_s).expandEnvironmentStrings(), u"%OSTRELLE_TEST_A%"_s);
    QCOMPARE(recorder.lines(), QStringList());
}

void TestStringEnvironment::flag276TracesIt()
{
    const ScopedEnvironment a("OSTRELLE_TEST_A", "1");
    const ScopedTestFlag trace(276);
    const TraceRecorder recorder;
    QCOMPARE(s3String(u"%OSTRELLE_TEST_A% %1"_s).expandEnvironmentStrings(), u"1 %1"_s);
    QCOMPARE(recorder.lines(),
             (QStringList{u"s3String::expandEnvironmentStrings(1) str='%OSTRELLE_TEST_A% %1'"_s,
                          u"s3String::expandEnvironmentStrings(2) str='1 %1'"_s}));
}

void TestStringEnvironment::asksForEachNameOnce()
{
    QStringList asked;
    QString text = u"%A%%B%%A%${A}${A}"_s;
    s3ExpandEnvironmentReferences(text, [&](const QString &name) {
        asked += name;
        return std::optional(name.toLower());
    });
    QCOMPARE(text, u"abaaa"_s);
    QCOMPARE(asked, (QStringList{u"A"_s, u"B"_s, u"A"_s}));
}

void TestStringEnvironment::everyTextAsOneReplacementAfterTheOther_data()
{
    QTest::addColumn<QString>("alphabet");
    QTest::addColumn<int>("length");
    QTest::addColumn<Environment>("environment");
    const QString percent = u"%AB"_s;
    const QString brace = u"${}A"_s;
    QTest::newRow("plain values") << percent << 8 << Environment{{u"A"_s, u"x"_s}, {u"B"_s, u"y"_s}};
    QTest::newRow("one unknown") << percent << 8 << Environment{{u"B"_s, u"y"_s}};
    QTest::newRow("empty value") << percent << 8 << Environment{{u"A"_s, QString()}, {u"B"_s, u"y"_s}};
    QTest::newRow("values that are names")
        << percent << 8
        << Environment{{u"A"_s, u"B"_s}, {u"B"_s, u"A"_s}, {u"BB"_s, u"B"_s}, {u"AB"_s, u"y"_s}};
    QTest::newRow("values with percent signs")
        << percent << 8 << Environment{{u"A"_s, u"%"_s}, {u"B"_s, u"y"_s}, {u"AB"_s, u"%A"_s}};
    QTest::newRow("values with references")
        << percent << 8 << Environment{{u"A"_s, u"%B%"_s}, {u"B"_s, u"%A%"_s}, {u"AA"_s, u"1%AA%"_s}};
    QTest::newRow("braces, plain value") << brace << 7 << Environment{{u"A"_s, u"x"_s}, {u"AA"_s, u"A"_s}};
    QTest::newRow("braces, empty value") << brace << 7 << Environment{{u"A"_s, QString()}};
    QTest::newRow("braces, values with marks")
        << brace << 7 << Environment{{u"A"_s, u"$"_s}, {u"AA"_s, u"{A}"_s}, {u"{"_s, u"}"_s}};
    QTest::newRow("braces, names with marks")
        << brace << 7
        << Environment{{u"A"_s, u"x"_s}, {u"${A"_s, u"y"_s}, {u"{A"_s, u"${A}"_s}, {u"$"_s, QString()}};
}

void TestStringEnvironment::everyTextAsOneReplacementAfterTheOther()
{
    QFETCH(QString, alphabet);
    QFETCH(int, length);
    QFETCH(Environment, environment);
    int number = 1;
    for (int digit = 0; digit < length; ++digit)
        number *= int(alphabet.size());
    QString text(length, Qt::Uninitialized);
    while (number-- > 0) {
        for (int digit = 0, rest = number; digit < length; ++digit, rest /= int(alphabet.size()))
            text[digit] = alphabet.at(rest % int(alphabet.size()));
        QString expanded = text;
        s3ExpandEnvironmentReferences(expanded, lookupIn(environment));
        const QString expected = expandedByDefinition(text, environment);
        QVERIFY2(expanded == expected,
                 qPrintable(s3String::arg(u"%1: %2, expected %3"_s, text, expanded, expected)));
    }
}

void TestStringEnvironment::longTexts_data()
{
    QTest::addColumn<QString>("piece");
    QTest::addColumn<Environment>("environment");
    QTest::addColumn<QString>("expectedPiece");
    const Environment two{{u"A"_s, u"value"_s}, {u"E"_s, QString()}};
    QTest::newRow("references") << u"text %A% ${A}/"_s << two << u"text value value/"_s;
    QTest::newRow("empty values in a row") << u"%E%"_s << two << QString();
    QTest::newRow("unclosed braces") << u"${"_s << two << u"${"_s;
    QTest::newRow("empty references") << u"%%${}"_s << two << u"%%${}"_s;
    QTest::newRow("unknown names") << u"%X%${X}"_s << two << u"%X%${X}"_s;
    QTest::newRow("known names between references") << u"%X%A%Y%%A% "_s << two << u"%XvalueY%value "_s;
    QTest::newRow("values with marks") << u"%A% "_s << Environment{{u"A"_s, u"%"_s}} << u"% "_s;
}

void TestStringEnvironment::longTexts()
{
    QFETCH(QString, piece);
    QFETCH(Environment, environment);
    QFETCH(QString, expectedPiece);
    static constexpr int repetitions = 50000;
    QString text = piece.repeated(repetitions);
    s3ExpandEnvironmentReferences(text, lookupIn(environment));
    QVERIFY(text == expectedPiece.repeated(repetitions));
}

QTEST_GUILESS_MAIN(TestStringEnvironment)
#include "tst_s3string_environment.moc"
