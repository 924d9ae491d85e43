#pragma once

#include "protocol/messagelog.h"

#include <QStringList>

// Collects the messages of the program's log for the scope, with its debug level switched on.
class LogRecorder
{
public:
    LogRecorder()
    {
        lines().clear();
        setLogCategory("gui.ostrelle");
        setDebugEnabled(true);
        m_previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { lines() += text; });
    }
    ~LogRecorder()
    {
        qInstallMessageHandler(m_previous);
        setDebugEnabled(false);
        clearLogCategory();
    }
    Q_DISABLE_COPY_MOVE(LogRecorder)

    static QStringList &lines()
    {
        static QStringList collected;
        return collected;
    }

private:
    QtMessageHandler m_previous;
};
