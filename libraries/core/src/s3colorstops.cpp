#include "s3colorstops.h"

#include <algorithm>

s3ColorStops::s3ColorStops(const QColor &color) : m_colors{color}, m_positions{0} { }

void s3ColorStops::add(const QColor &color, qint32 percent)
{
    if (!color.isValid())
        return;
    m_colors += color;
    const qint32 position = std::clamp(percent, 0, 100);
    m_positions += m_positions.isEmpty() ? position : std::max(position, m_positions.constLast());
}

QColor s3ColorStops::colorAt(qsizetype index) const
{
    return m_colors.value(index);
}

qint32 s3ColorStops::positionAt(qsizetype index) const
{
    if (index < 0 || m_positions.isEmpty())
        return 0;
    return m_positions.value(index, 100);
}
