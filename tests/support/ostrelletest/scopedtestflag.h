#pragma once

#include "s3testflags.h"

#include <QtGlobal>

// Switches one test flag on for the scope.
class ScopedTestFlag
{
public:
    explicit ScopedTestFlag(qint32 flag) : m_flag(flag) { s3TestFlagsInstance()->insert(flag); }
    ~ScopedTestFlag() { s3TestFlagsInstance()->remove(m_flag); }
    Q_DISABLE_COPY_MOVE(ScopedTestFlag)

private:
    qint32 m_flag;
};
