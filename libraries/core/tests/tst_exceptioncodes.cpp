#include "error/exceptioncodes.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestExceptionCodes final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void name_data();
    void name();
};

void TestExceptionCodes::name_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("name");

    const auto add = [](quint32 code, const QString &name) {
        QTest::addRow("%08x", code) << code << name;
    };
    add(0xC0000005, u"ACCESS_VIOLATION"_s);
    add(0x80000002, u"DATATYPE_MISALIGNMENT"_s);
    add(0x80000003, u"BREAKPOINT"_s);
    add(0x80000004, u"SINGLE_STEP"_s);
    add(0xC000008C, u"ARRAY_BOUNDS_EXCEEDED"_s);
    add(0xC000008D, u"FLOAT_DENORMAL_OPERAND"_s);
    add(0xC000008E, u"FLOAT_DIVIDE_BY_ZERO"_s);
    add(0xC000008F, u"FLOAT_INEXACT_RESULT"_s);
    add(0xC0000090, u"FLOAT_INVALID_OPERATION"_s);
    add(0xC0000091, u"FLOAT_OVERFLOW"_s);
    add(0xC0000092, u"FLOAT_STACK_CHECK"_s);
    add(0xC0000093, u"FLOAT_UNDERFLOW"_s);
    add(0xC0000094, u"INTEGER_DIVIDE_BY_ZERO"_s);
    add(0xC0000095, u"INTEGER_OVERFLOW"_s);
    add(0xC0000096, u"PRIVILEGED_INSTRUCTION"_s);
    add(0xC0000006, u"IN_PAGE_ERROR"_s);
    add(0xC000001D, u"ILLEGAL_INSTRUCTION"_s);
    add(0xC0000025, u"NONCONTINUABLE_EXCEPTION"_s);
    add(0xC00000FD, u"STACK_OVERFLOW"_s);
    add(0xC0000026, u"INVALID_DISPOSITION"_s);
    add(0x80000001, u"GUARD_PAGE_VIOLATION"_s);
    add(0xC0000008, u"INVALID_HANDLE"_s);
    add(0xC015000F, u"SXS_EARLY_DEACTIVATION"_s);
    add(0xC0150010, u"SXS_INVALID_DEACTIVATION"_s);
    add(0xC000001E, u"INVALID_LOCK_SEQUENCE"_s);

    for (const quint32 unknown :
         {0U, 5U, 0x80000000U, 0xC0000000U, 0xC0000004U, 0xC0000007U, 0xC000008BU, 0xC0000409U, 0xC015000EU,
          0xC0150011U, 0xE06D7363U, 0x40000015U, std::numeric_limits<quint32>::max()})
        QTest::addRow("unknown %08x", unknown) << unknown << QString();
}

void TestExceptionCodes::name()
{
    QFETCH(quint32, code);
    QTEST(exceptionCodeName(code), "name");
}

QTEST_APPLESS_MAIN(TestExceptionCodes)

#include "tst_exceptioncodes.moc"
