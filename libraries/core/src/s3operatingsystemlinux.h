#pragma once

#include "s3operatingsystem.h"

#include <QByteArray>
#include <QString>

// Describes a Linux by the os-release file of its distribution (os-release(5)) and its kernel. Compiled on
// every platform: it works on the texts that it is given.
class s3OperatingSystemLinux final : public s3OperatingSystemPrivate
{
public:
    // `osRelease` is the content of the file, empty when there is none; `kernelVersion` the release of the
    // kernel as uname(2) gives it; `hardware` the name of the machine's model, may be empty.
    //
    // The description is PRETTY_NAME, or NAME and VERSION, or "Linux", then " Kernel " and the version. The
    // short name is ID and VERSION_ID, or "linux". The edition is VARIANT.
    s3OperatingSystemLinux(const QByteArray &osRelease, const QString &kernelVersion,
                           const QString &hardware);

    [[nodiscard]] QString hardwareIdentifier() const override { return m_hardware; }
    [[nodiscard]] QString edition() const override { return m_edition; }

private:
    QString m_hardware;
    QString m_edition;
};
