#pragma once

#include <QByteArray>
#include <QtGlobal>

// Sets or removes one environment variable and puts the old state back at the end of the scope.
class ScopedEnvironment
{
public:
    // A null `value` removes the variable.
    ScopedEnvironment(const char *name, const QByteArray &value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_saved(qgetenv(name))
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~ScopedEnvironment()
    {
        if (m_wasSet)
            qputenv(m_name.constData(), m_saved);
        else
            qunsetenv(m_name.constData());
    }
    Q_DISABLE_COPY_MOVE(ScopedEnvironment)

private:
    QByteArray m_name;
    bool m_wasSet;
    QByteArray m_saved;
};
