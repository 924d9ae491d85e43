#pragma once

#include "ostrelletest/filecontent.h"
#include "ostrelletest/plainsettingsconversion.h"
#include "s3settingsprivate.h"

#include <QSettings>
#include <QTemporaryDir>

// What must be true of the conversion of any bytes; for the fuzz target and the suite that replays what it
// found. The file system of the temporary directory sees some writing.
[[nodiscard]] inline bool askSettingsFormat(const QByteArray &content)
{
    static const QTemporaryDir directory;
    // A name of its own for each file: QSettings remembers them.
    static int number = 0;
    const QString path = directory.filePath(QString::number(++number));
    if (!writeFile(path, content))
        return false;
    struct Removal {
        QString path;
        ~Removal() { QFile::remove(path); }
    } const removal{path};

    const auto update = [&path](bool checkOnly, bool alreadyConverted, bool &formatOk) {
        QString error;
        const bool rewritten
            = s3SettingsPrivate::updateFormat(path, checkOnly, alreadyConverted, &formatOk, &error);
        return error.isEmpty() && !(rewritten && checkOnly) ? int(rewritten) : -1;
    };
    const PlainSettingsConversion plain = convertSettingsPlainly(content);
    bool formatOk = false;
    if (update(true, false, formatOk) != 0 || formatOk != plain.formatOk || readFile(path) != content)
        return false;
    if (update(true, true, formatOk) != 0 || formatOk != convertSettingsPlainly(content, true).formatOk)
        return false;
    if (update(false, false, formatOk) != int(!plain.formatOk) || !formatOk)
        return false;
    QByteArray written = readFile(path);
    if (plain.formatOk)
        return written == content;
    if (written.replace("\r\n", "\n") != QByteArray(plain.bytes).replace("\r\n", "\n"))
        return false;

    // A file whose first line begins with a second byte order mark, or that held halves of surrogate pairs,
    // reads differently once it is rewritten.
    const PlainSettingsConversion again = convertSettingsPlainly(written);
    if (again.keyLines.size() != plain.keyLines.size() || written.startsWith("\xEF\xBB\xBF"))
        return true;
    if (update(true, true, formatOk) != 0 || !formatOk)
        return false;

    // The values in a file of their own, behind keys that mean nothing to QSettings.
    QByteArray values;
    QStringList literals;
    for (const PlainSettingsConversion::KeyLine &line : again.keyLines) {
        const PlainSettingsConversion::KeyLine &old = plain.keyLines.at(literals.size());
        if (old.literal.contains(QChar::ReplacementCharacter) || !old.literal.isValidUtf16())
            return true;
        values += 'k' + QByteArray::number(literals.size()) + '=' + line.rawValue.toUtf8() + '\n';
        literals += old.literal;
    }
    const QString valuesPath = directory.filePath(QString::number(number) + QStringLiteral(".values"));
    if (!writeFile(valuesPath, values))
        return false;
    const Removal valuesRemoval{valuesPath};
    const QSettings settings(valuesPath, QSettings::IniFormat);
    for (qsizetype i = 0; i < literals.size(); ++i) {
        const PlainSettingsConversion::KeyLine &line = plain.keyLines.at(i);
        // One such value may hide what follows.
        if (isReadOtherwiseByQt(line))
            return true;
        const QVariant value = settings.value(QLatin1Char('k') + QString::number(i));
        if (value.typeId() != QMetaType::QString || value.toString() != literals.at(i))
            return false;
    }
    return true;
}
