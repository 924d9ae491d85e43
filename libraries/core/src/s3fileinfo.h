#pragma once

#include <QFileInfo>
#include <QString>

// A QFileInfo whose path is normalised to forward slashes before it reaches Qt.
class s3FileInfo : public QFileInfo
{
public:
    explicit s3FileInfo(const QString &path);

    // Whether the normalised path names an existing entry; a directory counts.
    [[nodiscard]] static bool exists(const QString &path);
};
