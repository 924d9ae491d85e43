#pragma once

#include <QtGlobal>

// The layout of a dictionary file, for its reader and its writer. docs/dictionary.md tells it in prose.
//
//     0     3            version, ASCII
//     3     2            language count L, ASCII decimal: columns per text, the source column included
//     5     5            text count T, ASCII decimal
//     10    1            charset, ASCII
//     11    4            size of the first text block, S1
//     15    4            size of the second text block, S2
//     19    4 L (T+1)    text offset matrix: row n holds the cells of text n, row 0 is unused
//     R     18 T         text records; the last four bytes are the offset of the text's key from K
//     X     S1 + S2      zero-terminated UTF-16 texts in the byte order of the machine
//     K     to the end   zero-terminated UTF-8 keys
//
// Other 32-bit numbers are unsigned and big-endian. A cell is an offset from X. Column 0 is the source
// column, column c is language index c - 1 (s3language.h).
namespace s3DictionaryFormat
{

inline constexpr char version[] = "004";
inline constexpr char unicodeCharset = 'U';

inline constexpr qint64 languageCountOffset = 3;
inline constexpr qint64 languageCountDigits = 2;
inline constexpr qint64 textCountOffset = 5;
inline constexpr qint64 textCountDigits = 5;
inline constexpr qint64 charsetOffset = 10;
inline constexpr qint64 firstBlockSizeOffset = 11;
inline constexpr qint64 secondBlockSizeOffset = 15;
inline constexpr qint64 headerSize = 19;

inline constexpr qint64 cellSize = 4;

// A record has this many fields of four bytes, then two more bytes.
inline constexpr qint32 fieldsPerText = 4;
inline constexpr qint64 fieldSize = 4;
inline constexpr qint64 recordTailSize = 2;

// What the header's digits can say.
inline constexpr qint32 maximumLanguageCount = 99;
inline constexpr qint32 maximumTextCount = 99999;

// The size of the matrix and of the record table, in bytes.
[[nodiscard]] constexpr qint64 matrixSize(qint32 languageCount, qint32 textCount)
{
    return cellSize * languageCount * (qint64(textCount) + 1);
}

[[nodiscard]] constexpr qint64 recordsSize(qint32 textCount, qint32 fields)
{
    return textCount * (fields * fieldSize + recordTailSize);
}

} // namespace s3DictionaryFormat
