#pragma once

#include <QtGlobal>

#include <array>
#include <string_view>

// The fixed tables of the languages, for s3language.cpp and its tests.

struct s3LanguageRow {
    char16_t letter;
    // Empty for the individual languages, which get theirs from the installation.
    std::u16string_view isoName;
    // Row of s3CharsetTable.
    qint32 charsetRow;
};

// One row for each language index. The order is that of the columns in all dictionary files and cannot
// change.
inline constexpr std::array<s3LanguageRow, 32> s3LanguageTable{{
    {u'D', u"de", 0}, {u'E', u"en", 0},  {u'F', u"fr", 0}, {u'S', u"es", 0},    {u'I', u"it", 0},
    {u'P', u"pl", 1}, {u'R', u"ru", 2},  {u'U', u"hu", 1}, {u'C', u"cs", 1},    {u'T', u"tr", 4},
    {u'1', {}, 0},    {u'2', {}, 0},     {u'3', {}, 0},    {u'A', u"en-US", 0}, {u'O', u"ro", 1},
    {u'B', u"id", 0}, {u'N', u"nl", 0},  {u'M', u"mk", 2}, {u'X', u"bg", 2},    {u'Y', u"sr", 2},
    {u'L', u"sl", 1}, {u'W', u"sk", 1},  {u'G', u"pt", 0}, {u'Q', u"zh-CN", 5}, {u'H', u"zh-TW", 6},
    {u'Z', u"el", 3}, {u'K', u"th", 7},  {u'V', u"ar", 9}, {u'J', u"fa", 9},    {u'9', u"vi", 8},
    {u'8', u"ur", 9}, {u'7', u"ja", 10},
}};

struct s3LocaleRow {
    std::u16string_view isoName;
    std::u16string_view localeName;
};

// The languages whose country is not simply the language in upper case.
inline constexpr std::array<s3LocaleRow, 10> s3LocaleTable{{
    {u"en", u"en_GB"},
    {u"cs", u"cs_CZ"},
    {u"sr", u"sr_RS"},
    {u"sl", u"sl_SI"},
    {u"el", u"el_GR"},
    {u"ar", u"ar_EG"},
    {u"fa", u"fa_IR"},
    {u"ur", u"ur_PK"},
    {u"vi", u"vi_VN"},
    {u"ja", u"ja_JP"},
}};

struct s3CharsetRow {
    // Name and value of the charset in the Windows font interfaces (wingdi.h).
    std::u16string_view charsetName;
    qint32 charsetValue;
    std::u16string_view scriptName;
    // QFontDatabase::WritingSystem
    qint32 writingSystem;
};

inline constexpr std::array<s3CharsetRow, 11> s3CharsetTable{{
    {u"ANSI_CHARSET", 0, u"Latin", 1},
    {u"EASTEUROPE_CHARSET", 238, u"Latin", 1},
    {u"RUSSIAN_CHARSET", 204, u"Cyrillic", 3},
    {u"GREEK_CHARSET", 161, u"Greek", 2},
    {u"TURKISH_CHARSET", 162, u"Latin", 1},
    {u"GB2312_CHARSET", 134, u"SimplifiedChinese", 25},
    {u"CHINESEBIG5_CHARSET", 136, u"TraditionalChinese", 26},
    {u"THAI_CHARSET", 222, u"Thai", 19},
    {u"VIETNAMESE_CHARSET", 163, u"Vietnamese", 29},
    {u"ARABIC_CHARSET", 178, u"Arabic", 6},
    {u"SHIFTJIS_CHARSET", 128, u"Japanese", 27},
}};
