#pragma once

#include <QByteArray>
#include <QList>

// One way in which the crash program fails. `fail` should not return.
struct Failure {
    const char *name;
    void (*fail)();
};

// Those that every platform has, those of them that never come to an end by themselves, and those of this
// platform.
[[nodiscard]] const QList<Failure> &commonFailures();
[[nodiscard]] const QList<Failure> &hangs();
[[nodiscard]] const QList<Failure> &platformFailures();

// Keeps the system from showing or keeping anything of its own when this program crashes.
void prepareProcess();

// Waits until a box of this process stands.
void waitForBox();

// Uses the address in a way that the compiler cannot foresee.
void writeTo(void *address);
int readFrom(const void *address);

// The file of the foreign library, and one of its functions; the process ends with 99 when it has none.
extern QByteArray foreignLibrary;
[[nodiscard]] void *foreignSymbol(const char *name);

template <class Function> [[nodiscard]] Function foreign(const char *name)
{
    return reinterpret_cast<Function>(foreignSymbol(name));
}

// Fails an assertion: "1 == 2" at file:7 in f().
void assertion();

// Never returns and does nothing.
[[noreturn]] void hang();

// Runs one failure on a thread of the library and waits for it.
void runOnWorker(void (*fail)());

template <void (*fail)()> void onWorker()
{
    runOnWorker(fail);
}
