#include "tabseparatedcontents.h"

#include "s3language.h"

#include <QIODevice>
#include <QStringDecoder>
#include <QStringList>

#include <optional>

using namespace Qt::StringLiterals;

namespace
{

// What a column holds; a value from 0 on is a language index.
enum : qint32 { NumberColumn = -3, KeyColumn = -2, SourceColumn = -1 };

std::optional<qint32> columnMeaning(const QString &name)
{
    if (name == "number"_L1)
        return NumberColumn;
    if (name == "key"_L1)
        return KeyColumn;
    if (name == "source"_L1)
        return SourceColumn;
    const qint32 language = s3LanguageIndex(name);
    return language < 0 ? std::nullopt : std::optional(language);
}

// Null for a missing field, nothing for an escape that does not exist.
std::optional<QString> unescaped(const QString &field)
{
    if (field.isEmpty())
        return QString();
    if (field == "\\e"_L1)
        return u""_s;
    QString text;
    text.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] != u'\\') {
            text += field[i];
            continue;
        }
        ++i;
        switch (i < field.size() ? field[i].unicode() : u'\0') {
        case u'n':
            text += u'\n';
            break;
        case u't':
            text += u'\t';
            break;
        case u'r':
            text += u'\r';
            break;
        case u'\\':
            text += u'\\';
            break;
        default:
            return std::nullopt;
        }
    }
    return text;
}

class Reader
{
public:
    explicit Reader(DictionaryContents &contents) : m_contents(contents) { }

    // The reason why the line cannot be taken, empty for a good one.
    QString takeLine(const QString &line)
    {
        const QStringList fields = line.split(u'\t');
        return m_columns.isEmpty() ? takeHeader(fields) : takeText(fields);
    }

private:
    QString takeHeader(const QStringList &names)
    {
        for (const QString &name : names) {
            const std::optional<qint32> meaning = columnMeaning(name);
            if (!meaning)
                return u"There is no column \"%1\"."_s.arg(name);
            if (m_columns.contains(*meaning))
                return u"The column \"%1\" comes twice."_s.arg(name);
            m_columns += *meaning;
        }
        return m_columns.contains(NumberColumn) ? QString() : u"The column \"number\" is missing."_s;
    }

    QString takeText(const QStringList &fields)
    {
        if (fields.size() > m_columns.size())
            return u"There are more fields than columns."_s;
        qint32 number = 0;
        DictionaryText text;
        for (qsizetype i = 0; i < fields.size(); ++i) {
            const std::optional<QString> field = unescaped(fields[i]);
            if (!field)
                return u"A field has a backslash without meaning: %1"_s.arg(fields[i]);
            if (m_columns[i] == NumberColumn)
                number = field->toInt();
            else if (m_columns[i] == KeyColumn)
                text.key = *field;
            else if (m_columns[i] == SourceColumn)
                text.source = *field;
            else if (!field->isNull())
                text.translations.insert(m_columns[i], *field);
        }
        if (number < 1)
            return u"The line has no text number."_s;
        if (m_contents.texts.contains(number))
            return u"Text number %1 comes twice."_s.arg(number);
        m_contents.texts.insert(number, text);
        return {};
    }

    DictionaryContents &m_contents;
    QList<qint32> m_columns;
};

} // namespace

bool readTabSeparated(QIODevice &device, DictionaryContents &contents, QString &error)
{
    error.clear();
    QStringDecoder decode(QStringDecoder::Utf8);
    const QString all = decode(device.readAll());
    if (decode.hasError()) {
        error = u"The text is not UTF-8."_s;
        return false;
    }
    Reader reader(contents);
    qsizetype lineNumber = 0;
    bool hasHeader = false;
    for (QStringView line : QStringView(all).split(u'\n')) {
        ++lineNumber;
        if (line.endsWith(u'\r'))
            line.chop(1);
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        hasHeader = true;
        const QString reason = reader.takeLine(line.toString());
        if (!reason.isEmpty()) {
            error = u"Line %1: %2"_s.arg(QString::number(lineNumber), reason);
            return false;
        }
    }
    if (!hasHeader)
        error = u"The line with the names of the columns is missing."_s;
    return error.isEmpty();
}
