#pragma once

// Whether anybody can see a window of this process.
namespace platform
{

// Chooses Qt's platform before the QApplication is made; main calls it once, first thing.
//
// Linux: with none of DISPLAY, WAYLAND_DISPLAY and QT_QPA_PLATFORM set (an empty value counts as not
// set) Qt would end the process for want of a display. Then the application that is made next runs on
// the offscreen platform, and screenAvailable answers false from here on. The variable that brings this
// about is taken back once the application exists, so that programs started later do not inherit it.
// With any of the three set nothing is done: a platform chosen by the user shows real boxes, the
// offscreen one included.
//
// Windows: nothing to do.
//
// The result is that of screenAvailable. Main thread, before there are other threads.
bool prepareDisplay();

// False when prepareDisplay found no screen: a box would block without anybody to answer it. True
// before that call, and always on Windows. Any thread after the start.
[[nodiscard]] bool screenAvailable();

}
