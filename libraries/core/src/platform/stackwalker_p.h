#pragma once

#include "platform/stackwalker.h"

namespace platform
{

// The walker of this process. There is one, so what it knows of a walk lies beside its functions, which are
// each platform's own.
class SystemStackWalker final : public StackWalker
{
public:
    Version version() override;
    bool initialize() override;
    void cleanUp() override;
    bool searchPath(QString &path) override;
    void start(const s3FaultContext &context) override;
    bool next(StackFrame &frame) override;
    bool module(const StackFrame &frame, StackModule &module) override;
    bool symbol(const StackFrame &frame, StackSymbol &symbol) override;
    bool line(const StackFrame &frame, StackLine &line) override;
    bool word(quint64 address, quint64 &word) override;
    QString modulePath(quint64 address) override;
    QString errorText() override;
};

}
