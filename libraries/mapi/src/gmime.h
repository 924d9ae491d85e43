#pragma once

#include <gmime/gmime.h>

#include <memory>

namespace mapi
{

struct GObjectDeleter {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};

// Owns one reference to a GObject.
template <typename T> using GObjectPtr = std::unique_ptr<T, GObjectDeleter>;

// Must have been called before anything of GMime is used; any thread, any number of times. GMime is never
// shut down again: the library cannot be unloaded, and a later call needs it.
void initialiseGMime();

}
