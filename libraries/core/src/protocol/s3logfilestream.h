#pragma once

#include <QString>

// Named log streams of the process.
class s3LogFileStream
{
public:
    // Whether a stream is open under `key`.
    [[nodiscard]] static bool isOpen(const QString &key);
};
