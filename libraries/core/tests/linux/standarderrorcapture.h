#pragma once

#include <QByteArray>
#include <QTemporaryFile>

#include <cstdio>

#include <unistd.h>

// Collects what the process writes to standard error, by any way, for the scope.
class StandardErrorCapture
{
public:
    StandardErrorCapture() : m_saved(dup(STDERR_FILENO))
    {
        m_capturing = m_saved >= 0 && m_file.open() && dup2(m_file.handle(), STDERR_FILENO) >= 0;
    }
    ~StandardErrorCapture() { restore(); }
    Q_DISABLE_COPY_MOVE(StandardErrorCapture)

    // Ends the collecting and gives the bytes.
    [[nodiscard]] QByteArray take()
    {
        restore();
        m_file.seek(0);
        return m_capturing ? m_file.readAll() : QByteArrayLiteral("(not captured)");
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        std::fflush(stderr);
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        m_saved = -1;
    }

    int m_saved;
    bool m_capturing = false;
    QTemporaryFile m_file;
};
