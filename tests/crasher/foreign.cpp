// A library that is not ours and faults.

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport) __attribute__((noinline))
#else
#define EXPORTED extern "C" __attribute__((visibility("default"), noinline))
#endif

EXPORTED void foreignWrite(int *target);
EXPORTED void foreignFar(int depth);
EXPORTED void foreignIllegal();
EXPORTED void foreignHangAtUnload();

void foreignWrite(int *target)
{
    asm volatile("movl $1, (%0)" : : "r"(target) : "memory");
}

void foreignFar(int depth)
{
    if (depth > 0)
        foreignFar(depth - 1);
    else
        foreignWrite(nullptr);
    asm volatile(""); // so that no call is the last thing
}

void foreignIllegal()
{
    asm volatile("ud2");
}

namespace
{

// Not atomic: the library is used by one thread.
volatile bool hangs = false;

struct Unload {
    ~Unload()
    {
        while (hangs) { }
    }
};
const Unload unload;

}

void foreignHangAtUnload()
{
    hangs = true;
}
