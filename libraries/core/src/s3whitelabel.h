#pragma once

#include "s3singleton.h"

#include <QString>

// The brand under which the program runs: what a partner's white-label file says about names, titles and
// images. Inactive, with empty texts, unless such a file has been loaded; the mail tool loads none.
//
// A white-label file is a settings file (docs/whitelabel.md) with the keys
//
//     general      productName, defaultWindowTitle
//     application  organizationName, applicationName, iconName
//     login        imageName, imageNameRtl
//     toolbar      logoName
//     aboutDialog  imageName
//
// all of them optional. Names of icons, images and logos are paths, and relative ones count from the working
// directory of the load.
//
// No lock: load belongs to the start of the main thread, before there are workers; all else only reads.
class s3WhiteLabel final : public s3Singleton<s3WhiteLabel>
{
public:
    // Brings the brand of the white-label file `filePath` in force: the file's base name is its name. An
    // empty base name and one that begins with "zerkgui", the product's own configuration, change nothing.
    //
    // The file is read through a private copy, so the process's temporary directory has to exist
    // (s3TempDirCreate). A file that cannot be read is no error: the brand is in force all the same, and
    // has its name alone. A second load changes only what it reads.
    void load(const QString &filePath);

    // Whether a brand is in force.
    [[nodiscard]] bool isActive() const { return m_active; }

    // The base name of the white-label file.
    [[nodiscard]] QString name() const { return m_name; }

    // The text with the brand's product name for each "Zerk", at whatever place of a word it stands. A brand
    // whose product name consists of blanks takes the word out, with one blank beside it. Without a brand
    // the text stays as it is.
    [[nodiscard]] QString replaceProductName(const QString &text) const;

    // What the file says, else name().
    [[nodiscard]] QString organizationName() const;
    [[nodiscard]] QString applicationName() const;

    // The brand's title for windows that name none of their own; without one the product name, else name().
    [[nodiscard]] QString defaultWindowTitle() const;

    // Absolute paths, empty where the file names none.
    [[nodiscard]] QString iconName() const { return m_iconName; }
    // In a language that is written from right to left its own image, also when there is none.
    [[nodiscard]] QString loginImageName() const;
    [[nodiscard]] QString toolbarLogoName() const { return m_toolbarLogoName; }
    [[nodiscard]] QString aboutImageName() const { return m_aboutImageName; }

private:
    void read(const QString &filePath);

    bool m_active = false;
    QString m_name;
    QString m_productName;
    QString m_organizationName;
    QString m_applicationName;
    QString m_defaultWindowTitle;
    QString m_iconName;
    QString m_loginImageName;
    QString m_loginImageNameRtl;
    QString m_toolbarLogoName;
    QString m_aboutImageName;
};

// The process-wide brand. Never null.
[[nodiscard]] s3WhiteLabel *s3WhiteLabelInstance();
