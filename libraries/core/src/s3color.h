#pragma once

#include <QColor>
#include <QString>
#include <QVariant>

// Colours as configuration files and server data write them. All functions are pure and may be called from
// any thread.

// The colour of a name. "#rrggbb" is a value; then come the company colours and the word "lightred", then
// all names that QColor knows, then the German words. The first that knows the name wins. An empty name,
// an unknown one, and "#" with another length give an invalid colour.
[[nodiscard]] QColor s3ColorFromName(const QString &name);

// "#rrggbb", or "#aarrggbb" for a colour that is not opaque; "invalid" and "nochange" for the two special
// ones, which s3ColorFromName does not read back.
[[nodiscard]] QString s3ColorName(const QColor &color);

// The colour that `value` holds; an invalid one if it holds anything else.
[[nodiscard]] QColor s3ColorFromVariant(const QVariant &value);

// The colour of the integer form: red in the low byte, green in the next, blue in the third; the highest is
// not looked at. -1 is the invalid colour, -2 the no-change colour.
[[nodiscard]] QColor s3ColorFromInt(qint32 value);

// The integer form of a colour, -1 for an invalid one. The way back knows no -2: the no-change colour is 0
// there, as black is.
[[nodiscard]] qint32 s3ColorToInt(const QColor &color);

// The colour that says "leave the colour as it is": valid, all of red, green, blue and alpha 0. It is not
// an invalid colour.
[[nodiscard]] QColor s3NoChangeColor();
[[nodiscard]] bool s3IsNoChangeColor(const QColor &color);

// `color` with `step` taken from red, green and blue, each kept within 0 to 255, and opaque; a negative step
// makes it lighter. An invalid colour stays as it is.
[[nodiscard]] QColor s3DarkerColor(const QColor &color, qint32 step);

// An order for sorting: by QColor::rgba, invalid colours first.
[[nodiscard]] bool s3ColorLess(const QColor &left, const QColor &right);

// Red if `text` is a negative number in the writing of Switzerland (with an apostrophe), Germany, France or
// the C locale; otherwise an invalid colour.
[[nodiscard]] QColor s3NegativeNumberColor(const QString &text);
