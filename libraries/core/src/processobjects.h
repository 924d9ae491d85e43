#pragma once

class QFile;
struct LanguageObjects;

// Access to the objects that live as long as the process and whose order of construction is fixed. They
// are defined in processobjects.cpp and nowhere else, so that no linker decides the order. Each is reached
// only through the module that it belongs to; this header is for those modules.
//
// Not to be called from the constructor of another static object outside processobjects.cpp.

// The file of the message log (protocol/messagelog.h), closed between messages.
[[nodiscard]] QFile &messageLogFile();

// Dictionaries, individual languages and unknown texts (languageobjects.h).
[[nodiscard]] LanguageObjects &languageObjects();
