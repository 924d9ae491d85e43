#pragma once

#include <QRgb>

#include <array>
#include <string_view>

// The colour names that Qt does not know, as data. Lookup is exact and case-sensitive.

// A company colour; both names stand for it.
struct s3BrandColor {
    std::u16string_view german;
    std::u16string_view english;
    QRgb rgb;
};

inline constexpr std::array s3BrandColors{
    s3BrandColor{u"VantoskeBrand_IndustrialSchwarz", u"VantoskeBrand_IndustrialBlack", qRgb(17, 32, 51)},
    s3BrandColor{u"VantoskeBrand_DunkelIndustrialSchwarz", u"VantoskeBrand_DarkIndustrialBlack",
                 qRgb(65, 77, 92)},
    s3BrandColor{u"VantoskeBrand_VantoskeDunkelGrau", u"VantoskeBrand_DarkVantoskeGrey", qRgb(155, 155, 155)},
    s3BrandColor{u"VantoskeBrand_VantoskeGrau", u"VantoskeBrand_VantoskeGrey", qRgb(213, 213, 213)},
    s3BrandColor{u"VantoskeBrand_TechTuerkis", u"VantoskeBrand_TechTurquoise", qRgb(33, 183, 179)},
    s3BrandColor{u"VantoskeBrand_HellTechTuerkis", u"VantoskeBrand_LightTechTurquoise", qRgb(122, 208, 205)},
    s3BrandColor{u"VantoskeBrand_DunkelTechTuerkis", u"VantoskeBrand_DarkTechTurquoise", qRgb(25, 132, 129)},
    s3BrandColor{u"VantoskeBrand_ServiceGelb", u"VantoskeBrand_ServiceYellow", qRgb(253, 206, 13)},
    s3BrandColor{u"VantoskeBrand_Tulpe", u"VantoskeBrand_Tulip", qRgb(252, 138, 61)},
    s3BrandColor{u"zerkERP2015_brandschwarz", u"zerkERP2015_brandblack", qRgb(42, 53, 57)},
    s3BrandColor{u"zerkERP2015_branddunkelgrau", u"zerkERP2015_branddarkgray", qRgb(82, 91, 96)},
    s3BrandColor{u"zerkERP2015_brandgrau", u"zerkERP2015_brandgray", qRgb(160, 164, 167)},
    s3BrandColor{u"zerkERP2015_brandhellgrau", u"zerkERP2015_brandlightgray", qRgb(203, 204, 206)},
    s3BrandColor{u"zerkERP2015_brandgruen", u"zerkERP2015_brandgreen", qRgb(27, 186, 164)},
    s3BrandColor{u"zerkERP2015_brandhellgruen", u"zerkERP2015_brandlightgreen", qRgb(141, 221, 210)},
    s3BrandColor{u"zerkERP2015_signalrot", u"zerkERP2015_alertred", qRgb(205, 39, 53)},
    s3BrandColor{u"zerkERP2015_signalorange", u"zerkERP2015_alertorange", qRgb(230, 130, 19)},
    s3BrandColor{u"zerkERP2015_signalgelb", u"zerkERP2015_alertyellow", qRgb(235, 200, 10)},
    s3BrandColor{u"zerkERP2015_signalgruen", u"zerkERP2015_alertgreen", qRgb(132, 195, 44)},
    s3BrandColor{u"zerkERP2015_signalblau", u"zerkERP2015_alertblue", qRgb(26, 93, 173)},
    s3BrandColor{u"zerkERP2015_rot", u"zerkERP2015_red", qRgb(150, 25, 55)},
    s3BrandColor{u"zerkERP2015_orange", u"zerkERP2015_orange", qRgb(255, 182, 15)},
    s3BrandColor{u"zerkERP2015_gruen", u"zerkERP2015_green", qRgb(31, 168, 112)},
    s3BrandColor{u"zerkERP2015_blaugruen", u"zerkERP2015_teal", qRgb(11, 123, 124)},
    s3BrandColor{u"zerkERP2015_blau", u"zerkERP2015_blue", qRgb(28, 94, 110)},
    s3BrandColor{u"hellrot", u"lightred", qRgb(255, 128, 128)},
};

// A German word and the word that Qt has for its colour. Some words share a colour, and "hellblau" is aqua,
// not light blue: files have been written with these meanings.
struct s3GermanColorWord {
    std::u16string_view german;
    std::u16string_view english;
};

inline constexpr std::array s3GermanColorWords{
    s3GermanColorWord{u"schwarz", u"black"},   s3GermanColorWord{u"kastanienbraun", u"maroon"},
    s3GermanColorWord{u"gruen", u"green"},     s3GermanColorWord{u"olivgruen", u"olive"},
    s3GermanColorWord{u"marineblau", u"navy"}, s3GermanColorWord{u"lila", u"purple"},
    s3GermanColorWord{u"blaugruen", u"teal"},  s3GermanColorWord{u"grau", u"gray"},
    s3GermanColorWord{u"silber", u"silver"},   s3GermanColorWord{u"rot", u"red"},
    s3GermanColorWord{u"gelbgruen", u"lime"},  s3GermanColorWord{u"gelb", u"yellow"},
    s3GermanColorWord{u"blau", u"blue"},       s3GermanColorWord{u"violett", u"fuchsia"},
    s3GermanColorWord{u"aquamarin", u"aqua"},  s3GermanColorWord{u"weiss", u"white"},
    s3GermanColorWord{u"braun", u"maroon"},    s3GermanColorWord{u"oliv", u"olive"},
    s3GermanColorWord{u"hellblau", u"aqua"},
};
