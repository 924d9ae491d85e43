#include "boxes.h"

#include <QElapsedTimer>
#include <QList>

#include <vector>

#include <windows.h>

using namespace Qt::StringLiterals;

namespace
{

QString className(HWND window)
{
    wchar_t name[64] = {};
    return QString::fromWCharArray(name, GetClassNameW(window, name, 64));
}

QList<HWND> boxesOf(qint64 process)
{
    struct Search {
        DWORD process;
        QList<HWND> found;
    } search = {static_cast<DWORD>(process), {}};
    EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto &wanted = *reinterpret_cast<Search *>(parameter);
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            if (owner == wanted.process && IsWindowVisible(window) && className(window) == "#32770"_L1)
                wanted.found += window;
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// The text of a box is its one label that is no picture.
QString boxText(HWND window)
{
    QString text;
    EnumChildWindows(
        window,
        [](HWND child, LPARAM parameter) -> BOOL {
            std::vector<wchar_t> words(65536);
            DWORD_PTR length = 0;
            constexpr UINT patience = 60000;
            if (className(child).compare("Static"_L1, Qt::CaseInsensitive) == 0
                && SendMessageTimeoutW(child, WM_GETTEXT, words.size(),
                                       reinterpret_cast<LPARAM>(words.data()), SMTO_NORMAL, patience, &length)
                    != 0
                && length > 0)
                *reinterpret_cast<QString *>(parameter) = QString::fromWCharArray(words.data());
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&text));
    return text.remove(u'\r');
}

class NativeBoxes final : public Boxes
{
public:
    QStringList texts(const QProcess &program) override
    {
        if (program.state() == QProcess::NotRunning)
            return m_texts;
        const QList<HWND> windows = boxesOf(program.processId());
        m_seen.removeIf([&windows](HWND window) { return !windows.contains(window); });
        countTime();
        for (const HWND window : windows) {
            if (m_seen.contains(window))
                continue;
            const QString text = boxText(window);
            if (text.isEmpty())
                continue; // it is still coming up
            m_seen += window;
            m_texts += text;
        }
        return m_texts;
    }

    [[nodiscard]] std::chrono::milliseconds standing() const override { return m_standing; }

    void answer(const QProcess &program) override
    {
        texts(program); // a box is read before it goes
        for (const HWND window : boxesOf(program.processId())) {
            if (m_seen.contains(window))
                PostMessageW(window, WM_COMMAND, IDOK, 0);
        }
    }

private:
    // From one look to the next a box has stood if it was there at both.
    void countTime()
    {
        if (m_sinceLook.isValid() && !m_seen.isEmpty())
            m_standing += std::chrono::milliseconds(m_sinceLook.elapsed());
        m_sinceLook.start();
    }

    QList<HWND> m_seen;
    QStringList m_texts;
    QElapsedTimer m_sinceLook;
    std::chrono::milliseconds m_standing{0};
};

}

std::unique_ptr<Boxes> Boxes::make(const QString &, QProcessEnvironment &environment)
{
    environment.insert(u"WINE_D3D_CONFIG"_s, u"renderer=no3d"_s);
    return std::make_unique<NativeBoxes>();
}

bool endedBySystem(const QProcess &program)
{
    return static_cast<DWORD>(program.exitCode()) == 0xC0000005;
}
