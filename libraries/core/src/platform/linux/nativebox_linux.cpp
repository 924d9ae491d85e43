#include "platform/nativebox.h"

#include "platform/standarderror.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QStandardPaths>
#include <QStringList>
#include <QTextDocument>
#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <optional>

#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// The kernel takes at most 128 KiB for one argument; this many characters stay below it in UTF-8, also
// when each of them became an HTML entity.
constexpr qsizetype maximalText = 20000;
constexpr qsizetype maximalTitle = 200;

// The buttons of a box by the part they play; 0 where the set has none. `closed` is the answer of a
// window closed without a button, which is what Escape does to a MessageBoxW, and No where that box
// cannot be closed at all.
struct ButtonSet {
    unsigned int style;
    int affirmative;
    int negative;
    int closed;
};

constexpr std::array buttonSets{
    ButtonSet{BoxOk, BoxResultOk, 0, BoxResultOk},
    ButtonSet{BoxOkCancel, BoxResultOk, 0, BoxResultCancel},
    ButtonSet{BoxYesNo, BoxResultYes, BoxResultNo, BoxResultNo},
    ButtonSet{BoxYesNoCancel, BoxResultYes, BoxResultNo, BoxResultCancel},
};

const ButtonSet &buttonSet(unsigned int style)
{
    const auto *const set = std::ranges::find(buttonSets, style & BoxButtonMask, &ButtonSet::style);
    return set != buttonSets.end() ? *set : buttonSets.front();
}

int presetButton(unsigned int style)
{
    const ButtonSet &set = buttonSet(style);
    switch (style & BoxDefaultMask) {
    case BoxDefaultButton2:
        return set.negative != 0 ? set.negative : set.closed;
    case BoxDefaultButton3:
        return set.closed;
    default:
        return set.affirmative;
    }
}

QString buttonLabel(int result)
{
    switch (result) {
    case BoxResultCancel:
        return u"Cancel"_s;
    case BoxResultYes:
        return u"Yes"_s;
    case BoxResultNo:
        return u"No"_s;
    default:
        return u"OK"_s;
    }
}

struct Box {
    QString text;
    QString title;
    unsigned int style;
};

// How a helper ended: its exit code and the beginnings of what it printed.
struct Ending {
    int exitCode;
    QByteArray output;
    QByteArray errors;
};

// One program that can show a box. `arguments` begins behind the program's name; `result` is the
// button's identifier, or 0 when the ending means that there was no box.
struct Helper {
    QString program;
    bool needsX11;
    bool readsStandardInput;
    QStringList (*arguments)(const Box &box);
    int (*result)(const Ending &ending, unsigned int style);
};

// zenity ends with 1 for Cancel, for a closed window and for a display that cannot be opened. These
// numbers, handed to it in its environment, keep the first two apart from the third.
constexpr int zenityOk = 101;
constexpr int zenityCancel = 102;
constexpr int zenityClosed = 103;
constexpr int zenityExtra = 104;

QStringList zenityArguments(const Box &box)
{
    const ButtonSet &set = buttonSet(box.style);
    QStringList arguments;
    if (set.affirmative == set.closed) {
        switch (box.style & BoxIconMask) {
        case BoxIconHand:
            arguments += u"--error"_s;
            break;
        case BoxIconExclamation:
            arguments += u"--warning"_s;
            break;
        default:
            arguments += u"--info"_s;
        }
    } else {
        arguments += {u"--question"_s, u"--ok-label="_s + buttonLabel(set.affirmative),
                      u"--cancel-label="_s + buttonLabel(set.closed)};
        if (set.negative != 0 && set.negative != set.closed)
            arguments += u"--extra-button="_s + buttonLabel(set.negative);
        if (presetButton(box.style) == set.closed)
            arguments += u"--default-cancel"_s;
    }
    return arguments << u"--no-markup"_s << u"--title="_s + box.title << u"--text="_s + box.text;
}

int zenityResult(const Ending &ending, unsigned int style)
{
    const ButtonSet &set = buttonSet(style);
    switch (ending.exitCode) {
    case zenityOk:
        return set.affirmative;
    case zenityCancel:
    case zenityClosed:
    case zenityExtra:
        // The third button has no number of its own, its label is printed.
        return set.negative != 0 && ending.output.trimmed() == buttonLabel(set.negative).toLatin1()
            ? set.negative
            : set.closed;
    default:
        return 0;
    }
}

QStringList kdialogArguments(const Box &box)
{
    const unsigned int icon = box.style & BoxIconMask;
    const bool warning = icon == BoxIconHand || icon == BoxIconExclamation;
    QStringList arguments;
    QString kind;
    switch (buttonSet(box.style).style) {
    case BoxOkCancel:
        kind = u"--warningcontinuecancel="_s;
        arguments += u"--continue-label=OK"_s;
        break;
    case BoxYesNo:
        kind = warning ? u"--warningyesno="_s : u"--yesno="_s;
        break;
    case BoxYesNoCancel:
        kind = warning ? u"--warningyesnocancel="_s : u"--yesnocancel="_s;
        break;
    default:
        kind = icon == BoxIconHand       ? u"--error="_s
            : icon == BoxIconExclamation ? u"--sorry="_s
                                         : u"--msgbox="_s;
    }
    // kdialog guesses whether its text is HTML and resolves backslashes in it, so it gets HTML without any.
    QString html = Qt::convertFromPlainText(box.text).replace(u'\\', "&#92;"_L1);
    if ((box.style & BoxRtlReading) != 0)
        html = "<div dir=\"rtl\">"_L1 + html + "</div>"_L1;
    return arguments << u"--title="_s + box.title << kind + html;
}

int kdialogResult(const Ending &ending, unsigned int style)
{
    const ButtonSet &set = buttonSet(style);
    switch (ending.exitCode) {
    case 0:
        return set.affirmative;
    case 1:
        return set.negative;
    case 2:
        return set.closed;
    default:
        return 0;
    }
}

// Added to a button's identifier, as xmessage itself ends with 0 and 1.
constexpr int xmessageOffset = 100;

QStringList xmessageArguments(const Box &box)
{
    const ButtonSet &set = buttonSet(box.style);
    QStringList buttons;
    for (const int result : {set.affirmative, set.negative, set.closed}) {
        const QString button = u"%1:%2"_s.arg(buttonLabel(result)).arg(xmessageOffset + result);
        if (result != 0 && !buttons.contains(button))
            buttons += button;
    }
    return {u"-center"_s,
            u"-title"_s,
            box.title,
            u"-buttons"_s,
            buttons.join(u','),
            u"-default"_s,
            buttonLabel(presetButton(box.style)),
            u"-file"_s,
            u"-"_s};
}

int xmessageResult(const Ending &ending, unsigned int style)
{
    const ButtonSet &set = buttonSet(style);
    // 1 is a closed window as well as a display that cannot be opened; the X toolkit tells of the latter.
    if (ending.exitCode == 0 || ending.exitCode == 1)
        return ('\n' + ending.errors).contains("\nError:") ? 0 : set.closed;
    const int result = ending.exitCode - xmessageOffset;
    return result > 0 && (result == set.affirmative || result == set.negative || result == set.closed)
        ? result
        : 0;
}

const std::array<Helper, 3> &helpers()
{
    static const std::array<Helper, 3> table{
        Helper{u"zenity"_s, false, false, zenityArguments, zenityResult},
        Helper{u"kdialog"_s, false, false, kdialogArguments, kdialogResult},
        Helper{u"xmessage"_s, true, true, xmessageArguments, xmessageResult},
    };
    return table;
}

// A file in memory that is closed at the end of the scope.
class MemoryFile
{
public:
    explicit MemoryFile(const QByteArray &content) : m_descriptor(memfd_create("box", MFD_CLOEXEC))
    {
        if (m_descriptor >= 0
            && (pwrite(m_descriptor, content.constData(), static_cast<size_t>(content.size()), 0)
                != content.size()))
            release();
    }
    ~MemoryFile() { release(); }
    Q_DISABLE_COPY_MOVE(MemoryFile)

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    [[nodiscard]] QByteArray content() const
    {
        std::array<char, 256> buffer{};
        const ssize_t size = pread(m_descriptor, buffer.data(), buffer.size(), 0);
        return QByteArray(buffer.data(), std::max<ssize_t>(size, 0));
    }

private:
    void release()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
        m_descriptor = -1;
    }

    int m_descriptor;
};

// This process's environment without what would keep a helper off the screen, and with zenity's numbers.
QList<QByteArray> helperEnvironment()
{
    QList<QByteArray> environment{
        "ZENITY_OK=" + QByteArray::number(zenityOk), "ZENITY_CANCEL=" + QByteArray::number(zenityCancel),
        "ZENITY_ESC=" + QByteArray::number(zenityClosed), "ZENITY_EXTRA=" + QByteArray::number(zenityExtra)};
    for (char **entry = environ; *entry != nullptr; ++entry) {
        const QByteArray variable(*entry);
        if (!variable.startsWith("QT_QPA_PLATFORM=") && !variable.startsWith("ZENITY_"))
            environment += variable;
    }
    return environment;
}

// The texts must outlive the result.
QList<char *> nullTerminated(QList<QByteArray> &texts)
{
    QList<char *> pointers;
    for (QByteArray &text : texts)
        pointers += text.data();
    return pointers << nullptr;
}

// Runs `program` and waits for its end. posix_spawn rather than QProcess: this is called on any thread
// and by a process that is failing. Nothing when it did not start or was ended by a signal.
std::optional<Ending> run(const QString &program, const QStringList &arguments, const QByteArray &input)
{
    QList<QByteArray> argumentTexts{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        argumentTexts += argument.toLocal8Bit();
    QList<QByteArray> environmentTexts = helperEnvironment();
    const QList<char *> argumentVector = nullTerminated(argumentTexts);
    const QList<char *> environmentVector = nullTerminated(environmentTexts);
    const MemoryFile inputFile(input);
    const MemoryFile outputFile{QByteArray()};
    const MemoryFile errorFile{QByteArray()};
    if (inputFile.descriptor() < 0 || outputFile.descriptor() < 0 || errorFile.descriptor() < 0)
        return std::nullopt;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputFile.descriptor(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputFile.descriptor(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errorFile.descriptor(), STDERR_FILENO);
    // A crash handler may have signals blocked; the helper starts with none of them.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t noSignals;
    sigemptyset(&noSignals);
    posix_spawnattr_setsigmask(&attributes, &noSignals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t child = 0;
    const int error = posix_spawn(&child, argumentVector.front(), &actions, &attributes,
                                  argumentVector.constData(), environmentVector.constData());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return std::nullopt;

    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    if (ended != child || !WIFEXITED(status))
        return std::nullopt;
    return Ending{WEXITSTATUS(status), outputFile.content(), errorFile.content()};
}

// The first `length` code units, without half a surrogate pair at the end.
QString cut(const QString &text, qsizetype length)
{
    if (text.size() <= length)
        return text;
    return text.first(text.at(length - 1).isHighSurrogate() ? length - 1 : length) + u'…';
}

int showByHelper(const Box &box)
{
    const bool x11 = !qEnvironmentVariableIsEmpty("DISPLAY");
    if (!x11 && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return 0;
    for (const Helper &helper : helpers()) {
        const QString path
            = helper.needsX11 && !x11 ? QString() : QStandardPaths::findExecutable(helper.program);
        if (path.isEmpty())
            continue;
        const QByteArray input = helper.readsStandardInput ? box.text.toLocal8Bit() : QByteArray();
        const std::optional<Ending> ending = run(path, helper.arguments(box), input);
        if (const int result = ending ? helper.result(*ending, box.style) : 0; result != 0)
            return result;
    }
    return 0;
}

}

int showNativeBox(const QString &text, const QString &title, unsigned int style)
{
    const Box box{cut(terminalText(text), maximalText), cut(terminalText(title).simplified(), maximalTitle),
                  style};
    const int result = showByHelper(box);
    if (result == 0) {
        writeToStandardError(title + ": "_L1 + text);
        return presetButton(style);
    }
    if (text.size() > maximalText)
        writeToStandardError(text);
    return result;
}

}
