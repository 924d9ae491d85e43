#pragma once

#include <QString>

namespace platform
{

// Hands `text` as it is to whoever debugs this process: OutputDebugStringW on Windows; on Linux, where a
// debugger has no channel of its own, standard error in UTF-8. Any thread; failures are not reported.
void debugOutput(const QString &text);

}
