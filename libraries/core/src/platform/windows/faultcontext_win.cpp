#include "platform/windows/faultcontext_win.h"

extern "C" {
extern const char s3ForcedFaultEnd[];
EXCEPTION_DISPOSITION s3ForcedFaultHandler(EXCEPTION_RECORD *record, void *frame, CONTEXT *context,
                                           void *dispatcher) __attribute__((used));
}

// GCC knows no structured exception blocks, the assembler does. The function has no prologue and touches no
// register, so that the caller's registers can be told from those at the fault.
asm(R"(
    .text
    .p2align 4
    .globl s3ForceFault
    .def s3ForceFault; .scl 2; .type 32; .endef
    .globl s3ForcedFaultEnd
    .seh_proc s3ForceFault
s3ForceFault:
    .seh_handler s3ForcedFaultHandler, @except
    .seh_endprologue
    movl $1, 0
s3ForcedFaultEnd:
    ret
    .seh_endproc
)");

EXCEPTION_DISPOSITION s3ForcedFaultHandler(EXCEPTION_RECORD *, void *, CONTEXT *context, void *)
{
    s3FaultContext caller = platform::contextOfRecord(*context);
    caller.rip = *reinterpret_cast<const quint64 *>(caller.rsp);
    caller.rsp += sizeof(quint64);
    s3SaveContext(&caller);
    context->Rip = reinterpret_cast<DWORD64>(s3ForcedFaultEnd);
    return ExceptionContinueExecution;
}

namespace platform
{

s3FaultContext contextOfRecord(const CONTEXT &record)
{
    s3FaultContext result;
    result.rip = record.Rip;
    result.rsp = record.Rsp;
    result.rax = record.Rax;
    result.rbx = record.Rbx;
    result.rcx = record.Rcx;
    result.rdx = record.Rdx;
    result.rsi = record.Rsi;
    result.rdi = record.Rdi;
    result.rbp = record.Rbp;
    result.r8 = record.R8;
    result.r9 = record.R9;
    result.r10 = record.R10;
    result.r11 = record.R11;
    result.r12 = record.R12;
    result.r13 = record.R13;
    result.r14 = record.R14;
    result.r15 = record.R15;
    result.eflags = record.EFlags;
    return result;
}

CONTEXT recordOfContext(const s3FaultContext &context)
{
    CONTEXT record = {};
    record.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
    record.Rip = context.rip;
    record.Rsp = context.rsp;
    record.Rax = context.rax;
    record.Rbx = context.rbx;
    record.Rcx = context.rcx;
    record.Rdx = context.rdx;
    record.Rsi = context.rsi;
    record.Rdi = context.rdi;
    record.Rbp = context.rbp;
    record.R8 = context.r8;
    record.R9 = context.r9;
    record.R10 = context.r10;
    record.R11 = context.r11;
    record.R12 = context.r12;
    record.R13 = context.r13;
    record.R14 = context.r14;
    record.R15 = context.r15;
    record.EFlags = static_cast<DWORD>(context.eflags);
    return record;
}

}
