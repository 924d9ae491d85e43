#include "platform/runguarded.h"

#include <QtGlobal>

#include <windows.h>

#include <malloc.h>

extern "C" {
quint32 s3CallUnderGuard(void (*step)(void *), void *data);
extern const char s3GuardReturn[];
EXCEPTION_DISPOSITION s3GuardHandler(EXCEPTION_RECORD *record, void *frame, CONTEXT *context,
                                     DISPATCHER_CONTEXT *dispatcher) __attribute__((used));
}

// GCC knows no structured exception blocks, the assembler does. Answers 0, or the code of the exception that
// ended the step: the unwinding continues at s3GuardReturn with the code as the result.
asm(R"(
    .text
    .p2align 4
    .globl s3CallUnderGuard
    .def s3CallUnderGuard; .scl 2; .type 32; .endef
    .globl s3GuardReturn
    .seh_proc s3CallUnderGuard
s3CallUnderGuard:
    .seh_handler s3GuardHandler, @except
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    xorl %eax, %eax
s3GuardReturn:
    nop
    addq $40, %rsp
    ret
    .seh_endproc
)");

EXCEPTION_DISPOSITION s3GuardHandler(EXCEPTION_RECORD *record, void *frame, CONTEXT *context,
                                     DISPATCHER_CONTEXT *dispatcher)
{
    // Only warnings and errors of the system end the step. C++ exceptions of this compiler are the step's
    // own, and notes for a debugger are no failures.
    const bool isFault = (record->ExceptionCode & 0x80000000U) != 0;
    const bool isUnwinding = (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
    if (!isFault || isUnwinding)
        return ExceptionContinueSearch;
    RtlUnwindEx(frame, const_cast<char *>(s3GuardReturn), record,
                reinterpret_cast<void *>(static_cast<quintptr>(record->ExceptionCode)), context,
                dispatcher->HistoryTable);
    return ExceptionContinueSearch; // not reached
}

namespace platform
{

bool runFaultGuarded(void (*step)(void *), void *data)
{
    const quint32 code = s3CallUnderGuard(step, data);
    if (code == EXCEPTION_STACK_OVERFLOW)
        _resetstkoflw();
    return code == 0;
}

}
