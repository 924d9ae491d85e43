// The least that a program can do that hands over a mail and could show a box: it makes an application
// object, opens the Simple MAPI library and calls its entry with an empty message.

#include "mapitypes.h"
#include "platform/library.h"

#include <QApplication>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const platform::LibraryHandle library = platform::openLibrary(u"mapi32.dll"_s);
    const auto send = reinterpret_cast<LPMAPISENDMAILW>(platform::librarySymbol(library, "MAPISendMailW"));
    if (send == nullptr)
        return 1;
    MapiMessageW message = {};
    const ULONG result = send(0, 0, &message, MAPI_LOGON_UI, 0);
    platform::closeLibrary(library);
    return int(result);
}
