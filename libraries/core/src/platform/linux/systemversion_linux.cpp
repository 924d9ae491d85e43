#include "platform/systemversion.h"

#include "s3operatingsystemlinux.h"

#include <QFile>
#include <QSysInfo>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// The start of a small system file, empty when it cannot be read.
QByteArray fileContent(const QString &fileName)
{
    static constexpr qint64 limit = 65536;
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.read(limit) : QByteArray();
}

QByteArray osRelease()
{
    // The order of os-release(5).
    const QByteArray content = fileContent(u"/etc/os-release"_s);
    return content.isEmpty() ? fileContent(u"/usr/lib/os-release"_s) : content;
}

// The model by the firmware's tables; machines without such tables name it in their device tree.
QString hardware()
{
    QByteArray name = fileContent(u"/sys/class/dmi/id/product_name"_s);
    if (name.isEmpty())
        name = fileContent(u"/proc/device-tree/model"_s);
    name.replace('\0', "");
    return QString::fromUtf8(name).trimmed();
}

}

const s3OperatingSystemPrivate &operatingSystem()
{
    static const s3OperatingSystemLinux system(osRelease(), QSysInfo::kernelVersion(), hardware());
    return system;
}

}
