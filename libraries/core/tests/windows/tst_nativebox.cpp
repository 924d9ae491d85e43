#include "platform/nativebox.h"

#include "ostrelletest/scopedtestflag.h"
#include "s3basicbox.h"

#include <QCoreApplication>
#include <QTest>

#include <array>
#include <atomic>
#include <thread>

#include <windows.h>

using namespace Qt::StringLiterals;
using namespace platform;

namespace
{

// Waits for the message box with the given title, notes its text and presses a button.
class BoxVisitor
{
public:
    BoxVisitor(const QString &title, int button)
        : m_thread([this, title, button] { visit(reinterpret_cast<const wchar_t *>(title.utf16()), button); })
    {
    }
    ~BoxVisitor()
    {
        m_stop = true;
        join();
    }
    Q_DISABLE_COPY_MOVE(BoxVisitor)

    void join()
    {
        if (m_thread.joinable())
            m_thread.join();
    }
    [[nodiscard]] bool seen() const { return m_seen; }
    [[nodiscard]] QString text() const { return m_text; }

private:
    void visit(const wchar_t *title, int button)
    {
        HWND box = nullptr;
        while (!m_stop && box == nullptr) {
            Sleep(10);
            box = FindWindowW(L"#32770", title);
        }
        if (box == nullptr)
            return;
        m_seen = true;
        // The text is the static control with the identifier 0xFFFF.
        std::array<wchar_t, 1024> text{};
        GetDlgItemTextW(box, 0xFFFF, text.data(), int(text.size()));
        m_text = QString::fromWCharArray(text.data());
        PostMessageW(box, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), 0);
    }

    std::atomic<bool> m_stop = false;
    std::atomic<bool> m_seen = false;
    QString m_text;
    std::thread m_thread;
};

}

class TestNativeBox final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void textIsShown();
    void fatalQuestionAnswers();
    void flag335AsksForTheNativeBox();
};

void TestNativeBox::answers_data()
{
    QTest::addColumn<unsigned int>("style");
    QTest::addColumn<int>("button");
    QTest::newRow("ok") << (BoxOk | 0U) << int(BoxResultOk);
    QTest::newRow("cancel of two") << (BoxOkCancel | 0U) << int(BoxResultCancel);
    QTest::newRow("yes") << (BoxYesNo | 0U) << int(BoxResultYes);
    QTest::newRow("no") << (BoxYesNo | 0U) << int(BoxResultNo);
    QTest::newRow("cancel of three") << (BoxYesNoCancel | 0U) << int(BoxResultCancel);
}

void TestNativeBox::answers()
{
    QFETCH(const unsigned int, style);
    QFETCH(const int, button);
    BoxVisitor visitor(u"ostrelle answers"_s, button);
    QCOMPARE(showNativeBox(u"Text"_s, u"ostrelle answers"_s, style), button);
    visitor.join();
    QVERIFY(visitor.seen());
}

void TestNativeBox::textIsShown()
{
    BoxVisitor visitor(u"ostrelle Größe"_s, IDOK);
    (void)showNativeBox(u"<b>Grüße</b> a"_s + QChar(QChar::Null) + u"b"_s, u"ostrelle Größe"_s, BoxIconHand);
    visitor.join();
    QCOMPARE(visitor.text(), u"<b>Grüße</b> a\uFFFDb"_s);
}

void TestNativeBox::fatalQuestionAnswers()
{
    BoxVisitor visitor(u"ostrelle question"_s, IDNO);
    QCOMPARE(s3BasicBox::show(QMessageBox::Critical, u"ostrelle question"_s, u"?"_s,
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes, true),
             int(QMessageBox::No));
}

void TestNativeBox::flag335AsksForTheNativeBox()
{
    const ScopedTestFlag flag(335);
    BoxVisitor visitor(u"ostrelle flag"_s, IDOK);
    QCOMPARE(s3BasicBox::show(QMessageBox::Warning, u"ostrelle flag"_s, u"Text"_s, QMessageBox::Ok, 0, false),
             int(QMessageBox::Ok));
    visitor.join();
    QVERIFY(visitor.seen());
}

QTEST_GUILESS_MAIN(TestNativeBox)
#include "tst_nativebox.moc"
