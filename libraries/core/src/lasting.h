#pragma once

#include <QtGlobal>

// An object for the crash path: there before all static objects, since the compiler makes it, and never
// destroyed, since a program may fail on its way out. `T` needs a constexpr constructor without arguments;
// define it with constinit.
template <class T> union s3Lasting {
    constexpr s3Lasting() : object() { }
    ~s3Lasting() { }
    Q_DISABLE_COPY_MOVE(s3Lasting)

    T object;
};
