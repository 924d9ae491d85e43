#include "s3settingswithinheritance.h"

#include "s3color.h"
#include "s3settings_p.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// A name may refer to another one so many times; it ends circles.
constexpr int maximumPasses = 5;

// Red, green, blue and position.
constexpr qsizetype numbersPerStop = 4;

constexpr int lastPosition = 100;

QStringList keysForPlatform(const QString &key)
{
    return {s3Settings::platformKey(key), key};
}

}

s3SettingsWithInheritance::s3SettingsWithInheritance(s3Settings *first)
{
    addSettings(first);
}

s3SettingsWithInheritance::~s3SettingsWithInheritance()
{
    if (ownsSettings)
        qDeleteAll(chain);
}

void s3SettingsWithInheritance::addSettings(s3Settings *settings)
{
    if (settings != nullptr)
        chain += settings;
}

void s3SettingsWithInheritance::setOwnsSettings(bool owns)
{
    ownsSettings = owns;
}

bool s3SettingsWithInheritance::hasSection(s3Settings::Type type, const QString &section) const
{
    return std::any_of(chain.cbegin(), chain.cend(), [&](const s3Settings *settings) {
        return settings != nullptr && settings->type() == type && settings->section() == section;
    });
}

s3Settings *s3SettingsWithInheritance::findSettingsWithKey(const QString &key) const
{
    if (key.isEmpty())
        return nullptr;
    const auto found = std::find_if(chain.cbegin(), chain.cend(), [&key](const s3Settings *settings) {
        return settings != nullptr && settings->hasKey(key);
    });
    return found != chain.cend() ? *found : nullptr;
}

QString s3SettingsWithInheritance::read(const QStringList &keys, const QString &defaultValue) const
{
    for (const QString &key : keys) {
        if (const s3Settings *settings = findSettingsWithKey(key))
            return settings->read(key, defaultValue);
    }
    return defaultValue;
}

int s3SettingsWithInheritance::readInt(const QStringList &keys, int defaultValue) const
{
    return s3SettingsInt(read(keys, QString()), defaultValue);
}

bool s3SettingsWithInheritance::readBool(const QStringList &keys, bool defaultValue) const
{
    return s3SettingsBool(read(keys, QString()), defaultValue);
}

QString s3SettingsWithInheritance::read(const QString &key, const QString &defaultValue) const
{
    return read(keysForPlatform(key), defaultValue);
}

int s3SettingsWithInheritance::readInt(const QString &key, int defaultValue) const
{
    return readInt(keysForPlatform(key), defaultValue);
}

bool s3SettingsWithInheritance::readBool(const QString &key, bool defaultValue) const
{
    return readBool(keysForPlatform(key), defaultValue);
}

QColor s3SettingsWithInheritance::readColor(const QString &key, const QColor &defaultColor) const
{
    QString name = key;
    for (int pass = 0; pass < maximumPasses && !name.isEmpty(); ++pass) {
        const QColor color = s3ColorFromName(name);
        if (color.isValid())
            return color;
        const s3Settings *settings = findSettingsWithKey(name);
        if (settings == nullptr)
            break;
        const QList<int> numbers = settings->readIntList(name);
        if (numbers.size() >= 3)
            return QColor(numbers[0], numbers[1], numbers[2]);
        if (numbers.size() != 1)
            break;
        name = settings->read(name);
    }
    return defaultColor;
}

s3ColorStops s3SettingsWithInheritance::readGradient(const QString &key,
                                                     const s3ColorStops &defaultGradient) const
{
    QString name = key;
    QList<int> numbers;
    qsizetype stops = 0;
    for (int pass = 0; pass < maximumPasses && stops == 0; ++pass) {
        if (name.isEmpty())
            return defaultGradient;
        const QColor color = s3ColorFromName(name);
        if (color.isValid())
            return s3ColorStops(color);
        const s3Settings *settings = findSettingsWithKey(name);
        if (settings == nullptr)
            return defaultGradient;
        const QString value = settings->read(name);
        numbers = parseGradientList(value);
        // The last position may be left out.
        stops = (numbers.size() + 1) / numbersPerStop;
        if (stops == 0 && numbers.size() != 1)
            return defaultGradient;
        name = value;
    }
    if (stops == 0)
        return defaultGradient;
    s3ColorStops gradient;
    for (qsizetype stop = 0; stop < stops; ++stop) {
        const qsizetype base = numbersPerStop * stop;
        const int position = numbers.value(base + 3, stop == 0 ? 0 : lastPosition);
        gradient.add(QColor(numbers[base], numbers[base + 1], numbers[base + 2]), position);
    }
    if (numbers.value(numbersPerStop * stops, 0) != 0)
        gradient.setFlag();
    return gradient;
}

s3ColorStops s3SettingsWithInheritance::readGradientForPlatform(const QString &key,
                                                                const s3ColorStops &defaultGradient) const
{
    const QString special = s3Settings::platformKey(key);
    return readGradient(findSettingsWithKey(special) != nullptr ? special : key, defaultGradient);
}

QList<int> s3SettingsWithInheritance::parseGradientList(const QString &text) const
{
    const QStringList parts = s3SplitSettingsList(text);
    if (parts.size() == 1)
        return {0};
    QList<int> numbers;
    for (const QString &part : parts) {
        const qsizetype place = numbers.size() % numbersPerStop;
        bool isNumber = false;
        const int number = part.toInt(&isNumber, 0);
        const QColor color = !isNumber && place == 0 ? readColor(part, QColor()) : QColor();
        if (isNumber)
            numbers += number;
        else if (color.isValid())
            numbers += {color.red(), color.green(), color.blue()};
        else if (place == numbersPerStop - 1)
            numbers += numbers.size() == numbersPerStop - 1 ? 0 : lastPosition;
        else
            numbers += 0;
    }
    return numbers;
}
