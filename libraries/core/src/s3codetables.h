#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

// The vocabulary of the type codes by which the ERP server describes a field, as data. s3code.h says what
// the tests are for.

// The letters that a list of codes begins with, bit 0 for 'A'; codes begin with capital letters.
[[nodiscard]] constexpr std::uint32_t s3FirstLetters(std::span<const std::u16string_view> codes)
{
    std::uint32_t letters = 0;
    for (const std::u16string_view code : codes)
        letters |= std::uint32_t(1) << (code.front() - u'A');
    return letters;
}

// One test on a code. It holds if the code equals one of `equals`, begins with one of `begins`, or begins
// with one of `digitBehind` and has a digit right behind that; a code that begins with one of `except`
// fails in any case. `letters`, worked out of the lists, tells at once that most tests do not hold.
struct s3CodeTest {
    std::span<const std::u16string_view> equals = {};
    std::span<const std::u16string_view> begins = {};
    std::span<const std::u16string_view> digitBehind = {};
    std::span<const std::u16string_view> except = {};
    std::uint32_t letters = s3FirstLetters(equals) | s3FirstLetters(begins) | s3FirstLetters(digitBehind);
};

namespace s3CodeLists
{

template <std::size_t size> using List = std::array<std::u16string_view, size>;

inline constexpr List<5> b{u"B", u"B1", u"B2", u"B3", u"ZAE"};
inline constexpr List<1> bglp{u"BGLP"};
inline constexpr List<5> vl{u"VL", u"VP", u"VID", u"ID", u"P"};
inline constexpr List<2> idn{u"IDN", u"VIDN"};
inline constexpr List<3> azki{u"AZKI", u"AZLI", u"AZSI"};
inline constexpr List<5> azm{u"AZM", u"AK", u"AN", u"AS", u"AU"};
inline constexpr List<1> taz{u"TAZ"};
inline constexpr List<1> bu{u"BU"};
inline constexpr List<1> dvb1{u"DVB1"};
inline constexpr List<2> dvz{u"DVZ", u"URL1"};
inline constexpr List<1> bu1{u"BU1"};
inline constexpr List<2> dv{u"DV", u"DV1"};
inline constexpr List<1> dvz1{u"DVZ1"};
inline constexpr List<1> url2{u"URL2"};
inline constexpr List<1> ch{u"CH"};
inline constexpr List<2> tn{u"TN", u"ARTF"};
inline constexpr List<1> art{u"ART"};
inline constexpr List<1> dvs1{u"DVS1"};
inline constexpr List<1> dvs1Begins{u"AZI"};
inline constexpr List<6> gd{u"GD", u"GD2", u"GD7", u"GD8", u"GW2", u"GW4"};
inline constexpr List<2> gdBegins{u"SD", u"ARTD"};
inline constexpr List<1> aDigit{u"A"};
inline constexpr List<3> aBegins{u"AZK", u"AZL", u"AZS"};
inline constexpr List<3> pDigit{u"P", u"VP", u"VPK"};
inline constexpr List<2> integer{u"K", u"I"};
inline constexpr List<1> integerExcept{u"ID"};
inline constexpr List<3> real{u"R", u"M", u"ARTR"};
inline constexpr List<4> numeric{u"AN", u"AK", u"GP", u"N"};
inline constexpr List<1> numericExcept{u"NT"};

}

namespace s3CodeTests
{

inline constexpr s3CodeTest b{.equals = s3CodeLists::b};
inline constexpr s3CodeTest bglp{.begins = s3CodeLists::bglp};
inline constexpr s3CodeTest vl{.begins = s3CodeLists::vl};
inline constexpr s3CodeTest idn{.begins = s3CodeLists::idn};
inline constexpr s3CodeTest azki{.begins = s3CodeLists::azki};
inline constexpr s3CodeTest azm{.begins = s3CodeLists::azm};
inline constexpr s3CodeTest taz{.begins = s3CodeLists::taz};
inline constexpr s3CodeTest bu{.begins = s3CodeLists::bu};
inline constexpr s3CodeTest dvb1{.equals = s3CodeLists::dvb1};
inline constexpr s3CodeTest dvz{.equals = s3CodeLists::dvz};
inline constexpr s3CodeTest bu1{.equals = s3CodeLists::bu1};
inline constexpr s3CodeTest dv{.equals = s3CodeLists::dv};
inline constexpr s3CodeTest dvz1{.equals = s3CodeLists::dvz1};
inline constexpr s3CodeTest url2{.equals = s3CodeLists::url2};
inline constexpr s3CodeTest ch{.equals = s3CodeLists::ch};
inline constexpr s3CodeTest tn{.begins = s3CodeLists::tn};
inline constexpr s3CodeTest art{.begins = s3CodeLists::art};
inline constexpr s3CodeTest dvs1{.equals = s3CodeLists::dvs1, .begins = s3CodeLists::dvs1Begins};
inline constexpr s3CodeTest gd{.equals = s3CodeLists::gd, .begins = s3CodeLists::gdBegins};
inline constexpr s3CodeTest a{.begins = s3CodeLists::aBegins, .digitBehind = s3CodeLists::aDigit};
inline constexpr s3CodeTest p{.digitBehind = s3CodeLists::pDigit};
inline constexpr s3CodeTest integer{.begins = s3CodeLists::integer, .except = s3CodeLists::integerExcept};
inline constexpr s3CodeTest real{.begins = s3CodeLists::real};
inline constexpr s3CodeTest numeric{.begins = s3CodeLists::numeric, .except = s3CodeLists::numericExcept};

}

// One row of the display classes: the class of a code for which `test` or `alternative` holds, for the
// kinds 23 and 56. A row with `onlyKind56` is passed over for kind 23. The first row that holds counts.
struct s3DisplayClassRow {
    const s3CodeTest *test;
    const s3CodeTest *alternative;
    int kind23;
    int kind56;
    bool onlyKind56;
};

inline constexpr std::array s3DisplayClassRows{
    s3DisplayClassRow{&s3CodeTests::gd, nullptr, 32, 42, false},
    s3DisplayClassRow{&s3CodeTests::dv, nullptr, 33, 62, false},
    s3DisplayClassRow{&s3CodeTests::taz, &s3CodeTests::azm, 30, 50, false},
    s3DisplayClassRow{&s3CodeTests::a, nullptr, 28, 40, false},
    s3DisplayClassRow{&s3CodeTests::vl, nullptr, 29, 49, false},
    s3DisplayClassRow{&s3CodeTests::dvz, nullptr, 36, 96, false},
    s3DisplayClassRow{&s3CodeTests::tn, nullptr, 31, 51, false},
    s3DisplayClassRow{&s3CodeTests::bu1, nullptr, 37, 129, false},
    s3DisplayClassRow{&s3CodeTests::dvb1, nullptr, 35, 11, false},
    s3DisplayClassRow{&s3CodeTests::bu, nullptr, 24, 11, false},
    s3DisplayClassRow{&s3CodeTests::dvz1, nullptr, 34, 87, false},
    s3DisplayClassRow{&s3CodeTests::dvs1, nullptr, 39, 86, false},
    s3DisplayClassRow{&s3CodeTests::url2, nullptr, 0, 10, true},
    s3DisplayClassRow{&s3CodeTests::b, nullptr, 27, 14, false},
    s3DisplayClassRow{&s3CodeTests::ch, nullptr, 26, 12, false},
};

// Where no row holds.
inline constexpr int s3DisplayClassOther23 = 25;
inline constexpr int s3DisplayClassOther56 = 52;
