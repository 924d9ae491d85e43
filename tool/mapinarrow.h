#pragma once

#include "mapiplatform.h"

// The conversion of a message for the narrow entry of Simple MAPI, the last resort where no library has a
// wide one.
//
// Statuses are COM-style: 0 is good, negative a failure; the reason of a failed system call is its error
// code with the high half 0x8007. All memory comes from the port's heap. Main thread.

// Converts `wide` into `narrow`, which freeNarrowMessage gives back. Subject and note text become UTF-8 with
// `useUtf8`, marked by ulReserved 65001; all other texts, and without `useUtf8` these two, go to the ANSI
// code page. A null `wide` gives a null `narrow` and success. After a failure `narrow` is null and nothing
// is left allocated. lpFileType of the files still points into `wide`.
[[nodiscard]] HRESULT convertMessageToNarrow(MapiPlatform &platform, const MapiMessageW *wide,
                                             MapiMessage **narrow, bool useUtf8);

// Frees a converted message with everything in it. Null is allowed and does nothing.
void freeNarrowMessage(MapiPlatform &platform, MapiMessage *narrow);

// Converts one text into `narrow`, owned by the caller; null stays null. UTF-8 takes no unpaired surrogate;
// in the ANSI code page `lossy`, which may be null, tells whether a character had no form there.
//
// A system call that fails and names no reason has the status 0, so a good status may come with null.
[[nodiscard]] HRESULT convertText(MapiPlatform &platform, const WCHAR *wide, char **narrow, bool useUtf8,
                                  bool *lossy);

// Converts the path of an attachment to the ANSI code page. Where that loses characters it would be no path
// to the file any more, so the short form of the path serves; a failure if there is none. As convertText
// otherwise.
[[nodiscard]] HRESULT convertAttachmentPath(MapiPlatform &platform, const WCHAR *wide, char **narrow);
