#pragma once

#include <QString>

#include <memory>

namespace platform
{

// The version resource of one binary, in memory.
class VersionInfo
{
public:
    virtual ~VersionInfo() = default;

    // The part of the resource under `path` ("\VarFileInfo\Translation", "\StringFileInfo\..."): where it
    // starts, inside this object, and its size: bytes for binary parts, characters with the closing null
    // for texts. False when there is no such part.
    [[nodiscard]] virtual bool query(const QString &path, const void *&value, quint32 &size) const = 0;
};

// Reads the version resource of the binary `fileName`, null when it has none or cannot be read, and always
// on Linux, whose binaries carry no such resource.
[[nodiscard]] std::unique_ptr<VersionInfo> readVersionInfo(const QString &fileName);

}
