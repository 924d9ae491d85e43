#include "recorder.h"

extern "C" ULONG MAPISendMailW(LHANDLE session, ULONG_PTR uiParam, lpMapiMessageW message, FLAGS flags,
                               ULONG reserved)
{
    return recorder::record("MAPISendMailW", session, uiParam, message, flags, reserved);
}
