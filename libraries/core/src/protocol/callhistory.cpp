#include "protocol/callhistory.h"

#include "error/crashstate.h"
#include "lasting.h"
#include "test/s3trace.h"

#include <QElapsedTimer>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 historyTraceFlag = 122;
constexpr size_t ringSize = 40;
constexpr qsizetype timeWidth = 10;
constexpr qsizetype columnWidth = 25;
constexpr qsizetype shortColumnWidth = 10;
constexpr qsizetype textLength = 90;
constexpr qsizetype kindWidth = 8;

struct Entry {
    QString line;
    bool isUsed = false;
};

struct Ring {
    std::array<Entry, ringSize> entries;
    size_t next = 0;

    [[nodiscard]] QStringList lines() const
    {
        QStringList lines;
        for (size_t i = 0; i < ringSize; ++i) {
            const Entry &entry = entries.at((next + i) % ringSize);
            if (entry.isUsed)
                lines.append(entry.line);
        }
        return lines;
    }
};

constinit s3Lasting<Ring> firstRing;
constinit s3Lasting<Ring> secondRing;
constinit QElapsedTimer timer;

QString cell(const QString &text, qsizetype width)
{
    return text.leftJustified(width, u' ', true);
}

QString elapsedCell()
{
    startCallHistoryClock();
    return QString::number(timer.elapsed()).leftJustified(timeWidth);
}

void record(const QString &kind, const QString &column1, const QString &column2, bool flag,
            const QString &column3, const QString &text)
{
    if (reportFrozen)
        return;
    const QString line
        = u"%1%2%3%4 %5 %6"_s.arg(column1, cell(column2, columnWidth), QString(flag ? u'+' : u' '),
                                  cell(column3, columnWidth), elapsedCell(), text.left(textLength));
    Ring &ring = firstRing.object;
    ring.entries.at(ring.next) = {line, true};
    ring.next = (ring.next + 1) % ringSize;
    s3Trace(historyTraceFlag, [&] { return QString(cell(kind + u':', kindWidth) + line); });
}

}

void recordSSO(const QString &column1, const QString &column2, const QString &text)
{
    record(u"SSO"_s, column1, column2, false, QString(), text);
}

void recordService(const QString &column1, const QString &column3, const QString &text)
{
    record(u"Service"_s, column1, QString(), false, column3, text);
}

void recordEvent(const QString &column1, const QString &column2, const QString &column3, bool flag,
                 const QString &text)
{
    record(u"Event"_s, column1, column2, flag, column3, text);
}

void recordCall(const QString &first, const QString &second, const QString &third, const QString &fourth)
{
    if (reportFrozen)
        return;
    QString line = u"%1%2%3%4   %5"_s.arg(cell(first, shortColumnWidth), cell(second, columnWidth),
                                          elapsedCell(), fourth, third);
    const size_t index = firstRing.object.next;
    Ring &ring = secondRing.object;
    ring.entries.at(index) = {line, true};
    ring.next = (index + 1) % ringSize;
    s3Trace(historyTraceFlag, [&] { return line; });
}

QStringList callHistory()
{
    return firstRing.object.lines();
}

QStringList secondCallHistory()
{
    return secondRing.object.lines();
}

void startCallHistoryClock()
{
    if (!timer.isValid())
        timer.start();
}

void clearCallHistory()
{
    firstRing.object = Ring();
    secondRing.object = Ring();
}
