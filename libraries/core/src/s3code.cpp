#include "s3code.h"

#include "erp/s3session.h"
#include "s3codetables.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

struct FlagName {
    s3NumberClassFlags flag;
    QLatin1String name;
};

constexpr std::array flagNames{
    FlagName{s3NumberClassInteger, "Integer"_L1},
    FlagName{s3NumberClassReal, "Real"_L1},
    FlagName{s3NumberClassNumber, "Number"_L1},
    FlagName{s3NumberClassOther, "Other"_L1},
    FlagName{s3NumberClassLanguageIndependent, "LanguageIndependent"_L1},
    FlagName{s3NumberClassLanguageDependentDecimalPoint, "LanguageDependentDecimalPoint"_L1},
    FlagName{s3NumberClassLanguageDependentGroupSeparator, "LanguageDependentGroupSeparator"_L1},
};

constexpr qint32 kindWithClasses23 = 23;
constexpr qint32 kindWithClasses56 = 56;

constexpr std::uint32_t letterCount = 26;

// The bit of a code's first letter in s3CodeTest::letters; 0 if it is none.
std::uint32_t letterOf(std::u16string_view code)
{
    const std::uint32_t index = code.empty() ? letterCount : std::uint32_t(code.front()) - u'A';
    return index < letterCount ? std::uint32_t(1) << index : 0;
}

// A template over the test, so that each list becomes plain comparisons with constants.
template <const s3CodeTest &test> bool holds(std::u16string_view code)
{
    if ((test.letters & letterOf(code)) == 0)
        return false;
    const auto beginsCode = [code](std::u16string_view entry) {
        return code.starts_with(entry);
    };
    if (std::ranges::any_of(test.except, beginsCode))
        return false;
    return std::ranges::any_of(test.equals, [code](std::u16string_view entry) { return code == entry; })
        || std::ranges::any_of(test.begins, beginsCode)
        || std::ranges::any_of(test.digitBehind, [&](std::u16string_view entry) {
               return beginsCode(entry) && code.size() > entry.size() && QChar(code[entry.size()]).isDigit();
           });
}

template <const s3CodeTest &test> bool holds(QStringView code)
{
    return holds<test>(std::u16string_view(code.utf16(), static_cast<std::size_t>(code.size())));
}

constexpr std::size_t rowCount = s3DisplayClassRows.size();
using RowTest = bool (*)(std::u16string_view code);
using RowMask = std::uint32_t;
static_assert(rowCount <= 32);

template <std::size_t index> bool rowHolds(std::u16string_view code)
{
    constexpr const s3DisplayClassRow &row = s3DisplayClassRows[index];
    if (holds<*row.test>(code))
        return true;
    if constexpr (row.alternative != nullptr)
        return holds<*row.alternative>(code);
    return false;
}

constexpr std::array<RowTest, rowCount> rowTests = []<std::size_t... indexes>(std::index_sequence<indexes...>)
{
    return std::array<RowTest, rowCount>{rowHolds<indexes>...};
}
(std::make_index_sequence<rowCount>());

// The rows that can hold for a code with a certain first letter, as bits: most codes need one or two tests
// then instead of fifteen.
constexpr std::array<RowMask, letterCount> rowsByLetter = [] {
    std::array<RowMask, letterCount> masks{};
    for (std::size_t letter = 0; letter != letterCount; ++letter) {
        for (std::size_t row = 0; row != rowCount; ++row) {
            const s3CodeTest *alternative = s3DisplayClassRows[row].alternative;
            const std::uint32_t letters
                = s3DisplayClassRows[row].test->letters | (alternative != nullptr ? alternative->letters : 0);
            masks[letter] |= (letters >> letter & 1U) << row;
        }
    }
    return masks;
}();

qint32 classOfRows(bool kind56, QStringView code)
{
    const std::u16string_view view(code.utf16(), static_cast<std::size_t>(code.size()));
    const std::uint32_t letter = view.empty() ? letterCount : std::uint32_t(view.front()) - u'A';
    for (RowMask rows = letter < letterCount ? rowsByLetter[letter] : 0; rows != 0; rows &= rows - 1) {
        const auto index = static_cast<std::size_t>(std::countr_zero(rows));
        const s3DisplayClassRow &row = s3DisplayClassRows[index];
        if ((kind56 || !row.onlyKind56) && rowTests[index](view))
            return kind56 ? row.kind56 : row.kind23;
    }
    return kind56 ? s3DisplayClassOther56 : s3DisplayClassOther23;
}

}

bool s3IsCodeB(QStringView code)
{
    return holds<s3CodeTests::b>(code);
}

bool s3IsCodeBGLP(QStringView code)
{
    return holds<s3CodeTests::bglp>(code);
}

bool s3IsCodeVL(QStringView code)
{
    return holds<s3CodeTests::vl>(code);
}

bool s3IsCodeIDN(QStringView code)
{
    return holds<s3CodeTests::idn>(code);
}

bool s3IsCodeAZKI(QStringView code)
{
    return holds<s3CodeTests::azki>(code);
}

bool s3IsCodeAZM(QStringView code)
{
    return holds<s3CodeTests::azm>(code);
}

bool s3IsCodeTAZ(QStringView code)
{
    return holds<s3CodeTests::taz>(code);
}

bool s3IsCodeBU(QStringView code)
{
    return holds<s3CodeTests::bu>(code);
}

bool s3IsCodeDVB1(QStringView code)
{
    return holds<s3CodeTests::dvb1>(code);
}

bool s3IsCodeDVZ(QStringView code)
{
    return holds<s3CodeTests::dvz>(code);
}

bool s3IsCodeBU1(QStringView code)
{
    return holds<s3CodeTests::bu1>(code);
}

bool s3IsCodeDV(QStringView code)
{
    return holds<s3CodeTests::dv>(code);
}

bool s3IsCodeDVZ1(QStringView code)
{
    return holds<s3CodeTests::dvz1>(code);
}

bool s3IsCodeURL2(QStringView code)
{
    return holds<s3CodeTests::url2>(code);
}

bool s3IsCodeCH(QStringView code)
{
    return holds<s3CodeTests::ch>(code);
}

bool s3IsCodeTN(QStringView code)
{
    return holds<s3CodeTests::tn>(code);
}

bool s3IsCodeART(QStringView code)
{
    return holds<s3CodeTests::art>(code);
}

bool s3IsCodeDVS1(QStringView code)
{
    return holds<s3CodeTests::dvs1>(code);
}

bool s3IsCodeGD(QStringView code)
{
    return holds<s3CodeTests::gd>(code);
}

bool s3IsCodeA(QStringView code)
{
    return holds<s3CodeTests::a>(code);
}

bool s3IsCodeP(QStringView code)
{
    return holds<s3CodeTests::p>(code);
}

bool s3IsIntegerCode(QStringView code)
{
    return holds<s3CodeTests::integer>(code);
}

bool s3IsRealCode(QStringView code)
{
    return holds<s3CodeTests::real>(code);
}

bool s3IsNumberCode(QStringView code)
{
    return s3IsIntegerCode(code) || s3IsRealCode(code);
}

bool s3IsNumericCode(QStringView code)
{
    return s3IsNumberCode(code) || s3IsCodeP(code) || holds<s3CodeTests::numeric>(code);
}

s3NumberClassFlags s3NumberClass(QStringView code)
{
    const bool languageIndependent = code.contains(u'U');
    if (s3IsIntegerCode(code))
        return s3NumberClassInteger | (languageIndependent ? s3NumberClassLanguageIndependent : 0U);
    if (!s3IsRealCode(code))
        return s3NumberClassOther;
    s3NumberClassFlags flags = s3NumberClassReal;
    if (languageIndependent) {
        flags |= s3NumberClassLanguageIndependent;
    } else if (code.contains(u'D')) {
        flags |= s3NumberClassLanguageDependentDecimalPoint;
        if (code.contains(u'T'))
            flags |= s3NumberClassLanguageDependentGroupSeparator;
    }
    return flags;
}

QString s3NumberClassText(s3NumberClassFlags flags)
{
    QStringList names;
    for (const FlagName &entry : flagNames) {
        if ((flags & entry.flag) != 0)
            names += entry.name;
    }
    return u"(%1)"_s.arg(names.join(", "_L1));
}

qint32 s3DisplayClass(qint32 kind, QStringView code)
{
    const bool hasClasses = kind == kindWithClasses23 || kind == kindWithClasses56;
    const qint32 displayClass = hasClasses ? classOfRows(kind == kindWithClasses56, code) : kind;
    if (s3SessionInstance()->codeTestsEnabled() && s3IsCodeTAZ(code))
        return displayClass == 30 ? 28 : 40;
    return displayClass;
}
