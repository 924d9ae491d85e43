#pragma once

#include <QtGlobal>

// Sounds that call the user's attention. On Linux there is no sound that a program can make without a
// desktop or a console of its own and know that it was made: both answer false there, and are silent.
// Any thread.
namespace platform
{

// A tone of `frequency` hertz for `duration` milliseconds, waited for. Whether it worked.
[[nodiscard]] bool beepTone(quint32 frequency, quint32 duration);

// The desktop's sound for information, not waited for. Whether it worked.
[[nodiscard]] bool beepInformation();

}
