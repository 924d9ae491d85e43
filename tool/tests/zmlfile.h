#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

// A temporary directory with a zml file in it, for one test.
class ZmlFile
{
public:
    // Writes `lines` behind a section head, as UTF-8.
    explicit ZmlFile(const QByteArray &lines) { writeRaw("[ZERKMAIL]\n" + lines); }

    // Replaces the whole file by `bytes`.
    void writeRaw(const QByteArray &bytes) const { writeBeside(QStringLiteral("mail.zml"), bytes); }

    // Writes another file into the directory of the zml file and gives its absolute path.
    QString writeBeside(const QString &name, const QByteArray &bytes) const
    {
        QFile file(m_directory.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
        return file.fileName();
    }

    QString path() const { return m_directory.filePath(QStringLiteral("mail.zml")); }
    QString directory() const { return m_directory.path(); }
    QDir dir() const { return QDir(m_directory.path()); }

private:
    QTemporaryDir m_directory;
};
