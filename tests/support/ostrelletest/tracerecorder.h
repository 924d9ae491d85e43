#pragma once

#include "test/s3testausproxy.h"

#include <QStringList>

// Collects the lines of the developers' trace for the scope. Needs an application object; switch the
// wanted flags on with ScopedTestFlag.
class TraceRecorder
{
public:
    TraceRecorder()
    {
        s3TestausProxy::instance()->setCallback([this](const QString &text, bool) { m_lines += text; });
    }
    ~TraceRecorder() { s3TestausProxy::instance()->setCallback(nullptr); }
    Q_DISABLE_COPY_MOVE(TraceRecorder)

    [[nodiscard]] QStringList lines() const { return m_lines; }

private:
    QStringList m_lines;
};
