#pragma once

#include "s3operatingsystem.h"

#include <QString>

namespace platform
{

// What the system that this program runs on says about itself to s3OperatingSystemWindows. An interface, so
// that a script can take its place. No state; any thread.
class SystemVersion
{
public:
    SystemVersion() = default;
    virtual ~SystemVersion() = default;
    Q_DISABLE_COPY_MOVE(SystemVersion)

    // QSysInfo::kernelVersion, such as "10.0.19045".
    [[nodiscard]] virtual QString kernelVersion() const = 0;

    // Whether the product type (1 workstation, 2 domain controller, 3 server, the VER_NT_... of winnt.h) is
    // the given one: VerifyVersionInfoW with VER_PRODUCT_TYPE and VER_EQUAL.
    [[nodiscard]] virtual bool isProductType(quint8 type) const = 0;

    // Whether the system has each suite of the mask (VER_SUITE_... of winnt.h): VerifyVersionInfoW with
    // VER_SUITENAME and VER_AND.
    [[nodiscard]] virtual bool hasSuite(quint16 mask) const = 0;

    // Whether this is a program of 32 bits on a system of 64: IsWow64Process. False when the call fails.
    [[nodiscard]] virtual bool isWow64() const = 0;

    // The text of a value below HKEY_LOCAL_MACHINE, empty when there is none: s3GetRegistryValue.
    [[nodiscard]] virtual QString registryValue(const QString &key, const QString &valueName) const = 0;
};

// The one description of the system that this program runs on, made at the first call and never destroyed
// before the end of the process. Windows: s3OperatingSystemWindows over the real calls. Linux:
// s3OperatingSystemLinux.
[[nodiscard]] const s3OperatingSystemPrivate &operatingSystem();

}
