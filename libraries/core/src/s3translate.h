#pragma once

#include <QString>

// The current language's wording of a German source text; the text itself where the dictionary has none.
[[nodiscard]] QString s3Translate(const QString &sourceText);
