#pragma once

#include <QColor>
#include <QList>

// A list of colours, each with a position in percent, for a gradient. Positions never fall. A value.
class s3ColorStops
{
public:
    // No stops.
    s3ColorStops() = default;

    // One stop, `color` at position 0.
    explicit s3ColorStops(const QColor &color);

    // Appends a stop. `percent` is kept within 0 to 100 and not below the last position. An invalid colour
    // is not added.
    void add(const QColor &color, qint32 percent);

    // The number of stops.
    [[nodiscard]] qsizetype count() const { return m_colors.size(); }

    // The stop's colour; an invalid one for an index out of range.
    [[nodiscard]] QColor colorAt(qsizetype index) const;

    // The stop's position: 0 before the first stop and without any, 100 behind the last.
    [[nodiscard]] qint32 positionAt(qsizetype index) const;

    // A mark for the user of the list, false at first.
    void setFlag(bool flag = true) { m_flag = flag; }
    [[nodiscard]] bool flag() const { return m_flag; }

    friend bool operator==(const s3ColorStops &, const s3ColorStops &) = default;

private:
    QList<QColor> m_colors;
    QList<qint32> m_positions;
    bool m_flag = false;
};
