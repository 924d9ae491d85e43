#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// Makes or replaces a file with exactly these bytes.
[[nodiscard]] inline bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
}

// The bytes of a file; null when it cannot be opened.
[[nodiscard]] inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}
