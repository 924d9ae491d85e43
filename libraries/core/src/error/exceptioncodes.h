#pragma once

#include <QString>

// The names of the codes that machine faults have, on every platform those of Windows.
// Empty for any other code. Any thread.
[[nodiscard]] QString exceptionCodeName(quint32 code);
