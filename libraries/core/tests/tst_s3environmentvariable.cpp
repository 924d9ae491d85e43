#include "s3environmentvariable.h"

#include "ostrelletest/scopedenvironment.h"

#include <QList>
#include <QProcessEnvironment>
#include <QTest>

using namespace Qt::StringLiterals;

class TestEnvironmentVariable final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAtConstruction();
    void unsetVariable();
    void setChangesTheProcess();
    void settingAnEmptyTextRemoves();
    void restoreSetVariable();
    void restoreUnsetVariable();
    void clearRemoves();
    void valueIsNotReadAgain();
    void testsReadAgain();
    void emptyNameIsNoVariable();
    void refusedNameChangesNothing();
    void textBeyondAscii();
    void longText();
    void recordsCanBeCopied();
};

namespace
{

constexpr const char *variable = "OSTRELLE_TEST_VARIABLE";

QString variableName()
{
    return QString::fromLatin1(variable);
}

}

void TestEnvironmentVariable::readsAtConstruction()
{
    const ScopedEnvironment environment(variable, "first");
    const s3EnvironmentVariable record(variableName());
    QCOMPARE(record.name(), variableName());
    QCOMPARE(record.value(), u"first"_s);
    QCOMPARE(record.savedValue(), u"first"_s);
}

void TestEnvironmentVariable::unsetVariable()
{
    const ScopedEnvironment environment(variable, QByteArray());
    s3EnvironmentVariable record(variableName());
    QCOMPARE(record.value(), QString());
    QVERIFY(!record.isSet());
    QVERIFY(record.isEmpty());
    record.clear();
    QVERIFY(!record.isSet());
}

void TestEnvironmentVariable::setChangesTheProcess()
{
    const ScopedEnvironment environment(variable, "first");
    s3EnvironmentVariable record(variableName());
    record.set(u"second"_s);
    QCOMPARE(record.value(), u"second"_s);
    QCOMPARE(record.savedValue(), u"first"_s);
    QCOMPARE(qEnvironmentVariable(variable), u"second"_s);
    QCOMPARE(QProcessEnvironment::systemEnvironment().value(variableName()), u"second"_s);
    QVERIFY(record.isSet());
    QVERIFY(!record.isEmpty());
}

void TestEnvironmentVariable::settingAnEmptyTextRemoves()
{
    const ScopedEnvironment environment(variable, "first");
    s3EnvironmentVariable record(variableName());
    record.set(QString());
    QCOMPARE(record.value(), QString());
    QVERIFY(!record.isSet());
    QVERIFY(!qEnvironmentVariableIsSet(variable));
}

void TestEnvironmentVariable::restoreSetVariable()
{
    const ScopedEnvironment environment(variable, "first");
    s3EnvironmentVariable record(variableName());
    record.set(u"second"_s);
    record.restore();
    QCOMPARE(record.value(), u"first"_s);
    QCOMPARE(qEnvironmentVariable(variable), u"first"_s);
    record.set(QString());
    record.restore();
    QCOMPARE(qEnvironmentVariable(variable), u"first"_s);
}

void TestEnvironmentVariable::restoreUnsetVariable()
{
    const ScopedEnvironment environment(variable, QByteArray());
    s3EnvironmentVariable record(variableName());
    record.set(u"x"_s);
    QVERIFY(record.isSet());
    record.restore();
    QVERIFY(!record.isSet());
    QVERIFY(!qEnvironmentVariableIsSet(variable));
}

void TestEnvironmentVariable::clearRemoves()
{
    const ScopedEnvironment environment(variable, "first");
    s3EnvironmentVariable record(variableName());
    record.clear();
    QCOMPARE(record.value(), QString());
    QCOMPARE(record.savedValue(), u"first"_s);
    QVERIFY(!qEnvironmentVariableIsSet(variable));
}

void TestEnvironmentVariable::valueIsNotReadAgain()
{
    const ScopedEnvironment environment(variable, "first");
    s3EnvironmentVariable record(variableName());
    s3EnvironmentVariable(variableName()).set(u"second"_s);
    QCOMPARE(record.value(), u"first"_s);
    QCOMPARE(&record.read(), &record.value());
    QCOMPARE(record.value(), u"second"_s);
}

void TestEnvironmentVariable::testsReadAgain()
{
    const ScopedEnvironment environment(variable, QByteArray());
    s3EnvironmentVariable record(variableName());
    s3EnvironmentVariable other(variableName());
    other.set(u"second"_s);
    QVERIFY(record.isSet());
    QCOMPARE(record.value(), u"second"_s);
    other.set(u"third"_s);
    QVERIFY(!record.isEmpty());
    QCOMPARE(record.value(), u"third"_s);
    other.set(u"fourth"_s);
    record.clear();
    QVERIFY(!other.isSet());
}

void TestEnvironmentVariable::emptyNameIsNoVariable()
{
    s3EnvironmentVariable record{QString()};
    record.set(u"x"_s);
    QCOMPARE(record.value(), QString());
    QVERIFY(!record.isSet());
    QVERIFY(record.isEmpty());
    record.clear();
    record.restore();
    QCOMPARE(record.read(), QString());
}

void TestEnvironmentVariable::refusedNameChangesNothing()
{
    const auto before = QProcessEnvironment::systemEnvironment();
    s3EnvironmentVariable record(u"OSTRELLE=TEST"_s);
    record.set(u"x"_s);
    QCOMPARE(record.value(), QString());
    record.set(QString());
    QVERIFY(QProcessEnvironment::systemEnvironment() == before);
}

void TestEnvironmentVariable::textBeyondAscii()
{
    const ScopedEnvironment environment(variable, QByteArray());
    s3EnvironmentVariable record(variableName());
    record.set(u"Größe €"_s);
    QCOMPARE(record.read(), u"Größe €"_s);
    QCOMPARE(QProcessEnvironment::systemEnvironment().value(variableName()), u"Größe €"_s);
}

void TestEnvironmentVariable::longText()
{
    const ScopedEnvironment environment(variable, QByteArray());
    s3EnvironmentVariable record(variableName());
    const QString text = u"x"_s.repeated(20000);
    record.set(text);
    QCOMPARE(record.read(), text);
}

void TestEnvironmentVariable::recordsCanBeCopied()
{
    const ScopedEnvironment environment(variable, "first");
    QList<s3EnvironmentVariable> records{s3EnvironmentVariable(variableName())};
    records.first().set(u"second"_s);
    s3EnvironmentVariable copy = records.first();
    copy.restore();
    QCOMPARE(records.first().value(), u"second"_s);
    QCOMPARE(records.first().read(), u"first"_s);
}

QTEST_APPLESS_MAIN(TestEnvironmentVariable)
#include "tst_s3environmentvariable.moc"
