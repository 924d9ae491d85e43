#pragma once

#include "s3singleton.h"

#include <QString>

// The brand under which the program runs. Inactive unless a brand file has been loaded.
class s3WhiteLabel final : public s3Singleton<s3WhiteLabel>
{
public:
    [[nodiscard]] bool isActive() const { return m_active; }

    // Brings the brand of the white-label file `filePath` in force: the file's base name is its name. An
    // empty base name and one that begins with "zerkgui", the product's own configuration, change nothing.
    // What stands in the file is not read.
    void load(const QString &filePath);

    // The base name of the white-label file.
    [[nodiscard]] QString name() const { return m_name; }

    // The brand's title for windows that name none of their own; without one its name.
    [[nodiscard]] QString defaultWindowTitle() const
    {
        return m_defaultWindowTitle.isEmpty() ? m_name : m_defaultWindowTitle;
    }

private:
    bool m_active = false;
    QString m_name;
    QString m_defaultWindowTitle;
};

// The process-wide brand. Never null.
[[nodiscard]] s3WhiteLabel *s3WhiteLabelInstance();
