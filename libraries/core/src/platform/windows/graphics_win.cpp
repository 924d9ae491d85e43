#include "platform/graphics.h"

#include <QGuiApplication>

#include <private/qguiapplication_p.h>

namespace platform
{

QVariant gpuList()
{
    using WindowsApplication = QNativeInterface::Private::QWindowsApplication;
    const auto *application = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    if (application == nullptr)
        return QVariant();
    const auto *native = application->nativeInterface<WindowsApplication>();
    return native != nullptr ? native->gpuList() : QVariant();
}

}
