#pragma once

#include "s3file.h"

#include <QString>
#include <QStringConverter>
#include <QTextStream>

// A registry of named text streams on files: a stream is opened once under a key and then written from
// anywhere by that key.
//
// The streams live until they are closed here or the process ends; text that nobody flushed is lost in
// that second case. Failures are not reported beyond the results. There is no lock: the registry and its
// streams belong to one thread at a time, in a program with a window the main thread.
class s3LogFileStream final : public QTextStream
{
public:
    // Flushes what was written and closes the file.
    ~s3LogFileStream() override;
    Q_DISABLE_COPY_MOVE(s3LogFileStream)

    // Empties or makes the file `fileName` and enters a stream on it under `key`. An empty `fileName` is
    // "log_" + key + ".txt"; a relative one lies in the working directory. Line ends are written as they
    // come. Utf16LE and Utf16BE write a byte-order mark before the first text, the other encodings none,
    // plain Utf16 included. True when a stream is open under the key afterwards; one that was open before
    // stays, with its file and encoding. False when the file cannot be opened; the next call tries again.
    static bool open(const QString &key, const QString &fileName, QStringConverter::Encoding encoding);

    [[nodiscard]] static bool isOpen(const QString &key);

    // The stream under `key`, owned by the registry; never null. For a key that is not open it is one
    // shared stream without a file, whose text is discarded at the next such call.
    [[nodiscard]] static QTextStream *stream(const QString &key);

    // Flushes and closes the stream. False when none is open under `key`.
    static bool close(const QString &key);
    static void closeAll();

    // One line for each stream: its key, a blank, its file's name. The order is the hash's.
    [[nodiscard]] static QString list();

private:
    explicit s3LogFileStream(const QString &fileName);

    s3File m_file;
};
