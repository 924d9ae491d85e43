#pragma once

#include "s3colorstops.h"
#include "s3settings.h"

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

// A chain of settings files for reading, each with its selected section: the first that has a key wins.
//
// The operations that take one key ask for the platform's key (s3Settings::platformKey) in all files first,
// and then for the key itself. A hit is final: an empty text in an earlier file gives the default of a
// number and hides what a later file has.
//
// The settings must outlive this object unless it owns them. One thread at a time.
class s3SettingsWithInheritance
{
public:
    // A chain that begins with `first`, which it does not own.
    explicit s3SettingsWithInheritance(s3Settings *first);
    virtual ~s3SettingsWithInheritance();
    Q_DISABLE_COPY_MOVE(s3SettingsWithInheritance)

    // Appends; null is ignored.
    void addSettings(s3Settings *settings);

    // Whether the destructor deletes all settings of the chain; off at first.
    void setOwnsSettings(bool owns);

    // Whether settings of that type have exactly that section selected.
    [[nodiscard]] bool hasSection(s3Settings::Type type, const QString &section) const;

    // The first that has the key, null when there is none and for an empty key.
    [[nodiscard]] s3Settings *findSettingsWithKey(const QString &key) const;

    // The value of the first of `keys` that any file has. As in s3Settings, with its defaults.
    [[nodiscard]] QString read(const QStringList &keys, const QString &defaultValue) const;
    [[nodiscard]] int readInt(const QStringList &keys, int defaultValue) const;
    [[nodiscard]] bool readBool(const QStringList &keys, bool defaultValue) const;

    // The value of the platform's key, else of the key.
    [[nodiscard]] QString read(const QString &key, const QString &defaultValue) const;
    [[nodiscard]] int readInt(const QString &key, int defaultValue) const;
    [[nodiscard]] bool readBool(const QString &key, bool defaultValue) const;

    // A colour: three numbers, the name of a colour (s3ColorFromName) or of another key. A key that is itself
    // the name of a colour is that colour and is not looked up. The default after five references, and for
    // anything else.
    [[nodiscard]] QColor readColor(const QString &key, const QColor &defaultColor) const;

    // A gradient: the name of a colour or of another key, or a list as parseGradientList takes it. The
    // position of the last stop may be left out; a number other than 0 behind it sets the gradient's flag.
    [[nodiscard]] s3ColorStops readGradient(const QString &key, const s3ColorStops &defaultGradient) const;
    [[nodiscard]] s3ColorStops readGradientForPlatform(const QString &key,
                                                       const s3ColorStops &defaultGradient) const;

    // The numbers of a gradient's text, four for each stop: red, green, blue, position in percent. Where a
    // colour is due, its name or the key of one gives three numbers at once. Where a position is due, a word
    // gives the first stop 0 and later ones 100; any other word is 0. A single part, whatever it is, gives
    // the list of one 0: the text refers to another key.
    [[nodiscard]] QList<int> parseGradientList(const QString &text) const;

private:
    QList<s3Settings *> chain;
    bool ownsSettings = false;
};
