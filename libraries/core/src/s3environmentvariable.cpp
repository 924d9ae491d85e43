#include "s3environmentvariable.h"

#include "platform/environment.h"

s3EnvironmentVariable::s3EnvironmentVariable(const QString &name) : m_name(name)
{
    m_savedValue = read();
}

QString &s3EnvironmentVariable::read()
{
    if (!m_name.isEmpty())
        m_value = platform::environmentVariable(m_name).value_or(QString());
    return m_value;
}

void s3EnvironmentVariable::set(const QString &newValue)
{
    if (!m_name.isEmpty())
        platform::setEnvironmentVariable(m_name, newValue);
    read();
}

bool s3EnvironmentVariable::isSet()
{
    return !read().isEmpty() || (!m_name.isEmpty() && platform::environmentVariable(m_name).has_value());
}

bool s3EnvironmentVariable::isEmpty()
{
    return read().isEmpty();
}

void s3EnvironmentVariable::clear()
{
    if (!read().isEmpty())
        set(QString());
}

void s3EnvironmentVariable::restore()
{
    set(m_savedValue);
}
