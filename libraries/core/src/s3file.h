#pragma once

#include <QFile>
#include <QString>

// A QFile whose name is normalised to forward slashes before it reaches Qt.
class s3File : public QFile
{
    Q_OBJECT

public:
    // A closed file on the normalised name.
    explicit s3File(const QString &fileName);
};
