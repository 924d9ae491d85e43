#include "mapiresult.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMapiResult final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data();
    void text();
};

void TestMapiResult::text_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("expected");

    static constexpr struct {
        quint32 code;
        const char *text;
    } rows[] = {
        {0, ""},
        {1, "User abort [1]"},
        {2, "General MAPI failure [2]"},
        {3, "MAPI login failure [3]"},
        {4, "Disk full [4]"},
        {5, "Insufficient memory [5]"},
        {6, "Access denied [6]"},
        {7, "MAPI error [7]"},
        {8, "Too many sessions [8]"},
        {9, "Too many files were specified [9]"},
        {10, "Too many recipients were specified [10]"},
        {11, "A specified attachment was not found [11]"},
        {12, "Attachment open failure [12]"},
        {13, "Attachment write failure [13]"},
        {14, "Unknown recipient [14]"},
        {15, "Bad recipient type [15]"},
        {16, "No messages [16]"},
        {17, "Invalid message [17]"},
        {18, "Text too large [18]"},
        {19, "Invalid session [19]"},
        {20, "Type not supported [20]"},
        {21, "A recipient was specified ambiguously [21]"},
        {22, "Message in use [22]"},
        {23, "Network failure [23]"},
        {24, "Invalid edit fields [24]"},
        {25, "Invalid recipients [25]"},
        {26, "Not supported [26]"},
        {27, "Unicode not supported [27]"},
        {28, "Attachment too large [28]"},
        {29, "MAPI error [29]"},
        {1000, "MAPI error [1000]"},
        {0x7FFFFFFF, "MAPI error [2147483647]"},
        {0x80000000, "MAPI error [-2147483648]"},
        {0xFFFFFFFF, "MAPI error [-1]"},
    };
    for (const auto &row : rows)
        QTest::addRow("%u", row.code) << row.code << QString::fromLatin1(row.text);
}

void TestMapiResult::text()
{
    QFETCH(quint32, code);
    QTEST(mapiResultText(code), "expected");
}

QTEST_APPLESS_MAIN(TestMapiResult)
#include "tst_mapiresult.moc"
