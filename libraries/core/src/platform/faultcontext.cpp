#include "platform/faultcontext.h"

namespace
{

constinit s3FaultContext savedRegisters;
constinit bool isContextSaved = false;
constinit quint64 firstFrame = 0;

}

void s3SaveContext(const s3FaultContext *context)
{
    firstFrame = 0;
    isContextSaved = context != nullptr;
    if (isContextSaved)
        savedRegisters = *context;
}

const s3FaultContext *s3SavedContext()
{
    return isContextSaved ? &savedRegisters : nullptr;
}

quint64 s3FirstFrameAddress()
{
    return firstFrame;
}

void s3SetFirstFrameAddress(quint64 address)
{
    firstFrame = address;
}
