#pragma once

#include "dictionarywriter.h"

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QString>

// The bytes of a dictionary file; empty when the writer refuses the contents.
inline QByteArray dictionaryBytes(const DictionaryContents &contents)
{
    QBuffer buffer;
    QString error;
    if (!buffer.open(QIODevice::WriteOnly) || !writeDictionary(contents, buffer, error))
        return {};
    return buffer.data();
}

// Whether all `bytes` now stand in the file `filePath`.
inline bool writeBytes(const QString &filePath, const QByteArray &bytes)
{
    QFile file(filePath);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
