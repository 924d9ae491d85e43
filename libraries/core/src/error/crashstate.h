#pragma once

#include <QString>

#include <atomic>

// The process-wide state of the crash path: plain globals, no lock guards them.

// Set once ErrorAndExit has recorded its own event. From then on the call histories accept nothing more, and
// a later ErrorAndExit keeps what the first one captured.
extern std::atomic<bool> reportFrozen;

// The title of the foreground window at the first failure, at most 79 characters.
extern QString &activeWindowTitle;

// The blocks of all failures so far, as the report shows them.
extern QString &errorText;

// How often the report writer was entered.
extern std::atomic<int> reportEntries;

// Replaces the clean-up of the temporary directory at exitProgram; null for none. Nothing sets it here.
extern void (*exitHook)();

// Lowers the number of modules that isForeignFault looks at; 0 for no change. Only a developer's crash test
// sets it.
extern int debugFrameLimit;
