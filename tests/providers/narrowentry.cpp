#include "recorder.h"

extern "C" ULONG MAPISendMail(LHANDLE session, ULONG_PTR uiParam, lpMapiMessage message, FLAGS flags,
                              ULONG reserved)
{
    return recorder::record("MAPISendMail", session, uiParam, message, flags, reserved);
}
