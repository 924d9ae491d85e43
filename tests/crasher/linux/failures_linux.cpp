#include "failures.h"

#include "platform/fault.h"

#include <QFile>

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <thread>

#include <link.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

// A read across two words with the processor's alignment check on.
[[gnu::noinline]] void misalignment()
{
    alignas(16) std::array<char, 16> bytes = {};
    asm volatile("leaq -128(%%rsp), %%rsp\n\tpushfq\n\torl $0x40000, (%%rsp)\n\tpopfq\n\t"
                 "movl 1(%0), %%eax\n\tleaq 128(%%rsp), %%rsp"
                 :
                 : "r"(bytes.data())
                 : "rax", "memory", "cc");
}

// A page of a file that is shorter by now.
[[gnu::noinline]] void bus()
{
    const int file = memfd_create("bus", MFD_CLOEXEC);
    if (file < 0 || ftruncate(file, 4096) != 0)
        return;
    void *memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED || ftruncate(file, 0) != 0)
        return;
    writeTo(memory);
}

// Another thread looks at the libraries and does not come to an end, which keeps the others from it.
void loaderIsBusy()
{
    static std::atomic<bool> isBusy = false;
    std::thread([] {
        const auto stay = [](dl_phdr_info *, std::size_t, void *) -> int {
            isBusy = true;
            hang();
        };
        dl_iterate_phdr(stay, nullptr);
    }).detach();
    while (!isBusy) { }
    writeTo(nullptr);
}

void sentSignal()
{
    raise(SIGSEGV);
}

constinit bool wasTold = false;

// What was there before takes a fault that our handler lets go.
void formerHandler()
{
    platform::removeFaultHandlers();
    struct sigaction former = {};
    former.sa_handler = [](int) {
        _exit(wasTold ? 7 : 8);
    };
    sigaction(SIGSEGV, &former, nullptr);
    platform::installFaultHandlers({[](const platform::Fault &) { wasTold = true; }, nullptr, nullptr});
    writeTo(nullptr);
}

// With nothing there before, the system.
void noFormerHandler()
{
    platform::removeFaultHandlers();
    platform::installFaultHandlers({[](const platform::Fault &) { wasTold = true; }, nullptr, nullptr});
    writeTo(nullptr);
}

void removedHandler()
{
    platform::removeFaultHandlers();
    writeTo(nullptr);
}

}

const QList<Failure> &platformFailures()
{
    static const QList<Failure> failures{
        {"misalignment", misalignment},       {"bus", bus},
        {"sentSignal", sentSignal},           {"formerHandler", formerHandler},
        {"noFormerHandler", noFormerHandler}, {"removedHandler", removedHandler},
        {"loaderIsBusy", loaderIsBusy},
    };
    return failures;
}

void prepareProcess()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void waitForBox()
{
    const QString box = qEnvironmentVariable("OSTRELLE_BOXES") + u"/box.1/arguments"_s;
    while (!QFile::exists(box))
        usleep(10000);
}
