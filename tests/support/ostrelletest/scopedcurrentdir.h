#pragma once

#include <QDir>
#include <QString>

// Changes the working directory and goes back at the end of the scope.
class ScopedCurrentDir
{
public:
    explicit ScopedCurrentDir(const QString &path) : m_saved(QDir::currentPath())
    {
        m_entered = QDir::setCurrent(path);
    }
    ~ScopedCurrentDir() { QDir::setCurrent(m_saved); }
    Q_DISABLE_COPY_MOVE(ScopedCurrentDir)

    [[nodiscard]] bool entered() const { return m_entered; }

private:
    QString m_saved;
    bool m_entered = false;
};
