#pragma once

class s3CrashSteps;

// The steps of this process: the real platform, boxes, report and exit. The object is there before all others
// and is never destroyed.
[[nodiscard]] s3CrashSteps &systemCrashSteps();
