// Memory and modules for a report that only this system has.

#include "platform/faultcontext.h"
#include "platform/graphics.h"
#include "platform/modules.h"
#include "protocol/reportmemory.h"
#include "protocol/reportsections.h"

#include <QTest>

#include <array>

#include <windows.h>

using namespace Qt::StringLiterals;

class TestReportPlaces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void memoryEndsAtThePage();
    void modulesHavePaths();
    void versionOfASystemModule();
    void noGpusWithoutGui();
};

void TestReportPlaces::memoryEndsAtThePage()
{
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    const size_t page = system.dwPageSize;
    auto *bytes
        = static_cast<uchar *>(VirtualAlloc(nullptr, 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    QVERIFY(bytes != nullptr);
    DWORD before = 0;
    QVERIFY(VirtualProtect(bytes + page, page, PAGE_NOACCESS, &before) != FALSE);
    bytes[page - 2] = 'a';
    bytes[page - 1] = 'b';
    std::array<uchar, 16> copy = {};
    const auto address = quint64(reinterpret_cast<quintptr>(bytes + page));
    QCOMPARE(readMemoryGuarded(address - 2, copy.data(), 16), 2);
    QCOMPARE(copy[0], uchar('a'));
    QCOMPARE(copy[1], uchar('b'));
    QCOMPARE(copy[2], uchar(0));
    QVERIFY(VirtualFree(bytes, 0, MEM_RELEASE) != FALSE);
}

void TestReportPlaces::modulesHavePaths()
{
    const QStringList modules = platform::loadedModules();
    std::array<wchar_t, MAX_PATH> path = {};
    QVERIFY(GetModuleFileNameW(GetModuleHandleW(L"kernel32.dll"), path.data(), MAX_PATH) != 0);
    QVERIFY2(modules.contains(QString::fromWCharArray(path.data()), Qt::CaseInsensitive),
             qPrintable(modules.join(u' ')));
    QVERIFY(GetModuleFileNameW(nullptr, path.data(), MAX_PATH) != 0);
    QVERIFY(modules.contains(QString::fromWCharArray(path.data()), Qt::CaseInsensitive));
}

void TestReportPlaces::versionOfASystemModule()
{
    const QString line = reportModule(u"kernel32.dll"_s);
    QVERIFY2(line.startsWith(u"kernel32.dll              = "_s), qPrintable(line));
    QVERIFY2(line.size() > u"kernel32.dll              =  \n"_s.size(), qPrintable(line));
    QVERIFY(line.contains(u'.'));
}

void TestReportPlaces::noGpusWithoutGui()
{
    QVERIFY(!platform::gpuList().isValid());
}

QTEST_GUILESS_MAIN(TestReportPlaces)
#include "tst_reportplaces.moc"
