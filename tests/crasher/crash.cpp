#include "crash.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

using namespace Qt::StringLiterals;

namespace
{

constexpr int lookInterval = 20;

QString besideSuite(const char *fileName)
{
    return QCoreApplication::applicationDirPath() + u'/' + QLatin1StringView(fileName);
}

}

Crash::Crash(const QString &folder) : m_folder(folder.isEmpty() ? m_own.path() : folder)
{
    environment.remove(u"WAYLAND_DISPLAY"_s);
    const QString options = environment.value(u"ASAN_OPTIONS"_s);
    // What a crash leaves behind is no leak of the product.
    environment.insert(u"ASAN_OPTIONS"_s,
                       (options.isEmpty() ? options : options + u':')
                           + u"detect_leaks=0:handle_segv=0:handle_abort=0"_s);
}

void Crash::run(const QString &failure, int limit)
{
    start(failure, limit);
    const QDeadlineTimer deadline(patience);
    while (poll() && !deadline.hasExpired()) { }
    finish();
}

void Crash::runUntilTwoBoxes(const QString &failure)
{
    start(failure, generousLimit);
    lookUntil([this] { return m_boxes->texts(process).size() >= 2; });
    const QDeadlineTimer deadline(patience);
    while (poll() && !deadline.hasExpired()) { }
    finish();
}

bool Crash::outlivesBox(const QString &failure, int limit, std::chrono::milliseconds time)
{
    start(failure, limit);
    lookUntil([this] { return !m_boxes->texts(process).isEmpty(); });
    const QDeadlineTimer seen(time);
    lookUntil([&] { return m_boxes->texts(process).isEmpty() || seen.hasExpired(); });
    const bool isThere = process.state() != QProcess::NotRunning && seen.hasExpired();
    const QDeadlineTimer deadline(patience);
    while (poll() && !deadline.hasExpired()) { }
    finish();
    return isThere;
}

void Crash::runWithoutDisplay(const QString &failure, int limit)
{
    environment.remove(u"DISPLAY"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    startProgram(failure, limit);
    finish();
}

void Crash::start(const QString &failure, int limit)
{
    m_boxes = Boxes::make(m_own.path(), environment);
    startProgram(failure, limit);
}

bool Crash::poll()
{
    if (process.state() == QProcess::NotRunning)
        return false;
    m_boxes->answer(process);
    const bool hasEnded = process.waitForFinished(lookInterval) || process.state() == QProcess::NotRunning;
    if (hasEnded)
        m_end = std::chrono::steady_clock::now();
    return !hasEnded;
}

void Crash::finish()
{
    if (m_boxes) {
        texts = m_boxes->texts(process);
        m_standing = m_boxes->standing();
    }
    wait();
    readOutput();
}

void Crash::startProgram(const QString &failure, int limit)
{
    process.setProcessEnvironment(environment);
    process.start(besideSuite(OSTRELLE_CRASHER),
                  {failure, m_folder, QString::number(limit), besideSuite(OSTRELLE_FOREIGN)});
}

// Without an answer to any box.
void Crash::lookUntil(const std::function<bool()> &isEnough)
{
    const QDeadlineTimer deadline(patience);
    while (!isEnough() && !process.waitForFinished(lookInterval) && process.state() != QProcess::NotRunning
           && !deadline.hasExpired()) { }
}

void Crash::wait()
{
    ended = process.state() == QProcess::NotRunning || process.waitForFinished(patience);
    if (m_end == std::chrono::steady_clock::time_point())
        m_end = std::chrono::steady_clock::now();
    if (!ended) {
        process.kill();
        process.waitForFinished();
    }
}

// The program says when it fails, by the clock that all processes of the machine share.
void Crash::readOutput()
{
    standardError = process.readAllStandardError().replace("\r\n", "\n");
    standardOutput = process.readAllStandardOutput().replace("\r\n", "\n");
    constexpr QByteArrayView mark = "fails at ";
    const qsizetype lineEnd = standardOutput.indexOf('\n');
    hasFailed = standardOutput.startsWith(mark) && lineEnd >= 0;
    if (!hasFailed)
        return;
    const qint64 count = standardOutput.mid(mark.size(), lineEnd - mark.size()).toLongLong();
    m_failure = std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(count));
    standardOutput.remove(0, lineEnd + 1);
}

bool Crash::endedWith(int code) const
{
    const bool isCut = hasFailed && timeToEnd() >= std::chrono::milliseconds(generousLimit);
    return ended && !isCut && process.exitStatus() == QProcess::NormalExit
        && (process.exitCode() == code || (code == -1 && process.exitCode() == 255));
}

std::chrono::milliseconds Crash::timeToEnd() const
{
    return std::chrono::ceil<std::chrono::milliseconds>(m_end - m_failure) - m_standing;
}

QByteArray Crash::told() const
{
    const QByteArray time
        = hasFailed ? QByteArray::number(qint64(timeToEnd().count())) + " ms" : "no failure"_ba;
    return QByteArray::number(process.exitStatus()) + " " + QByteArray::number(process.exitCode()) + ", "
        + time + "\n" + texts.join(u"\n-----\n"_s).toUtf8() + "\n" + standardOutput + standardError;
}

QString Crash::reportFile() const
{
    return m_folder + u"/errorReports/SYS.FEHL"_s;
}

QStringList waysToFail()
{
    // The first process of a machine may take very long to come up.
    QProcess process;
    process.start(besideSuite(OSTRELLE_CRASHER), {u"names"_s});
    if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        return {};
    const QByteArray names = process.readAllStandardOutput().replace("\r\n", "\n").trimmed();
    return QString::fromLatin1(names).split(u'\n');
}
