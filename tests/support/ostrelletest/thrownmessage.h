#pragma once

#include "error/s3exception.h"
#include "ostrelletest/scopedtestflag.h"

#include <QString>

// The message of the assertion that fails in `function`, thrown under test flag 191; empty when none does.
template <class Function> QString thrownMessage(Function &&function)
{
    const ScopedTestFlag throwing(191);
    try {
        std::forward<Function>(function)();
    } catch (const s3Exception &exception) {
        return QString::fromUtf8(exception.what());
    }
    return QString();
}

// Whether `message` is that of the assertion `condition` in `function` of the module `file`, at some line,
// with the explanation `text`.
inline bool isAssertion(const QString &message, const QString &condition, const QString &file,
                        const QString &function, const QString &text = QString())
{
    const QString start
        = QStringLiteral("\nBedingung nicht erfuellt\n%1\nFehlernummer -1111: in %2:").arg(condition, file);
    const QString end = QStringLiteral(" in %1()\n%2\n").arg(function, text);
    if (!message.startsWith(start) || !message.endsWith(end))
        return false;
    bool isNumber = false;
    const int line = message.mid(start.size(), message.size() - start.size() - end.size()).toInt(&isNumber);
    return isNumber && line > 0;
}
