// A company colour by its name against one lookup in a QHash.

#include "ratio.h"
#include "s3color.h"
#include "s3colortables.h"

#include <QHash>
#include <QStringList>

namespace
{

constexpr int rounds = 100'000;

template <class Lookup> void lookUpAll(const QStringList &names, Lookup lookup)
{
    int red = 0;
    for (int round = 0; round != rounds; ++round) {
        for (const QString &name : names)
            red += lookup(name).red();
    }
    keepResult(red);
}

}

int main()
{
    QStringList names;
    QHash<QString, QColor> peer;
    for (const s3BrandColor &row : s3BrandColors) {
        for (const std::u16string_view name : {row.german, row.english}) {
            names += QString::fromUtf16(name.data(), static_cast<qsizetype>(name.size()));
            peer.insert(names.constLast(), QColor(row.rgb));
        }
    }
    RatioReport report;
    report.compare(
        "s3ColorFromName, company colours / QHash lookup",
        [&] { lookUpAll(names, [](const QString &name) { return s3ColorFromName(name); }); },
        [&] { lookUpAll(names, [&peer](const QString &name) { return peer.value(name); }); }, {.bound = 1.5});
    return report.exitCode();
}
