#include "test/s3testausproxy.h"

#include <utility>

s3TestausProxy *s3TestausProxy::instance()
{
    return singletonInstance();
}

void s3TestausProxy::print(const QString &text, bool endLine)
{
    if (m_callback)
        m_callback(text, endLine);
}

void s3TestausProxy::setCallback(Callback callback)
{
    m_callback = std::move(callback);
}
