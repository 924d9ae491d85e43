#pragma once

#include <QString>

class s3CrashSteps;
struct s3StackSummary;

// Faults in components that are not ours: they are told to the user and not diagnosed.

// Whether a fault with this exception code is one of a foreign component. Only faults of a few kinds can be,
// in a module outside the own ones; an access violation must not have an own module close above it either,
// since it may then come from an argument of ours.
[[nodiscard]] bool isForeignFault(s3CrashSteps &steps, quint32 code, const s3StackSummary &summary);

// The words of the box; `text` is the fault's name. The summary's first module must not be empty.
[[nodiscard]] QString foreignFaultText(s3CrashSteps &steps, const QString &text,
                                       const s3StackSummary &summary);

// Beeps, shows the box and ends the program with 1. False, and then the fault goes the ordinary way, when the
// first module is not known or one of the steps fails.
bool foreignFaultBox(s3CrashSteps &steps, const QString &text, const s3StackSummary &summary);
