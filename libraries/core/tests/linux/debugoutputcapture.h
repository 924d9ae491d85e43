#pragma once

#include "standarderrorcapture.h"

#include <QString>

// Collects what the process hands to its debugger for the scope: on Linux its standard error.
class DebugOutputCapture
{
public:
    [[nodiscard]] QString take() { return QString::fromUtf8(m_capture.take()); }

private:
    StandardErrorCapture m_capture;
};
