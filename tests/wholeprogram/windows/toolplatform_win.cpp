#include "toolplatform.h"

#include "mailclients.h"

#include <windows.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

#include <array>

using namespace Qt::StringLiterals;

namespace toolplatform
{

namespace
{

// The library as the machine's mail client.
void registerClient(const QString &library)
{
    using enum mailclients::Hive;
    const QString client = u"Ostrelle recorder"_s;
    mailclients::setText(Machine, client, u"DLLPath"_s, QDir::toNativeSeparators(library));
    mailclients::setDefault(Machine, client);
}

QString windowTitle(HWND window)
{
    std::array<wchar_t, 256> title = {};
    const int length = GetWindowTextW(window, title.data(), int(title.size()));
    return QString::fromWCharArray(title.data(), length);
}

QString windowClass(HWND window)
{
    std::array<wchar_t, 256> name = {};
    const int length = GetClassNameW(window, name.data(), int(name.size()));
    return QString::fromWCharArray(name.data(), length);
}

HWND visibleWindowOf(qint64 processId)
{
    struct Search {
        DWORD process;
        HWND found;
    } search = {DWORD(processId), nullptr};
    EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto &wanted = *reinterpret_cast<Search *>(parameter);
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            if (process != wanted.process || !IsWindowVisible(window) || windowTitle(window).isEmpty())
                return TRUE;
            wanted.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void press(std::initializer_list<WORD> keys)
{
    for (const WORD key : keys)
        keybd_event(BYTE(key), 0, 0, 0);
    for (const WORD key : keys)
        keybd_event(BYTE(key), 0, KEYEVENTF_KEYUP, 0);
}

QString clipboardText()
{
    QString text;
    if (!OpenClipboard(nullptr))
        return text;
    if (HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        if (const void *memory = GlobalLock(data)) {
            text = QString::fromWCharArray(static_cast<const wchar_t *>(memory));
            GlobalUnlock(data);
        }
    }
    CloseClipboard();
    return text;
}

void clearClipboard()
{
    if (OpenClipboard(nullptr)) {
        EmptyClipboard();
        CloseClipboard();
    }
}

// The words of a message box as it copies them for its user: between lines of dashes stand the title,
// the text and the buttons.
QString boxTextOf(const QString &copied)
{
    QString text = copied;
    text.remove(u'\r');
    text = text.split(u"---------------------------\n"_s).value(2);
    if (text.startsWith("<html>"_L1)) {
        static const QRegularExpression tag(u"<[^>]*>"_s);
        text.replace("</h2>"_L1, "\n"_L1).remove(tag);
        text.replace("&lt;"_L1, "<"_L1).replace("&gt;"_L1, ">"_L1).replace("&quot;"_L1, "\""_L1);
        text.replace("&amp;"_L1, "&"_L1);
    }
    return text.trimmed();
}

// The text of a box of the system: its one label that is no picture.
QString nativeBoxText(HWND window)
{
    QString text;
    EnumChildWindows(
        window,
        [](HWND child, LPARAM parameter) -> BOOL {
            std::array<wchar_t, 4096> words = {};
            SendMessageW(child, WM_GETTEXT, words.size(), reinterpret_cast<LPARAM>(words.data()));
            if (windowClass(child).compare("Static"_L1, Qt::CaseInsensitive) == 0 && words[0] != 0)
                *reinterpret_cast<QString *>(parameter) = QString::fromWCharArray(words.data());
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&text));
    return text;
}

// Sees the tool's windows, has each copy its words to the clipboard, and presses Return.
class WindowWatcher final : public BoxWatcher
{
public:
    std::optional<SeenBox> nextBox(const QProcess &tool, const QByteArray &) override
    {
        if (tool.state() == QProcess::NotRunning)
            return {};
        HWND window = visibleWindowOf(tool.processId());
        if (window == nullptr || m_answered.contains(window))
            return {};

        SeenBox box;
        box.title = windowTitle(window);
        QElapsedTimer timer;
        timer.start();
        if (windowClass(window) == "#32770"_L1)
            box.text = nativeBoxText(window);
        else
            clearClipboard();
        // A box that has just come up may miss the first keys.
        while (box.text.isEmpty() && timer.elapsed() < 20000) {
            SetForegroundWindow(window);
            press({VK_CONTROL, 'C'});
            QThread::msleep(50);
            box.text = boxTextOf(clipboardText());
        }
        while (IsWindow(window) && IsWindowVisible(window) && timer.elapsed() < 40000) {
            SetForegroundWindow(window);
            press({VK_RETURN});
            QThread::msleep(50);
        }
        m_answered.insert(window);
        return box;
    }

private:
    QSet<HWND> m_answered;
};

}

void installProvider(const QString &choice, const QString &providers, const QString &toolDirectory,
                     QProcessEnvironment &environment)
{
    // Qt's complaint about a call that Wine does not have would go to the log as any warning does.
    environment.insert(u"QT_LOGGING_RULES"_s, u"default.warning=false"_s);
    if (choice.isEmpty())
        return;
    const QString library = providers + u'/' + choice + u"/recordingprovider.dll"_s;
    const QString beside = toolDirectory + u"/mapi32.dll"_s;
    QFile::remove(beside);
    mailclients::removeAll();
    if (choice == "none"_L1) {
        mailclients::setSystemLibrary(QString());
    } else if (choice == "both"_L1 || choice == "wide"_L1) {
        mailclients::setSystemLibrary(u"builtin"_s);
        registerClient(library);
    } else {
        mailclients::setSystemLibrary(u"native"_s);
        if (!QFile::copy(library, beside))
            qFatal("cannot copy %s", qPrintable(library));
    }
}

std::unique_ptr<BoxWatcher> makeBoxWatcher()
{
    return std::make_unique<WindowWatcher>();
}

QByteArray lineEnd()
{
    return "\r\n";
}

int exitCodeOfMinusOne()
{
    return -1;
}

}
