#pragma once

#include <QString>

struct s3FaultContext;

// The parts of a report that show the processor and raw memory. Each reads under s3RunGuarded: an address
// that cannot be read ends the part, never the process. Any thread.

// Copies up to `size` bytes from `address`, which may be any, to `to`. How many could be read.
qsizetype readMemoryGuarded(quint64 address, uchar *to, qsizetype size);

// The three lines of the registers, each ended by a line feed; empty without a context.
[[nodiscard]] QString reportRegisters(const s3FaultContext *context);

// Two blocks of six rows of 16 bytes as hexadecimal and characters, around RIP and from RSP on, each with a
// line feed behind it; empty without a context. A byte that cannot be read ends its block.
[[nodiscard]] QString reportMemory(const s3FaultContext *context);

// Four rows of two 64-bit words from 16 bytes below the first stack frame on; empty when its address is 0. A
// word that cannot be read ends the rows.
[[nodiscard]] QString reportFrameWords(quint64 firstFrameAddress);
