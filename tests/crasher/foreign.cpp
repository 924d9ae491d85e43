// A library that is not ours and faults.

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

EXPORTED void foreignWrite(int *target);
EXPORTED void foreignFar(int depth);
EXPORTED void foreignIllegal();

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
