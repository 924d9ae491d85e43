#pragma once

// The turn among threads that fail at the same time. The first one owns the crash path; another one waits,
// and gets its turn while the first one's box stands. There is no mutex: whoever fails while it has the turn
// has it. Nothing here takes memory from the heap. Any thread.
class s3CrashTurn
{
public:
    s3CrashTurn() = delete;

    // Waits until the turn is free and takes it; returns at once on the thread that has it.
    static void take();

    // Gives the turn back, if the calling thread has it.
    static void give();

    [[nodiscard]] static bool isMine();

    // Whether there has been a failure in this process.
    [[nodiscard]] static bool wasTaken();
};
