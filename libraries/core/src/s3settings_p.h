#pragma once

#include <QString>
#include <QStringList>

// The parts of a list of numbers or words: separated by commas, blanks and tabs, none of them empty.
[[nodiscard]] QStringList s3SplitSettingsList(const QString &text);

// The rules by which a value's text becomes an integer or a bool; empty text gives the default.
[[nodiscard]] int s3SettingsInt(const QString &text, int defaultValue);
[[nodiscard]] bool s3SettingsBool(const QString &text, bool defaultValue);
