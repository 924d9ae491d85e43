#pragma once

#include <QtGlobal>

// The registers of a fault: what the report shows and what a walk over the stack starts from.
struct s3FaultContext {
    quint64 rip = 0;
    quint64 rsp = 0;
    quint64 rax = 0;
    quint64 rbx = 0;
    quint64 rcx = 0;
    quint64 rdx = 0;
    quint64 rsi = 0;
    quint64 rdi = 0;
    quint64 rbp = 0;
    quint64 r8 = 0;
    quint64 r9 = 0;
    quint64 r10 = 0;
    quint64 r11 = 0;
    quint64 r12 = 0;
    quint64 r13 = 0;
    quint64 r14 = 0;
    quint64 r15 = 0;
    quint64 eflags = 0;
};

// The saved context of the process is one plain global, of the failure that is being told. There is no lock:
// only a dying process gets here. None of these allocates, throws or fails; they may be called from a
// signal handler.

// Saves a copy of `context` and forgets the address of the first frame. Null: no context is saved any more.
void s3SaveContext(const s3FaultContext *context);

// The saved context, null when there is none. The pointer stays valid, what it points to changes with the
// next s3SaveContext().
[[nodiscard]] const s3FaultContext *s3SavedContext();

// The address of the stack frame on top of the saved context's stack, 0 while nobody has walked it.
[[nodiscard]] quint64 s3FirstFrameAddress();
void s3SetFirstFrameAddress(quint64 address);

// Gives a place that fails without a machine fault a context as a real fault would have left it: writes 1
// through a null pointer, takes the fault, and saves the registers that the caller has at this call, as by
// s3SaveContext(). A debugger stops here at the first chance. Any thread, also under s3RunGuarded();
// handlers for faults that others installed do not see it.
extern "C" void s3ForceFault();
