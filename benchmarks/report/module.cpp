#include <QtGlobal>

// A library of next to nothing, of which the benchmark loads many copies.
extern "C" Q_DECL_EXPORT int answer();

int answer()
{
    return 0;
}
