#pragma once

#include "platform/faultcontext.h"

#include <windows.h>

namespace platform
{

[[nodiscard]] s3FaultContext contextOfRecord(const CONTEXT &record);

// The same registers again, as much as a walk over the stack needs.
[[nodiscard]] CONTEXT recordOfContext(const s3FaultContext &context);

}
