#pragma once

#include <QString>

// The text form of the library's settings files, below QSettings.
//
// A settings file is an INI file in UTF-8 that QSettings reads and writes. It tells its generation as the
// integer "format" in the section "version"; without it the generation is 0. In a file of generation 2 each
// value stands in the form that QSettings reads back unchanged. In an older one the text behind the first
// equals sign is the value, literally: a backslash is a backslash, and a comma starts no list.
//
// The functions run on the thread of their caller and lock no file.
class s3SettingsPrivate
{
public:
    s3SettingsPrivate() = delete;

    // The generation that this program writes.
    [[nodiscard]] static int currentFormat();

    // Examines the lines of `fileName` and rewrites those whose value is not in the form of generation 2.
    // True exactly when the file was rewritten with success. The generation mark is left to the caller.
    //
    // `checkOnly`: nothing is written, and the examination ends at the first line that would change.
    // `alreadyConverted`: the values are taken for generation 2 and decoded once before they are encoded, so
    // that a line would change only if it is not in that form; implies `checkOnly`.
    // `formatOk`: whether the key lines are in the form of generation 2 on return.
    // `errorStringFileAccess`: two lines for the user when a file access failed, else empty. Both pointers
    // may be null.
    //
    // A rewritten file has no blanks at the ends of its lines, has a line end behind the last one, and line
    // ends of the platform. A file that needs no change keeps its bytes. UTF-16 and UTF-32 are taken for
    // what their byte order mark says; what is written is UTF-8 without a mark.
    //
    // After a read error in the middle nothing is written unless a line had changed before; then the lines
    // gathered so far replace the file, and the text tells of the read error although the result is true.
    // After a write error the file is truncated.
    //
    // Traced under test flag 120: each changed line, and the outcome.
    static bool updateFormat(const QString &fileName, bool checkOnly, bool alreadyConverted, bool *formatOk,
                             QString *errorStringFileAccess);
};
