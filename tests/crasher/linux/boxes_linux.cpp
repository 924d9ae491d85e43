#include "boxes.h"

#include <QFile>
#include <QList>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

// Writes the arguments of each box down and stands until it may go, and then from when to when it stood in
// seconds. 101 is what a button says.
constexpr const char *zenity = R"(#!/bin/sh
read -r from rest </proc/uptime
number=1
until mkdir "$OSTRELLE_BOXES/box.$number" 2>/dev/null; do
    number=$((number + 1))
done
printf '%s\0' "$@" >"$OSTRELLE_BOXES/box.$number/writing"
mv "$OSTRELLE_BOXES/box.$number/writing" "$OSTRELLE_BOXES/box.$number/arguments"
until [ -e "$OSTRELLE_BOXES/answer" ]; do
    [ -d "$OSTRELLE_BOXES" ] || exit # nobody will answer any more
    sleep 0.02
done
read -r to rest </proc/uptime
echo "$from $to" >"$OSTRELLE_BOXES/box.$number/time"
exit "$ZENITY_OK"
)";

class RecordedBoxes final : public Boxes
{
public:
    RecordedBoxes(const QString &folder, QProcessEnvironment &environment) : m_folder(folder)
    {
        QFile program(folder + u"/zenity"_s);
        if (!program.open(QIODevice::WriteOnly | QIODevice::NewOnly) || program.write(zenity) < 0)
            qFatal("cannot write %s", qPrintable(program.fileName()));
        program.close();
        program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        environment.insert(u"PATH"_s, folder + u':' + environment.value(u"PATH"_s));
        environment.insert(u"OSTRELLE_BOXES"_s, folder);
        environment.insert(u"DISPLAY"_s, u":none"_s);
        environment.remove(u"WAYLAND_DISPLAY"_s);
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    }

    QStringList texts(const QProcess &) override
    {
        QStringList result;
        for (int number = 1;; ++number) {
            QFile file(u"%1/box.%2/arguments"_s.arg(m_folder).arg(number));
            if (!file.open(QIODevice::ReadOnly))
                return result;
            const QByteArray start = "--text="_ba;
            for (const QByteArray &argument : file.readAll().split('\0')) {
                if (argument.startsWith(start))
                    result += QString::fromUtf8(argument.mid(start.size()));
            }
        }
    }

    [[nodiscard]] std::chrono::milliseconds standing() const override
    {
        QList<std::pair<qint64, qint64>> times;
        for (int number = 1;; ++number) {
            QFile file(u"%1/box.%2/time"_s.arg(m_folder).arg(number));
            if (!file.open(QIODevice::ReadOnly))
                break;
            const QList<QByteArray> words = file.readAll().simplified().split(' ');
            if (words.size() == 2)
                times += {milliseconds(words[0]), milliseconds(words[1]) - clockTick};
        }
        // Boxes may stand beside each other.
        std::ranges::sort(times);
        qint64 sum = 0;
        qint64 last = 0;
        for (const auto &[from, to] : std::as_const(times)) {
            sum += std::max<qint64>(to - std::max(from, last), 0);
            last = std::max(last, to);
        }
        return std::chrono::milliseconds(sum);
    }

    void answer(const QProcess &) override
    {
        QFile file(m_folder + u"/answer"_s);
        if (!file.exists() && !file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }

private:
    // The clock of the script shows hundredths of a second.
    static constexpr qint64 clockTick = 10;

    static qint64 milliseconds(const QByteArray &seconds)
    {
        return static_cast<qint64>(seconds.toDouble() * 1000);
    }

    QString m_folder;
};

}

std::unique_ptr<Boxes> Boxes::make(const QString &folder, QProcessEnvironment &environment)
{
    return std::make_unique<RecordedBoxes>(folder, environment);
}

bool endedBySystem(const QProcess &program)
{
    return program.exitStatus() == QProcess::CrashExit;
}
