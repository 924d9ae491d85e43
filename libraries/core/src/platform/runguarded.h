#pragma once

#include <type_traits>

namespace platform
{

// Runs step(data) under a guard that takes machine faults of this thread: access violations, illegal
// instructions, divisions by zero, bus errors, breakpoints. False when a fault ended the step.
// `step` must not let a C++ exception out; s3RunGuarded() sees to that.
[[nodiscard]] bool runFaultGuarded(void (*step)(void *), void *data);

}

// The catch-all of the crash path: runs `step` and takes whatever it dies of, a machine fault or a C++
// exception. Whether it ran to its end. What a fault leaves behind is not cleaned up: no destructor between
// the fault and this call runs, a mutex that was held stays locked.
//
// Nestable (the innermost guard takes the fault), per thread, also inside the handler of a fault. It needs
// no heap. abort() and std::terminate() are not taken.
template <typename Step> [[nodiscard]] bool s3RunGuarded(Step &&step)
{
    struct Run {
        std::remove_reference_t<Step> *step;
        bool hasFinished;
    } run{&step, false};
    const bool isFaultless = platform::runFaultGuarded(
        [](void *data) {
            Run *current = static_cast<Run *>(data);
            try {
                (*current->step)();
                current->hasFinished = true;
            } catch (...) {
                // The result tells of it.
            }
        },
        &run);
    return isFaultless && run.hasFinished;
}
