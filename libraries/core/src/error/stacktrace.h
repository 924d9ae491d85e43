#pragma once

#include <QString>

#include <array>

class QIODevice;
namespace platform
{
class StackWalker;
}

// What is known in short of the modules on top of a stack, the innermost first. A run of frames in one
// module makes one entry; entries that are not used are empty and 0.
struct s3StackSummary {
    std::array<QString, 2> functions; // the symbol at each entry's first frame, without parentheses
    std::array<QString, 3> modules; // full paths
    std::array<int, 3> frameNumbers = {}; // of each entry's first frame, counting from 1

    void reset() { *this = s3StackSummary(); }
};

// Both walk the stack of the saved context (platform/faultcontext.h) on the thread that failed; where none
// is saved, they force a fault at their own place. They are not safe on two threads at once, take no lock
// and have no catch-all: the caller runs them under s3RunGuarded().

// Fills `summary` with at most three modules from at most 100 frames, and the address of the first frame.
// Whether there is a summary. Without symbols it is the module of the instruction pointer alone.
[[nodiscard]] bool captureStackSummary(s3StackSummary &summary);

// Writes the stack, at most 100 frames, to an open file; to a closed one nothing. Every line is flushed.
void writeStackTrace(QIODevice &file);

// Sets the symbols up and writes what they are read with. False, with the reason written, when that fails.
[[nodiscard]] bool initDbghelpStackTrace(QIODevice &file);

// The same over the walker given.
[[nodiscard]] bool captureStackSummary(s3StackSummary &summary, platform::StackWalker &walker);
void writeStackTrace(QIODevice &file, platform::StackWalker &walker);
[[nodiscard]] bool initDbghelpStackTrace(QIODevice &file, platform::StackWalker &walker);

// Writes `text` in the report's 8-bit character set and flushes the file.
void writeReportLine(QIODevice &file, const QString &text);
