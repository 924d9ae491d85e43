#pragma once

#include <QByteArrayView>
#include <QString>

#include <memory>

class s3File;

// A dictionary: all numbered texts of the system in all languages, in one read-only file that is mapped
// into memory whole. Opening costs one mapping and the reading of the 19-byte header, whatever the size
// of the file; a lookup costs an index and the copy of the text. The file's layout is told in
// s3dictionaryformat.h.
//
// Text numbers run from 1 to textCount(), and a negative number means the same text as the positive one.
// A language is a language index (s3language.h); -1 is the source column, the text by which the text is
// known in the program's code. A cell that holds the missing-text mark of its own number is an empty one.
//
// Lookups never fail and are legal while the dictionary is closed, when no number exists. A file may lie
// about its tables: what points outside the mapping counts as a number that does not exist, and a text
// or key without its end ends with the file.
//
// Threads: lookups may run side by side between `open` and `close`, which belong to the start and the end
// of the process. Truncating the file while it is open is a fault of the process, as for every mapping.
class s3Dictionary
{
public:
    // A closed dictionary on a file or resource path. The file is not touched.
    explicit s3Dictionary(const QString &filePath);
    virtual ~s3Dictionary();
    Q_DISABLE_COPY_MOVE(s3Dictionary)

    // Opens and checks the file; true at once when it is open already, even if it has changed since.
    // On failure the dictionary is closed, and `error` has the absolute path and the reason for the user.
    // `error` is empty on success.
    [[nodiscard]] virtual bool open(QString &error);

    // The same for callers that need no reason.
    bool open();

    // Drops the mapping; harmless when closed.
    void close();

    // The highest text number, 0 when closed.
    [[nodiscard]] qint32 textCount() const { return m_textCount; }

    // The text of a cell, also when it is empty or the German wording; s3MissingTextMark of the number as
    // given where there is no such cell.
    [[nodiscard]] QString text(qint32 number, qint32 language) const;

    // The text of the source column; empty where there is none or the cell counts as unfilled.
    [[nodiscard]] QString sourceText(qint32 number) const;

    // Whether the cell is filled and is a translation of its own: its place differs from those of the
    // same text in German and, except for "D" and "A" themselves, in American English. Places are
    // compared, not wordings.
    [[nodiscard]] bool hasText(qint32 number, qint32 language) const;

    // The short identifier of a text; empty where there is none.
    [[nodiscard]] QString textKey(qint32 number) const;

protected:
    [[nodiscard]] QString filePath() const { return m_filePath; }
    [[nodiscard]] bool isOpen() const { return m_file != nullptr; }

    // What sourceText copies: the code units in the mapping, at any address and valid until `close`.
    [[nodiscard]] QByteArrayView sourceUnits(qint32 number) const;

private:
    // Maps the open file and sets counts and pointers; the result is the reason of a refusal.
    [[nodiscard]] QString checkHeader();

    // The address `offset` bytes behind `area`, null when fewer than `size` bytes of the file begin there.
    [[nodiscard]] const uchar *address(const uchar *area, qint64 offset, qint64 size) const;

    // The first code unit of a cell's text, null where there is no such cell.
    [[nodiscard]] const uchar *cell(qint32 number, qint32 language) const;

    // Whether the cell at `start` holds the missing-text mark of its row's number.
    [[nodiscard]] bool isUnfilled(const uchar *start, qint32 number) const;

    // The code units of the text that begins at `start`; none for null.
    [[nodiscard]] QByteArrayView unitsAt(const uchar *start) const;

    QString m_filePath;
    std::unique_ptr<s3File> m_file;
    qint32 m_languageCount = 0;
    qint32 m_textCount = 0;
    qint32 m_fieldsPerText;
    qint32 m_germanLanguage;
    qint32 m_americanLanguage;
    // Beginnings of the areas in the mapping; null when closed and for an area that begins behind its end.
    const uchar *m_textOffsets = nullptr;
    const uchar *m_texts = nullptr;
    const uchar *m_records = nullptr;
    const uchar *m_keys = nullptr;
    const uchar *m_end = nullptr;
};
