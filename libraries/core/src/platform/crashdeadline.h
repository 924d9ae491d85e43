#pragma once

// The end of a crash path that does not come to an end by itself. Nothing here takes memory from the heap;
// where the system refuses, there is no limit.
namespace platform
{

// Prepares what a failing process could not make any more. Called once, at the installation of the handlers.
void prepareCrashDeadline();

// From now on the process has the limit of time until it is ended with `exitCode` at once. A second call
// changes nothing.
void startCrashDeadline(int exitCode);

// Changes the exit code of a limit that is running.
void setCrashDeadlineExitCode(int exitCode);

// Stops the clock while a user looks at a box, and lets it go on with what was left. Calls may overlap: it
// runs while no box stands, on Windows also while none has come to the screen.
void pauseCrashDeadline();
void resumeCrashDeadline();

// The end of a failing process, behind all that the program itself tidies up. Windows: ends it at once with
// the limit's exit code, since the clean-up of its libraries may hang and the clock's thread is gone by then.
// Linux: returns, the clock runs until the end.
void finishFailedProcess();

// The limit in milliseconds, 9000 at first: a failing process is gone within ten seconds. For tests, before a
// failure.
void setCrashDeadlineLimit(int milliseconds);

}
