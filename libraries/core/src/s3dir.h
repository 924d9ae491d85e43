#pragma once

#include <QDir>
#include <QString>

// A QDir whose paths and names are normalised to forward slashes before they reach Qt.
class s3Dir : public QDir
{
public:
    explicit s3Dir(const QString &path);

    [[nodiscard]] QString filePath(const QString &name) const;
    [[nodiscard]] QString absoluteFilePath(const QString &name) const;
};

// `fileName` below `directory`, both normalised; an empty directory gives the name alone.
[[nodiscard]] QString s3PathJoin(const QString &directory, const QString &fileName);
