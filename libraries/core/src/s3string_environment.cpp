#include "s3string.h"

#include "referencetext_p.h"
#include "s3string_p.h"
#include "s3testflags.h"
#include "test/s3trace.h"

#include <QHash>
#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

namespace
{

// The names in the matches of "(\%([^\%]+)\%)".
QStringList percentNames(const QString &text)
{
    QStringList result;
    qsizetype open = text.indexOf(u'%');
    while (open >= 0) {
        const qsizetype close = text.indexOf(u'%', open + 1);
        if (close < 0)
            break;
        if (close == open + 1) {
            open = close;
            continue;
        }
        result += text.sliced(open + 1, close - open - 1);
        open = text.indexOf(u'%', close + 1);
    }
    return result;
}

// The names in the matches of "(\$\{([^\}]+)\})".
QStringList braceNames(const QString &text)
{
    static const QString mark = u"${"_s;
    QStringList result;
    qsizetype open = text.indexOf(mark);
    while (open >= 0) {
        const qsizetype nameStart = open + mark.size();
        const qsizetype close = text.indexOf(u'}', nameStart);
        if (close < 0)
            break;
        if (close > nameStart)
            result += text.sliced(nameStart, close - nameStart);
        open = text.indexOf(mark, close + 1);
    }
    return result;
}

// For each reference of the text as it is, in its order: replaces the reference wherever it stands in the
// text as it has become by then.
void replaceReferences(QString &text, ReferenceText::Form form, const QStringList &names,
                       const s3EnvironmentLookup &lookup)
{
    QHash<QString, std::optional<QString>> values;
    QStringList knownNames;
    for (const QString &name : names) {
        if (values.contains(name))
            continue;
        if (values.insert(name, lookup(name))->has_value())
            knownNames += name;
    }
    if (knownNames.isEmpty())
        return;
    ReferenceText references(text, form, knownNames);
    for (const QString &name : names) {
        const auto value = values.constFind(name);
        if (value->has_value())
            references.replaceAll(name, **value);
    }
    text = references.text();
}

}

void s3ExpandEnvironmentReferences(QString &text, const s3EnvironmentLookup &lookup)
{
    replaceReferences(text, ReferenceText::Form::Percent, percentNames(text), lookup);
    replaceReferences(text, ReferenceText::Form::Brace, braceNames(text), lookup);
}

s3String &s3String::expandEnvironmentStrings()
{
    static constexpr qint32 traceFlag = 276;
    static constexpr qint32 offFlag = 277;
    if (s3TestFlagsInstance()->contains(offFlag))
        return *this;
    s3Trace(traceFlag, [&] { return arg(u"s3String::expandEnvironmentStrings(1) str='%1'"_s, *this); });
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    s3ExpandEnvironmentReferences(*this, [&](const QString &name) -> std::optional<QString> {
        if (!environment.contains(name))
            return std::nullopt;
        return environment.value(name);
    });
    s3Trace(traceFlag, [&] { return arg(u"s3String::expandEnvironmentStrings(2) str='%1'"_s, *this); });
    return *this;
}
