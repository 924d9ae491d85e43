#include "s3code.h"

#include "erp/s3session.h"
#include "s3codetables.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <bit>

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

std::u16string_view view(QStringView code)
{
    return {code.utf16(), static_cast<std::size_t>(code.size())};
}

bool holds(const s3CodeTest &test, std::u16string_view code)
{
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

// The rows of the display classes that can hold for a code with a certain first letter, as bits: most
// codes need one or two tests then instead of fifteen. Worked out of the lists when this is compiled.
constexpr std::size_t letterCount = 26;
using RowMask = quint32;
static_assert(s3DisplayClassRows.size() <= 32);

constexpr RowMask rowsOfLetter(char16_t letter)
{
    const auto canHold = [letter](const s3CodeTest *test) {
        const auto beginsSo = [letter](std::u16string_view entry) {
            return entry.front() == letter;
        };
        return test != nullptr
            && (std::ranges::any_of(test->equals, beginsSo) || std::ranges::any_of(test->begins, beginsSo)
                || std::ranges::any_of(test->digitBehind, beginsSo));
    };
    RowMask mask = 0;
    for (std::size_t row = 0; row != s3DisplayClassRows.size(); ++row) {
        if (canHold(s3DisplayClassRows[row].test) || canHold(s3DisplayClassRows[row].alternative))
            mask |= RowMask(1) << row;
    }
    return mask;
}

constexpr std::array<RowMask, letterCount> rowsByLetter = [] {
    std::array<RowMask, letterCount> masks{};
    for (std::size_t index = 0; index != letterCount; ++index)
        masks[index] = rowsOfLetter(static_cast<char16_t>(u'A' + index));
    return masks;
}();

qint32 classOfRows(bool kind56, std::u16string_view code)
{
    const std::size_t letter = code.empty() ? letterCount : static_cast<std::size_t>(code.front() - u'A');
    for (RowMask rows = letter < letterCount ? rowsByLetter[letter] : 0; rows != 0; rows &= rows - 1) {
        const s3DisplayClassRow &row = s3DisplayClassRows[static_cast<std::size_t>(std::countr_zero(rows))];
        if (row.onlyKind56 && !kind56)
            continue;
        if (holds(*row.test, code) || (row.alternative != nullptr && holds(*row.alternative, code)))
            return kind56 ? row.kind56 : row.kind23;
    }
    return kind56 ? s3DisplayClassOther56 : s3DisplayClassOther23;
}

}

bool s3IsCodeB(QStringView code)
{
    return holds(s3CodeTests::b, view(code));
}

bool s3IsCodeBGLP(QStringView code)
{
    return holds(s3CodeTests::bglp, view(code));
}

bool s3IsCodeVL(QStringView code)
{
    return holds(s3CodeTests::vl, view(code));
}

bool s3IsCodeIDN(QStringView code)
{
    return holds(s3CodeTests::idn, view(code));
}

bool s3IsCodeAZKI(QStringView code)
{
    return holds(s3CodeTests::azki, view(code));
}

bool s3IsCodeAZM(QStringView code)
{
    return holds(s3CodeTests::azm, view(code));
}

bool s3IsCodeTAZ(QStringView code)
{
    return holds(s3CodeTests::taz, view(code));
}

bool s3IsCodeBU(QStringView code)
{
    return holds(s3CodeTests::bu, view(code));
}

bool s3IsCodeDVB1(QStringView code)
{
    return holds(s3CodeTests::dvb1, view(code));
}

bool s3IsCodeDVZ(QStringView code)
{
    return holds(s3CodeTests::dvz, view(code));
}

bool s3IsCodeBU1(QStringView code)
{
    return holds(s3CodeTests::bu1, view(code));
}

bool s3IsCodeDV(QStringView code)
{
    return holds(s3CodeTests::dv, view(code));
}

bool s3IsCodeDVZ1(QStringView code)
{
    return holds(s3CodeTests::dvz1, view(code));
}

bool s3IsCodeURL2(QStringView code)
{
    return holds(s3CodeTests::url2, view(code));
}

bool s3IsCodeCH(QStringView code)
{
    return holds(s3CodeTests::ch, view(code));
}

bool s3IsCodeTN(QStringView code)
{
    return holds(s3CodeTests::tn, view(code));
}

bool s3IsCodeART(QStringView code)
{
    return holds(s3CodeTests::art, view(code));
}

bool s3IsCodeDVS1(QStringView code)
{
    return holds(s3CodeTests::dvs1, view(code));
}

bool s3IsCodeGD(QStringView code)
{
    return holds(s3CodeTests::gd, view(code));
}

bool s3IsCodeA(QStringView code)
{
    return holds(s3CodeTests::a, view(code));
}

bool s3IsCodeP(QStringView code)
{
    return holds(s3CodeTests::p, view(code));
}

bool s3IsIntegerCode(QStringView code)
{
    return holds(s3CodeTests::integer, view(code));
}

bool s3IsRealCode(QStringView code)
{
    return holds(s3CodeTests::real, view(code));
}

bool s3IsNumberCode(QStringView code)
{
    return s3IsIntegerCode(code) || s3IsRealCode(code);
}

bool s3IsNumericCode(QStringView code)
{
    return s3IsNumberCode(code) || s3IsCodeP(code) || holds(s3CodeTests::numeric, view(code));
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
    const qint32 displayClass = hasClasses ? classOfRows(kind == kindWithClasses56, view(code)) : kind;
    if (s3SessionInstance()->codeTestsEnabled() && s3IsCodeTAZ(code))
        return displayClass == 30 ? 28 : 40;
    return displayClass;
}
