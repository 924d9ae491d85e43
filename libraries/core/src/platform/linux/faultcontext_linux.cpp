#include "platform/faultcontext.h"

#include "platform/linux/guardedfault_linux.h"

#include <ucontext.h>

extern "C" {
extern const char s3ForcedFaultBegin[] __attribute__((visibility("hidden")));
extern const char s3ForcedFaultEnd[] __attribute__((visibility("hidden")));
void s3PrepareForcedFault() __attribute__((visibility("hidden"), used));
}

// One write through a null pointer. The registers are the caller's there, and the stack holds nothing but the
// return address, so that the caller's can be told from those at the fault.
asm(R"(
    .pushsection .text
    .globl s3ForceFault
    .type s3ForceFault, @function
    .globl s3ForcedFaultBegin
    .hidden s3ForcedFaultBegin
    .globl s3ForcedFaultEnd
    .hidden s3ForcedFaultEnd
s3ForceFault:
    .cfi_startproc
    pushq %rax
    .cfi_adjust_cfa_offset 8
    pushq %rcx
    .cfi_adjust_cfa_offset 8
    pushq %rdx
    .cfi_adjust_cfa_offset 8
    pushq %rsi
    .cfi_adjust_cfa_offset 8
    pushq %rdi
    .cfi_adjust_cfa_offset 8
    pushq %r8
    .cfi_adjust_cfa_offset 8
    pushq %r9
    .cfi_adjust_cfa_offset 8
    pushq %r10
    .cfi_adjust_cfa_offset 8
    pushq %r11
    .cfi_adjust_cfa_offset 8
    call s3PrepareForcedFault
    popq %r11
    .cfi_adjust_cfa_offset -8
    popq %r10
    .cfi_adjust_cfa_offset -8
    popq %r9
    .cfi_adjust_cfa_offset -8
    popq %r8
    .cfi_adjust_cfa_offset -8
    popq %rdi
    .cfi_adjust_cfa_offset -8
    popq %rsi
    .cfi_adjust_cfa_offset -8
    popq %rdx
    .cfi_adjust_cfa_offset -8
    popq %rcx
    .cfi_adjust_cfa_offset -8
    popq %rax
    .cfi_adjust_cfa_offset -8
s3ForcedFaultBegin:
    movl $1, 0
s3ForcedFaultEnd:
    ret
    .cfi_endproc
    .size s3ForceFault, . - s3ForceFault
    .popsection
)");

void s3PrepareForcedFault()
{
    sigset_t before;
    platform::armGuards(&before);
}

namespace platform
{

s3FaultContext contextOfSignal(const void *context)
{
    const greg_t *registers = static_cast<const ucontext_t *>(context)->uc_mcontext.gregs;
    const auto value = [registers](int index) {
        return static_cast<quint64>(registers[index]);
    };
    s3FaultContext result;
    result.rip = value(REG_RIP);
    result.rsp = value(REG_RSP);
    result.rax = value(REG_RAX);
    result.rbx = value(REG_RBX);
    result.rcx = value(REG_RCX);
    result.rdx = value(REG_RDX);
    result.rsi = value(REG_RSI);
    result.rdi = value(REG_RDI);
    result.rbp = value(REG_RBP);
    result.r8 = value(REG_R8);
    result.r9 = value(REG_R9);
    result.r10 = value(REG_R10);
    result.r11 = value(REG_R11);
    result.r12 = value(REG_R12);
    result.r13 = value(REG_R13);
    result.r14 = value(REG_R14);
    result.r15 = value(REG_R15);
    result.eflags = value(REG_EFL);
    return result;
}

bool takeForcedFault(void *context)
{
    greg_t *registers = static_cast<ucontext_t *>(context)->uc_mcontext.gregs;
    if (registers[REG_RIP] != reinterpret_cast<greg_t>(s3ForcedFaultBegin))
        return false;
    s3FaultContext caller = contextOfSignal(context);
    caller.rip = *reinterpret_cast<const quint64 *>(caller.rsp);
    caller.rsp += sizeof(quint64);
    s3SaveContext(&caller);
    registers[REG_RIP] = reinterpret_cast<greg_t>(s3ForcedFaultEnd);
    return true;
}

}
