#pragma once

#include <QString>
#include <QStringList>

#include <chrono>

// The diagnostic report: the record that a dying program leaves for a support person. Its wording and the
// order of its sections are fixed, because records are read side by side.
//
// The text is put together in memory; the stack trace follows line by line in a temporary file, so that a
// fault within the trace leaves what was written. The finished record is appended to the report file
// (protocol/reportfilename.h). Module list, registers, memory, frame words and stack trace are each given up
// alone when they fault; a fault anywhere else leaves this function, for the crash path to catch.

// Writes one record. `withRegisters`: whether the record shows registers and memory of the saved fault
// context, which a failed assertion does not. Nothing is told when there is no place for the record: the
// user has seen the box already. From the seventh entry on it ends the process by exitProgram(-1) instead.
// Throws std::runtime_error behind the delivery of a record whose stack trace faulted and ends midway. On the
// failing thread, whichever that is; takes no lock of this process.
void writeDiagnosticReport(bool withRegisters);

// Replaces the arguments that the record shows, those of the application at first and when `arguments` is
// empty; passwords are masked in either case. Starts the clock of the call history. Main thread.
void setReportArguments(const QStringList &arguments);

// A text for the record, in front of its module list, asked for when it is set. Null at first.
using ReportHook = QString (*)();
extern ReportHook reportHook;

// How long a record waits for other processes that append to the same file, 2 seconds at first; behind that
// it is appended all the same. For tests, before a failure.
void setReportLockWait(std::chrono::milliseconds wait);
