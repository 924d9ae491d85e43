#pragma once

#include <QHash>
#include <QString>

// For processobjects.cpp.

// The names of Qt's own events by QEvent::Type.
[[nodiscard]] QHash<int, QString> makeEventNames();
