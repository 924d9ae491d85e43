#include "platform/faultcontext.h"
#include "protocol/reportmemory.h"

#include <QTest>

#include <array>
#include <atomic>
#include <numeric>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

QString hex16(quint64 value)
{
    return u"%1"_s.arg(value, 16, 16, QChar(u'0'));
}

quint64 addressOf(const void *place)
{
    return reinterpret_cast<quintptr>(place);
}

// Not canonical on x86-64: no process has memory there.
constexpr quint64 nowhere = 0x8000'0000'0000'0000;

using Bytes = std::array<uchar, 256>;

// All byte values, each at its own index.
Bytes countingBytes()
{
    Bytes bytes = {};
    std::iota(bytes.begin(), bytes.end(), uchar(0));
    return bytes;
}

// One row as it is to look, for the bytes from `first` on.
QString expectedRow(quint64 address, const uchar *bytes)
{
    QString text = u'\n' + hex16(address) + u": "_s;
    QString characters = u"  "_s;
    for (int i = 0; i < 16; ++i) {
        text += u" %1"_s.arg(bytes[i], 2, 16, QChar(u'0'));
        characters += bytes[i] >= 32 && bytes[i] < 127 ? QChar(char16_t(bytes[i])) : QChar(u'.');
    }
    return text + characters;
}

}

class TestReportMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registers();
    void registersOfNothing();
    void memory();
    void memoryOfNothing();
    void memoryThatCannotBeRead_data();
    void memoryThatCannotBeRead();
    void oneBlockDoesNotHinderTheOther();
    void frameWords();
    void frameWordsOfNothing();
    void frameWordsThatCannotBeRead();
    void guardedRead();
    void guardedReadOfNothing();
    void guardedReadFromThreads();
};

void TestReportMemory::registers()
{
    s3FaultContext context;
    context.rip = 0x1;
    context.rsp = 0x22;
    context.rax = 0x333;
    context.rbx = 0x4444;
    context.rcx = 0xABCDEF;
    context.rdx = 0x6;
    context.r8 = 0x7;
    context.r9 = 0x8;
    context.rsi = 0x9;
    context.rdi = 0xA;
    context.rbp = 0xFFFFFFFFFFFFFFFF;
    context.eflags = 0x10246;
    QCOMPARE(reportRegisters(&context),
             u"RIP=0000000000000001  RSP=0000000000000022  RAX=0000000000000333  RBX=0000000000004444\n"
             "RCX=0000000000abcdef  RDX=0000000000000006   R8=0000000000000007   R9=0000000000000008\n"
             "RSI=0000000000000009  RDI=000000000000000a  RBP=ffffffffffffffff  EFlags=0000000000010246\n"_s);
}

void TestReportMemory::registersOfNothing()
{
    QCOMPARE(reportRegisters(nullptr), QString());
}

void TestReportMemory::memory()
{
    const Bytes bytes = countingBytes();
    s3FaultContext context;
    context.rip = addressOf(&bytes[32]);
    context.rsp = addressOf(&bytes[128]);
    QString expected;
    for (size_t row = 0; row < 6; ++row)
        expected += expectedRow(addressOf(&bytes[row * 16]), &bytes[row * 16]);
    expected += u'\n';
    for (size_t row = 0; row < 6; ++row)
        expected += expectedRow(addressOf(&bytes[128 + row * 16]), &bytes[128 + row * 16]);
    expected += u'\n';
    const QString found = reportMemory(&context);
    QCOMPARE(found, expected);
    QCOMPARE(found.count(u'\n'), 14);
    QVERIFY(found.contains(u":  20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f   !\"#$%&'()*+,-./\n"_s));
    QVERIFY(found.contains(u":  80 81 82 83 84 85 86 87 88 89 8a 8b 8c 8d 8e 8f  ................\n"_s));
}

void TestReportMemory::memoryOfNothing()
{
    QCOMPARE(reportMemory(nullptr), QString());
}

void TestReportMemory::memoryThatCannotBeRead_data()
{
    QTest::addColumn<quint64>("rip");
    QTest::addColumn<quint64>("rsp");
    QTest::newRow("null") << quint64(0) << quint64(0);
    QTest::newRow("first page") << quint64(0x40) << quint64(0x10);
    QTest::newRow("not canonical") << nowhere << nowhere;
    QTest::newRow("end of the address space") << ~quint64(0) << ~quint64(0);
}

void TestReportMemory::memoryThatCannotBeRead()
{
    QFETCH(quint64, rip);
    QFETCH(quint64, rsp);
    s3FaultContext context;
    context.rip = rip;
    context.rsp = rsp;
    QCOMPARE(reportMemory(&context), u'\n' + hex16(rip - 32) + u": \n\n"_s + hex16(rsp) + u": \n"_s);
}

void TestReportMemory::oneBlockDoesNotHinderTheOther()
{
    const Bytes bytes = countingBytes();
    s3FaultContext context;
    context.rip = 0;
    context.rsp = addressOf(bytes.data());
    const QString found = reportMemory(&context);
    QVERIFY(found.startsWith(u'\n' + hex16(~quint64(0) - 31) + u": \n\n"_s));
    QVERIFY(found.contains(expectedRow(addressOf(&bytes[80]), &bytes[80])));
}

void TestReportMemory::frameWords()
{
    alignas(16) const std::array<quint64, 8> words
        = {1, 0x0123456789ABCDEF, 3, 4, 5, 6, 7, 0xFFFFFFFFFFFFFFFF};
    const quint64 address = addressOf(words.data());
    QString expected = u"\n"_s;
    for (size_t row = 0; row < 4; ++row) {
        expected += hex16(address + 16 * row) + u":  "_s + hex16(words[2 * row]) + u' '
            + hex16(words[2 * row + 1]) + u'\n';
    }
    QCOMPARE(reportFrameWords(address + 16), expected);
    QVERIFY(expected.contains(u":  0000000000000001 0123456789abcdef\n"_s));
}

void TestReportMemory::frameWordsOfNothing()
{
    QCOMPARE(reportFrameWords(0), QString());
}

void TestReportMemory::frameWordsThatCannotBeRead()
{
    QCOMPARE(reportFrameWords(16), u"\n"_s);
    QCOMPARE(reportFrameWords(nowhere), u"\n"_s);
    QCOMPARE(reportFrameWords(8), u"\n"_s);
}

void TestReportMemory::guardedRead()
{
    const Bytes bytes = countingBytes();
    Bytes copy = {};
    QCOMPARE(readMemoryGuarded(addressOf(bytes.data()), copy.data(), 256), 256);
    QVERIFY(copy == bytes);
    QCOMPARE(readMemoryGuarded(addressOf(&bytes[3]), copy.data(), 1), 1);
    QCOMPARE(copy[0], uchar(3));
    QCOMPARE(readMemoryGuarded(addressOf(bytes.data()), copy.data(), 0), 0);
}

void TestReportMemory::guardedReadOfNothing()
{
    std::array<uchar, 4> copy = {9, 9, 9, 9};
    QCOMPARE(readMemoryGuarded(0, copy.data(), 4), 0);
    QCOMPARE(readMemoryGuarded(nowhere, copy.data(), 4), 0);
    QCOMPARE(copy, (std::array<uchar, 4>{9, 9, 9, 9}));
}

void TestReportMemory::guardedReadFromThreads()
{
    const Bytes bytes = countingBytes();
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                Bytes copy = {};
                if (readMemoryGuarded(0, copy.data(), 16) == 0
                    && readMemoryGuarded(addressOf(bytes.data()), copy.data(), 256) == 256 && copy == bytes)
                    ++good;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(good.load(), 400);
}

QTEST_GUILESS_MAIN(TestReportMemory)
#include "tst_reportmemory.moc"
