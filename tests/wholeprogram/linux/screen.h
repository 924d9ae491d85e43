#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <csignal>
#include <sys/prctl.h>

// An X server of the suite's own, without a window manager, and xdotool on it. It ends with the object.
class Screen
{
public:
    // A process that has not been started yet will not outlive the suite, even if it crashes.
    static void endWithSuite(QProcess &process)
    {
        process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    }

    // False: Xvfb does not start.
    [[nodiscard]] bool start()
    {
        endWithSuite(m_server);
        // Without -noreset the server starts over whenever its last client goes, and one that comes at that
        // moment is lost.
        m_server.start(QStringLiteral("Xvfb"),
                       {QStringLiteral("-noreset"), QStringLiteral("-displayfd"), QStringLiteral("1"),
                        QStringLiteral("-screen"), QStringLiteral("0"), QStringLiteral("1280x1024x24"),
                        QStringLiteral("-nolisten"), QStringLiteral("tcp")});
        if (!m_server.waitForReadyRead(60000))
            return false;
        m_display = u':' + QString::fromLatin1(m_server.readLine().trimmed());
        return m_display.size() > 1;
    }

    // False: it does not end.
    [[nodiscard]] bool stop()
    {
        m_server.terminate();
        return m_server.state() == QProcess::NotRunning || m_server.waitForFinished(60000);
    }

    // The value of DISPLAY.
    [[nodiscard]] QString display() const { return m_display; }

    // What xdotool prints, without white space at the end. Windows that are gone give an empty answer.
    [[nodiscard]] QByteArray xdotool(const QStringList &arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_display);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral("xdotool"), arguments);
        if (!process.waitForFinished(60000))
            qFatal("xdotool cannot be run");
        return process.readAllStandardOutput().trimmed();
    }

private:
    QProcess m_server;
    QString m_display;
};
