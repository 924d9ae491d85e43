#include "platform/versioninfo.h"

#include <vector>

#include <windows.h>

namespace platform
{

namespace
{

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

class VersionBlock final : public VersionInfo
{
public:
    explicit VersionBlock(std::vector<std::byte> block) : m_block(std::move(block)) { }

    bool query(const QString &path, const void *&value, quint32 &size) const override
    {
        void *start = nullptr;
        UINT length = 0;
        if (VerQueryValueW(m_block.data(), wide(path), &start, &length) == FALSE || start == nullptr)
            return false;
        value = start;
        size = length;
        return true;
    }

private:
    std::vector<std::byte> m_block;
};

}

std::unique_ptr<VersionInfo> readVersionInfo(const QString &fileName)
{
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(wide(fileName), &ignored);
    if (size == 0)
        return nullptr;
    std::vector<std::byte> block(size);
    if (GetFileVersionInfoW(wide(fileName), 0, size, block.data()) == FALSE)
        return nullptr;
    return std::make_unique<VersionBlock>(std::move(block));
}

}
