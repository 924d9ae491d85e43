#pragma once

#include "platform/systemversion.h"
#include "s3operatingsystem.h"

#include <QString>

#include <memory>

// Describes a Windows by its kernel version, its product type and its registry. The name comes from a table
// here and not from the registry, whose product name stayed "Windows 10" on Windows 11. Compiled on
// every platform: it knows Windows only through the interface that it is given.
class s3OperatingSystemWindows final : public s3OperatingSystemPrivate
{
public:
    // Asks `system` for everything that the description needs. `system` is not null.
    explicit s3OperatingSystemWindows(std::unique_ptr<const platform::SystemVersion> system);

    [[nodiscard]] QString hardwareIdentifier() const override;
    [[nodiscard]] QString edition() const override;
    [[nodiscard]] bool isGeneration1OrLater() const override;
    [[nodiscard]] bool isGeneration2OrLater() const override;
    [[nodiscard]] bool isGeneration3OrLater() const override;

    // The place on the scale of generations, 0 for a kernel that is not known.
    [[nodiscard]] qint32 versionId() const { return m_versionId; }

private:
    void compose();
    [[nodiscard]] QString currentVersionValue(const QString &valueName) const;
    [[nodiscard]] bool isVersionId(qint32 lowest, qint32 highest) const;

    std::unique_ptr<const platform::SystemVersion> m_system;
    qint32 m_versionId = 0;
};
