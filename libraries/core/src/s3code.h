#pragma once

#include <QString>
#include <QStringView>

// Type codes: the ERP server describes each field by a short text such as "I7", "GD2" or "AZM", and a
// client decides from it how the field is shown. All comparisons are case-sensitive; a digit is what
// QChar::isDigit calls one. The functions are pure, allocate nothing (the texts aside) and may be called
// from any thread.

// Equality with one of a list of codes.
[[nodiscard]] bool s3IsCodeB(QStringView code);
[[nodiscard]] bool s3IsCodeDVB1(QStringView code);
[[nodiscard]] bool s3IsCodeDVZ(QStringView code);
[[nodiscard]] bool s3IsCodeBU1(QStringView code);
[[nodiscard]] bool s3IsCodeDV(QStringView code);
[[nodiscard]] bool s3IsCodeDVZ1(QStringView code);
[[nodiscard]] bool s3IsCodeURL2(QStringView code);
[[nodiscard]] bool s3IsCodeCH(QStringView code);

// Beginning with one of a list.
[[nodiscard]] bool s3IsCodeBGLP(QStringView code);
[[nodiscard]] bool s3IsCodeVL(QStringView code);
[[nodiscard]] bool s3IsCodeIDN(QStringView code);
[[nodiscard]] bool s3IsCodeAZKI(QStringView code);
[[nodiscard]] bool s3IsCodeAZM(QStringView code);
[[nodiscard]] bool s3IsCodeTAZ(QStringView code);
[[nodiscard]] bool s3IsCodeBU(QStringView code);
[[nodiscard]] bool s3IsCodeTN(QStringView code);
[[nodiscard]] bool s3IsCodeART(QStringView code);

// Both kinds together; see s3codetables.h.
[[nodiscard]] bool s3IsCodeDVS1(QStringView code);
[[nodiscard]] bool s3IsCodeGD(QStringView code);

// "A" with a digit behind it, or "AZK...", "AZL...", "AZS...".
[[nodiscard]] bool s3IsCodeA(QStringView code);

// "P", "VP" or "VPK" with a digit behind it.
[[nodiscard]] bool s3IsCodeP(QStringView code);

// "K..." or "I...", but not "ID...", which is an identifier.
[[nodiscard]] bool s3IsIntegerCode(QStringView code);
[[nodiscard]] bool s3IsRealCode(QStringView code);
[[nodiscard]] bool s3IsNumberCode(QStringView code);

// A number, a position (s3IsCodeP), or a number shown as text ("AN", "AK", "GP", "N", but not "NT").
[[nodiscard]] bool s3IsNumericCode(QStringView code);

// What kind of number a code stands for, as bits.
enum s3NumberClassFlag : quint32 {
    s3NumberClassInteger = 1,
    s3NumberClassReal = 2,
    s3NumberClassNumber = s3NumberClassInteger | s3NumberClassReal, // a mask, no bit of its own
    s3NumberClassOther = 4,
    s3NumberClassLanguageIndependent = 16,
    s3NumberClassLanguageDependentDecimalPoint = 32,
    s3NumberClassLanguageDependentGroupSeparator = 64
};
using s3NumberClassFlags = quint32;

// The class of a code. A "U" anywhere in an integer or real code makes it language-independent; a "D" in
// another real code gives it the decimal point of the language, and a "T" beside the "D" the group
// separator too.
[[nodiscard]] s3NumberClassFlags s3NumberClass(QStringView code);

// The names of all flags that have a bit in common with `flags`, for diagnosis: "(Integer, Number)". The
// mask counts, so an integer shows "Number" too.
[[nodiscard]] QString s3NumberClassText(s3NumberClassFlags flags);

// The display class of a code for a field of the given kind. Kinds other than 23 and 56 have no classes:
// the result is the kind itself. While the session's code tests are enabled (s3Session), a code beginning
// with "TAZ" is shown as the codes of s3IsCodeA are: 28 instead of 30, and 40 in every other case,
// whatever the kind.
[[nodiscard]] qint32 s3DisplayClass(qint32 kind, QStringView code);
