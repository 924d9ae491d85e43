#pragma once

#include "ostrelletest/filecontent.h"
#include "s3settings.h"
#include "s3tempdir.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

// Directories of its own for everything that settings ask for, for the scope.
class SettingsFixture
{
public:
    SettingsFixture()
    {
        for (const char *name : {"master", "temp", "gui", "local"})
            QDir(m_dir.path()).mkdir(QLatin1String(name));
        glob_file_tempDir = path(QStringLiteral("temp"));
        glob_file_guiDir = path(QStringLiteral("gui"));
        glob_file_localSettingsDir = path(QStringLiteral("local"));
    }
    ~SettingsFixture()
    {
        glob_file_tempDir.clear();
        glob_file_guiDir.clear();
        glob_file_localSettingsDir.clear();
        s3Settings::setIniFileName(QString());
    }
    Q_DISABLE_COPY_MOVE(SettingsFixture)

    [[nodiscard]] bool isValid() const { return m_dir.isValid(); }
    [[nodiscard]] QString path(const QString &name) const { return m_dir.filePath(name); }

    // The path of a master file with this content.
    [[nodiscard]] QString masterFile(const QByteArray &content,
                                     const QString &name = QStringLiteral("a.ini")) const
    {
        QString file = path(QStringLiteral("master/") + name);
        return writeFile(file, content) ? file : QString();
    }
    // Where the private copy of a master file lies.
    [[nodiscard]] QString privateCopy(const QString &name = QStringLiteral("a.ini")) const
    {
        return path(QStringLiteral("temp/_") + name);
    }

private:
    QTemporaryDir m_dir;
};

// The content of a settings file with the line ends of a text file on any platform taken for "\n".
[[nodiscard]] inline QByteArray readLines(const QString &path)
{
    return readFile(path).replace("\r\n", "\n");
}
