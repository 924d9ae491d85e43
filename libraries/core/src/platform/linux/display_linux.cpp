#include "platform/display.h"

#include <QCoreApplication>
#include <QtGlobal>

#include <atomic>

namespace platform
{

namespace
{

constexpr const char *platformVariable = "QT_QPA_PLATFORM";

constinit std::atomic<bool> noScreen = false;
constinit bool variableIsOurs = false;

// Called from the application's constructor, when Qt has read the variable.
void takeVariableBack()
{
    if (variableIsOurs)
        qunsetenv(platformVariable);
    variableIsOurs = false;
}

}

bool prepareDisplay()
{
    noScreen = qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        && qEnvironmentVariableIsEmpty(platformVariable);
    if (noScreen) {
        variableIsOurs = qputenv(platformVariable, "offscreen");
        static const bool registered = [] {
            qAddPreRoutine(takeVariableBack);
            return true;
        }();
        Q_UNUSED(registered)
    }
    return screenAvailable();
}

bool screenAvailable()
{
    return !noScreen;
}

}
