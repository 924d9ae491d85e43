#include "platform/systemversion.h"

#include "coreutil.h"
#include "s3operatingsystemwindows.h"

#include <QSysInfo>

#include <windows.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// One question to VerifyVersionInfoW: `type` is the field of `wanted` that counts.
bool verify(OSVERSIONINFOEXW wanted, DWORD type, BYTE condition)
{
    wanted.dwOSVersionInfoSize = sizeof wanted;
    return VerifyVersionInfoW(&wanted, type, VerSetConditionMask(0, type, condition)) != FALSE;
}

class RealSystemVersion final : public SystemVersion
{
public:
    QString kernelVersion() const override { return QSysInfo::kernelVersion(); }

    bool isProductType(quint8 type) const override
    {
        OSVERSIONINFOEXW wanted = {};
        wanted.wProductType = type;
        return verify(wanted, VER_PRODUCT_TYPE, VER_EQUAL);
    }

    bool hasSuite(quint16 mask) const override
    {
        OSVERSIONINFOEXW wanted = {};
        wanted.wSuiteMask = mask;
        return verify(wanted, VER_SUITENAME, VER_AND);
    }

    bool isWow64() const override
    {
        BOOL answer = FALSE;
        return IsWow64Process(GetCurrentProcess(), &answer) != FALSE && answer != FALSE;
    }

    QString registryValue(const QString &key, const QString &valueName) const override
    {
        return s3GetRegistryValue(u"HKEY_LOCAL_MACHINE"_s, key, valueName);
    }
};

}

const s3OperatingSystemPrivate &operatingSystem()
{
    static const s3OperatingSystemWindows system(std::make_unique<RealSystemVersion>());
    return system;
}

}
