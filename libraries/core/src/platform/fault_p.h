#pragma once

#include "platform/fault.h"
#include "platform/faultcontext.h"

// What the sides of fault.h share.
namespace platform
{

// The handlers that are installed, all null before.
[[nodiscard]] FaultHandlers &faultHandlers();

// The handler of std::terminate hands over an uncaught exception and goes on with what was there before;
// that ends in abort.
void installTerminateHandler();
void removeTerminateHandler();

// Hands over `fault` with the registers of a place in this very function, whose frame stands meanwhile: a
// walk over the stack finds the caller's from there.
void handOverFromHere(Fault fault);

}
