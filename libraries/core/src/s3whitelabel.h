#pragma once

#include "s3singleton.h"

#include <QString>

// The brand under which the program runs. Inactive unless a brand file has been loaded.
class s3WhiteLabel final : public s3Singleton<s3WhiteLabel>
{
public:
    [[nodiscard]] bool isActive() const { return m_active; }

    // The brand's title for windows that name none of their own.
    [[nodiscard]] QString defaultWindowTitle() const { return m_defaultWindowTitle; }

private:
    bool m_active = false;
    QString m_defaultWindowTitle;
};

// The process-wide brand. Never null.
[[nodiscard]] s3WhiteLabel *s3WhiteLabelInstance();
