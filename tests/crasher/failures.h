#pragma once

#include <QByteArray>
#include <QList>

// One way in which the crash program fails. `fail` should not return.
struct Failure {
    const char *name;
    void (*fail)();
};

// Those that every platform has, and those of this one.
[[nodiscard]] const QList<Failure> &commonFailures();
[[nodiscard]] const QList<Failure> &platformFailures();

// Keeps the system from showing or keeping anything of its own when this program crashes.
void prepareProcess();

// Waits until a box of this process stands.
void waitForBox();

// Uses the address in a way that the compiler cannot foresee.
void writeTo(void *address);
int readFrom(const void *address);

// The folder that the program was told to write to, and the foreign library.
extern QByteArray boxFolder;
extern QByteArray foreignLibrary;
