#include "protocol/s3crashhandler.h"

#include <cstdio>
#include <cstdlib>

void s3CrashHandler::assertFailed(quint32 code, const char *condition, const QString &text, const char *file,
                                  int line, const char *function)
{
    std::fprintf(stderr, "Fehlernummer -%u: %s in %s:%d in %s() %s\n", code, condition ? condition : "",
                 file ? file : "", line, function ? function : "", text.toUtf8().constData());
    std::abort();
}
