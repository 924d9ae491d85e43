#include "platform/symbolname.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSymbolName final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void name_data();
    void name();
};

void TestSymbolName::name_data()
{
    QTest::addColumn<QByteArray>("symbol");
    QTest::addColumn<QString>("name");

    QTest::newRow("C") << "qsort"_ba << u"qsort"_s;
    QTest::newRow("main") << "main"_ba << u"main"_s;
    QTest::newRow("empty") << ""_ba << QString();
    QTest::newRow("not a C++ name") << "_Zebra"_ba << u"_Zebra"_s;
    QTest::newRow("only the mark") << "_Z"_ba << u"_Z"_s;
    QTest::newRow("C++ without parameters") << "_Z12s3ForceFaultv"_ba << u"s3ForceFault"_s;
    QTest::newRow("namespace and parameters")
        << "_ZN5known9innermostERKSt8functionIFvvEE"_ba << u"known::innermost"_s;
    QTest::newRow("member") << "_ZN8s3String6toBoolEv"_ba << u"s3String::toBool"_s;
    QTest::newRow("constant member") << "_ZNK8s3String6toBoolEv"_ba << u"s3String::toBool"_s;
    QTest::newRow("reference-qualified member") << "_ZNR1A1fEv"_ba << u"A::f"_s;
    QTest::newRow("constructor") << "_ZN8s3StringC1Ev"_ba << u"s3String::s3String"_s;
    QTest::newRow("destructor") << "_ZN8s3StringD1Ev"_ba << u"s3String::~s3String"_s;
    QTest::newRow("function pointer parameter") << "_Z1fPFvPFviEE"_ba << u"f"_s;
    QTest::newRow("template with result") << "_Z1fIiEvT_"_ba << u"f<int>"_s;
    QTest::newRow("template with a long result")
        << "_Z1fISt6vectorIiSaIiEEET_v"_ba << u"f<std::vector<int, std::allocator<int> > >"_s;
    QTest::newRow("anonymous namespace") << "_ZN12_GLOBAL__N_11fEi"_ba << u"(anonymous namespace)::f"_s;
    QTest::newRow("member of an anonymous class")
        << "_ZN12_GLOBAL__N_11A1fEv"_ba << u"(anonymous namespace)::A::f"_s;
    QTest::newRow("lambda") << "_ZZ4mainENKUlvE_clEv"_ba << u"main::{lambda()#1}::operator()"_s;
    QTest::newRow("call operator") << "_ZN1AclEi"_ba << u"A::operator()"_s;
    QTest::newRow("less") << "_ZN1AltERKS_"_ba << u"A::operator<"_s;
    QTest::newRow("arrow") << "_ZN1AptEv"_ba << u"A::operator->"_s;
    QTest::newRow("conversion") << "_ZN1AcvbEv"_ba << u"A::operator bool"_s;
    QTest::newRow("conversion of two words") << "_ZN1AcvjEv"_ba << u"A::operator unsigned int"_s;
    QTest::newRow("new") << "_Znwm"_ba << u"operator new"_s;
    QTest::newRow("virtual table") << "_ZTV8s3String"_ba << u"vtable for s3String"_s;
    QTest::newRow("variable") << "_ZN5known16stepOfComparisonE"_ba << u"known::stepOfComparison"_s;
    QTest::newRow("variable of an anonymous namespace")
        << "_ZN12_GLOBAL__N_17handlerE"_ba << u"(anonymous namespace)::handler"_s;
    QTest::newRow("clone") << "_Z1fv.cold"_ba << u"f"_s;
    QTest::newRow("ABI tag") << "_Z1fB5cxx11v"_ba << u"f[abi:cxx11]"_s;
    QTest::newRow("local class") << "_ZZ1fvEN1A1gEv"_ba << u"f()::A::g"_s;
}

void TestSymbolName::name()
{
    QFETCH(QByteArray, symbol);
    QTEST(platform::symbolName(symbol.constData()), "name");
}

QTEST_APPLESS_MAIN(TestSymbolName)

#include "tst_symbolname.moc"
