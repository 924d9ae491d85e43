#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QTextStream>

// The conversion of an old settings file written down once more, plainly: each line through the regular
// expression, the whole text as one string. Slow, and so the judge of the fast one.
struct PlainSettingsConversion {
    struct KeyLine {
        QString section; // the last section line above, trimmed; null when there is none
        QString key;
        QString rawValue; // the text behind the equals sign, up to the end of the line
        QString literal; // what that text means in an old file
        QString converted;
    };

    bool formatOk = true;
    QByteArray bytes; // the rewritten file with line feeds as line ends
    QList<KeyLine> keyLines;
    bool hasStrayQuotes = false; // in lines that are neither key lines nor comments
};

[[nodiscard]] inline PlainSettingsConversion convertSettingsPlainly(const QByteArray &content,
                                                                    bool alreadyConverted = false)
{
    const QString backslash = QStringLiteral("\\");
    const QString twoBackslashes = QStringLiteral("\\\\");
    const QString quote = QStringLiteral("\"");
    const QString backslashQuote = QStringLiteral("\\\"");
    static const QRegularExpression keyLine(
        QRegularExpression::anchoredPattern(QStringLiteral("^([^;\\[][^=]*)=(.*)$")));
    static const QRegularExpression listCharacter(QStringLiteral("[,;=]"));

    PlainSettingsConversion result;
    QBuffer input;
    input.setData(content);
    input.open(QIODevice::ReadOnly);
    QTextStream stream(&input);
    QString output;
    QString section;
    while (!stream.atEnd()) {
        const QString rawLine = stream.readLine();
        QString line = rawLine.trimmed();
        const QRegularExpressionMatch match = keyLine.match(line);
        if (match.hasMatch()) {
            QString value = match.captured(2).trimmed();
            const QString valueOrig = value;
            QString literal = value;
            if (!value.isEmpty()) {
                bool quoted = false;
                if (value.startsWith(quote) && value.size() > 1 && value.endsWith(quote)) {
                    quoted = true;
                    value = value.mid(1, value.size() - 2);
                }
                if (alreadyConverted)
                    value.replace(backslashQuote, quote).replace(twoBackslashes, backslash);
                literal = value;
                value.replace(backslash, twoBackslashes).replace(quote, backslashQuote);
                if (quoted || listCharacter.match(value).hasMatch())
                    value = quote + value + quote;
                if (value != valueOrig) {
                    line = match.captured(1).trimmed() + u'=' + value;
                    result.formatOk = false;
                }
            }
            const qsizetype start = rawLine.indexOf(match.captured(0).first(1));
            const QString rawValue = rawLine.mid(rawLine.indexOf(u'=', start + 1) + 1);
            result.keyLines += {section, match.captured(1).trimmed(), rawValue, literal, value};
        } else if (line.startsWith(u'[')) {
            section = line;
        }
        if (!match.hasMatch() && !line.startsWith(u';'))
            result.hasStrayQuotes = result.hasStrayQuotes || line.contains(u'"') || line.contains(u'\\');
        output += line + u'\n';
    }
    QBuffer written(&result.bytes);
    written.open(QIODevice::WriteOnly);
    QTextStream(&written) << output;
    return result;
}

// Whether QSettings has an own opinion of a value that stands in the form of generation 2. An at sign begins
// its notation of types; a byte order mark is taken away where nothing but escaped characters stands before
// it; a bare carriage return ends a line unless it is quoted; and around a value that was left as it stood,
// it takes away blanks and tabs only, not what else is white space.
[[nodiscard]] inline bool isReadOtherwiseByQt(const PlainSettingsConversion::KeyLine &line)
{
    static const QRegularExpression mark(QStringLiteral("^[\\\\\"]*\\x{FEFF}"));
    if (line.literal.startsWith(u'@') || mark.match(line.literal).hasMatch()
        || (line.literal.contains(u'\r') && !line.converted.startsWith(u'"')))
        return true;
    const QString trimmed = line.rawValue.trimmed();
    QStringView left = line.rawValue;
    while (left.startsWith(u' ') || left.startsWith(u'\t'))
        left = left.sliced(1);
    while (left.endsWith(u' ') || left.endsWith(u'\t') || left.endsWith(u'\r'))
        left.chop(1);
    return line.converted == trimmed && left != trimmed;
}
