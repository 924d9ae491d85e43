#include "languageobjects.h"

using namespace Qt::StringLiterals;

// The GUI dictionary travels inside the program; its fallback and the messages lie on disk.
LanguageObjects::LanguageObjects()
    : guiDictionary(u":/dictionary/mng.dat.0"_s, u"data/mng.dat.0"_s)
    , messageDictionary(u"data/msg.dat.0"_s)
    , individualNames{{u"1"_s, u"Individ.1"_s}, {u"2"_s, u"Individ.2"_s}, {u"3"_s, u"Individ.3"_s}}
{
}
