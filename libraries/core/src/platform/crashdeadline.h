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
// runs while no box stands.
void pauseCrashDeadline();
void resumeCrashDeadline();

// The limit in milliseconds, 9000 at first: a failing process is gone within ten seconds. For tests, before a
// failure.
void setCrashDeadlineLimit(int milliseconds);

}
