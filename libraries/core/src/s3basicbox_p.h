#pragma once

#include <QCoreApplication>
#include <QString>

// The title of a box that is given none: `brandTitle` while a brand is active, else what `translate`
// gives for the product's name; the application's name where that is the dictionary's mark of an unknown
// text ("*** Zerk ***"), which must never reach the title bar. `translate` is asked only without a brand.
template <class Translate>
[[nodiscard]] QString s3DefaultBoxTitle(bool brandActive, const QString &brandTitle, Translate &&translate)
{
    if (brandActive)
        return brandTitle;
    const QString title = translate(QStringLiteral("Zerk"));
    return title.startsWith(QStringLiteral("*** ")) ? qAppName() : title;
}
