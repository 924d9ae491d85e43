// Classification of type codes against a switch written by hand over the same codes.

#include "ratio.h"
#include "s3code.h"

#include <QList>
#include <QString>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

constexpr int classified = 10'000'000;

bool isDigitAt(QStringView code, qsizetype index)
{
    return code.size() > index && code[index].isDigit();
}

qint32 classBySwitch(qint32 kind, QStringView code)
{
    const bool is56 = kind == 56;
    if (kind != 23 && !is56)
        return kind;
    switch (code.isEmpty() ? u'\0' : code.front().unicode()) {
    case u'A':
        if (code.startsWith(u"ARTD"))
            return is56 ? 42 : 32;
        if (code.startsWith(u"AZM") || code.startsWith(u"AK") || code.startsWith(u"AN")
            || code.startsWith(u"AS") || code.startsWith(u"AU"))
            return is56 ? 50 : 30;
        if (isDigitAt(code, 1) || code.startsWith(u"AZK") || code.startsWith(u"AZL")
            || code.startsWith(u"AZS"))
            return is56 ? 40 : 28;
        if (code.startsWith(u"ARTF"))
            return is56 ? 51 : 31;
        if (code.startsWith(u"AZI"))
            return is56 ? 86 : 39;
        break;
    case u'B':
        if (code == u"BU1")
            return is56 ? 129 : 37;
        if (code.startsWith(u"BU"))
            return is56 ? 11 : 24;
        if (code == u"B" || code == u"B1" || code == u"B2" || code == u"B3")
            return is56 ? 14 : 27;
        break;
    case u'C':
        if (code == u"CH")
            return is56 ? 12 : 26;
        break;
    case u'D':
        if (code == u"DV" || code == u"DV1")
            return is56 ? 62 : 33;
        if (code == u"DVZ")
            return is56 ? 96 : 36;
        if (code == u"DVB1")
            return is56 ? 11 : 35;
        if (code == u"DVZ1")
            return is56 ? 87 : 34;
        if (code == u"DVS1")
            return is56 ? 86 : 39;
        break;
    case u'G':
        if (code == u"GD" || code == u"GD2" || code == u"GD7" || code == u"GD8" || code == u"GW2"
            || code == u"GW4")
            return is56 ? 42 : 32;
        break;
    case u'I':
        if (code.startsWith(u"ID"))
            return is56 ? 49 : 29;
        break;
    case u'P':
        return is56 ? 49 : 29;
    case u'S':
        if (code.startsWith(u"SD"))
            return is56 ? 42 : 32;
        break;
    case u'T':
        if (code.startsWith(u"TAZ"))
            return is56 ? 50 : 30;
        if (code.startsWith(u"TN"))
            return is56 ? 51 : 31;
        break;
    case u'U':
        if (code == u"URL1")
            return is56 ? 96 : 36;
        if (is56 && code == u"URL2")
            return 10;
        break;
    case u'V':
        if (code.startsWith(u"VL") || code.startsWith(u"VP") || code.startsWith(u"VID"))
            return is56 ? 49 : 29;
        break;
    case u'Z':
        if (code == u"ZAE")
            return is56 ? 14 : 27;
        break;
    default:
        break;
    }
    return is56 ? 52 : 25;
}

bool numericBySwitch(QStringView code)
{
    switch (code.isEmpty() ? u'\0' : code.front().unicode()) {
    case u'K':
    case u'R':
    case u'M':
        return true;
    case u'I':
        return !code.startsWith(u"ID");
    case u'N':
        return !code.startsWith(u"NT");
    case u'A':
        return code.startsWith(u"AN") || code.startsWith(u"AK") || code.startsWith(u"ARTR");
    case u'G':
        return code.startsWith(u"GP");
    case u'P':
        return isDigitAt(code, 1);
    case u'V':
        return code.startsWith(u"VP")
            && (isDigitAt(code, 2) || (code.startsWith(u"VPK") && isDigitAt(code, 3)));
    default:
        return false;
    }
}

quint32 numberClassBySwitch(QStringView code)
{
    const bool independent = code.contains(u'U');
    switch (code.isEmpty() ? u'\0' : code.front().unicode()) {
    case u'A':
        if (!code.startsWith(u"ARTR"))
            return 4;
        break;
    case u'I':
        if (code.startsWith(u"ID"))
            return 4;
        return independent ? 17 : 1;
    case u'K':
        return independent ? 17 : 1;
    case u'M':
    case u'R':
        break;
    default:
        return 4;
    }
    if (independent)
        return 18;
    if (!code.contains(u'D'))
        return 2;
    return code.contains(u'T') ? 98 : 34;
}

QStringList mixedCodes()
{
    return u"GD GD2 GW4 SD ARTD DV DV1 TAZ AZM AN AK7 AS AU A7 AZK AZL VL VP7 VID ID IDN P7 DVZ URL1 TN ARTF "
           u"BU1 "
           u"DVB1 BU BU2 DVZ1 DVS1 AZI URL2 B B3 ZAE CH I7 I7U K2 R2 R2D R2DT M4 N7 NT ARTR ART X A BGLP T GPx"_s
               .split(u' ');
}

template <class Classify> void classifyAll(const QStringList &codes, Classify classify)
{
    qint64 sum = 0;
    for (int i = 0; i < classified;) {
        for (const QString &code : codes) {
            sum += classify(code);
            ++i;
        }
    }
    keepResult(sum);
}

template <class Ours, class Peer>
void compareOver(RatioReport &report, const char *what, const QStringList &codes, Ours ours, Peer peer)
{
    for (const QString &code : codes) {
        if (ours(code) != peer(code)) {
            std::printf("%s: the switch and the tables disagree about %s\n", what, qPrintable(code));
            std::exit(EXIT_FAILURE);
        }
    }
    report.compare(
        what, [&] { classifyAll(codes, ours); }, [&] { classifyAll(codes, peer); }, {.bound = 1.5});
}

}

int main()
{
    const QStringList codes = mixedCodes();
    RatioReport report;
    compareOver(
        report, "s3DisplayClass, kind 23 / switch", codes,
        [](const QString &code) { return s3DisplayClass(23, code); },
        [](const QString &code) { return classBySwitch(23, code); });
    compareOver(
        report, "s3DisplayClass, kind 56 / switch", codes,
        [](const QString &code) { return s3DisplayClass(56, code); },
        [](const QString &code) { return classBySwitch(56, code); });
    compareOver(
        report, "s3IsNumericCode / switch", codes, [](const QString &code) { return s3IsNumericCode(code); },
        [](const QString &code) { return numericBySwitch(code); });
    compareOver(
        report, "s3NumberClass / switch", codes, [](const QString &code) { return s3NumberClass(code); },
        [](const QString &code) { return numberClassBySwitch(code); });
    return report.exitCode();
}
