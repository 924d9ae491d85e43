#include "failures.h"

#include "error/s3exceptionhandlerwin.h"
#include "protocol/diagnosticreport.h"

#include <QCoreApplication>
#include <QObject>

#include <cstdlib>

void hang()
{
    volatile bool goesOn = true;
    while (goesOn) { }
    std::abort();
}

namespace
{

void hangInReport()
{
    reportHook = []() -> QString {
        hang();
    };
    assertion();
}

void hangInCleanUp()
{
    exitHook = hang;
    exitProgram(5);
}

class HangingObject final : public QObject
{
public:
    using QObject::QObject;
    ~HangingObject() override { hang(); }
    Q_DISABLE_COPY_MOVE(HangingObject)
};

// The application takes its objects with it.
void hangInApplication()
{
    new HangingObject(QCoreApplication::instance());
    assertion();
}

void hangAtExit()
{
    std::atexit(hang);
    assertion();
}

// A library that is not ours is asked to tidy up as well.
void hangInLibrary()
{
    foreign<void (*)()>("foreignHangAtUnload")();
    assertion();
}

}

const QList<Failure> &hangs()
{
    static const QList<Failure> failures{
        {"hangInReport", hangInReport},           {"hangInCleanUp", hangInCleanUp},
        {"hangInApplication", hangInApplication}, {"hangAtExit", hangAtExit},
        {"hangInLibrary", hangInLibrary},
    };
    return failures;
}
