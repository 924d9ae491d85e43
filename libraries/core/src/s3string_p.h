#pragma once

#include <QString>

#include <functional>
#include <optional>

// The two expansions of s3String with their surroundings as arguments, for s3String and its tests only.

// The value of an environment variable; no value when it is not set.
using s3EnvironmentLookup = std::function<std::optional<QString>(const QString &name)>;

// s3String::expandEnvironmentStrings with `lookup` for the environment. Each name is asked for once.
void s3ExpandEnvironmentReferences(QString &text, const s3EnvironmentLookup &lookup);

// s3String::expandMessageReferences with `replacement` for what stands in place of a number, which is
// never 0. The same precondition holds: no unclosed "Xmsg(".
int s3ExpandMessageReferences(QString &text, const std::function<QString(int)> &replacement);
