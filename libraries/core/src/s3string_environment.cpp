#include "s3string.h"

#include "s3string_p.h"
#include "s3testflags.h"
#include "test/s3trace.h"

#include <QHash>
#include <QList>
#include <QProcessEnvironment>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

// Each form is applied by replacing, for one reference after the other in the order of the text as it was
// at first, every occurrence of the reference in the text as it is now. So a value can bring in, or close
// to a whole, a reference whose turn is still to come. Done literally that is a search through the whole
// text for each reference. Nearly always no such thing can happen: then one pass that copies the text
// with the values in gives the same, in linear time. The check before it errs on the safe side.

namespace
{

// The greatest number of neighbouring values that the check puts together before it gives up.
constexpr int longestChain = 64;

struct Reference {
    qsizetype start;
    qsizetype end;
    QString name;
    std::optional<QString> value;

    // As it is written, with its marks.
    [[nodiscard]] QStringView in(const QString &text) const
    {
        return QStringView(text).sliced(start, end - start);
    }
};

using References = QList<Reference>;

// The matches of "(\%([^\%]+)\%)".
References percentReferences(const QString &text)
{
    References result;
    qsizetype open = text.indexOf(u'%');
    while (open >= 0) {
        const qsizetype close = text.indexOf(u'%', open + 1);
        if (close < 0)
            break;
        if (close == open + 1) {
            open = close;
            continue;
        }
        result += Reference{open, close + 1, text.sliced(open + 1, close - open - 1), {}};
        open = text.indexOf(u'%', close + 1);
    }
    return result;
}

// The matches of "(\$\{([^\}]+)\})".
References braceReferences(const QString &text)
{
    static const QString mark = u"${"_s;
    References result;
    qsizetype open = text.indexOf(mark);
    while (open >= 0) {
        const qsizetype nameStart = open + mark.size();
        const qsizetype close = text.indexOf(u'}', nameStart);
        if (close < 0)
            break;
        if (close > nameStart)
            result += Reference{open, close + 1, text.sliced(nameStart, close - nameStart), {}};
        open = text.indexOf(mark, close + 1);
    }
    return result;
}

// Whether no replacement can touch anything but its own references: no value has a percent sign, and no
// text that stands or comes to stand between two other percent signs is the name of a variable.
bool percentReferencesAreIndependent(const QString &text, const References &references)
{
    QSet<QStringView> names;
    qsizetype longestName = 0;
    for (const Reference &reference : references) {
        if (!reference.value.has_value())
            continue;
        if (reference.value->contains(u'%'))
            return false;
        names.insert(reference.name);
        longestName = std::max(longestName, reference.name.size());
    }
    const auto isName = [&](QStringView part) {
        return part.size() <= longestName && names.contains(part);
    };
    // The text behind a reference up to the next one, and before the first one for -1.
    const auto gapBehind = [&](qsizetype index) {
        const qsizetype from = index < 0 ? 0 : references.at(index).end;
        const qsizetype to = index + 1 < references.size() ? references.at(index + 1).start : text.size();
        return QStringView(text).sliced(from, to - from);
    };
    for (qsizetype i = -1; i < references.size(); ++i) {
        // A gap may hold percent signs of its own. What is joined by a replacement is the part behind
        // its last one with the part before the first one of the next gap.
        QStringView part = gapBehind(i);
        bool signBefore = i >= 0;
        for (qsizetype sign = part.indexOf(u'%'); sign >= 0; sign = part.indexOf(u'%')) {
            if (signBefore && isName(part.first(sign)))
                return false;
            signBefore = true;
            part = part.sliced(sign + 1);
        }
        if (!signBefore || i + 1 == references.size())
            continue;
        if (isName(part))
            return false;
        QString joined = part.toString();
        qsizetype next = i + 1;
        for (int chain = 0; joined.size() <= longestName && next < references.size(); ++chain, ++next) {
            if (!references.at(next).value.has_value())
                break;
            if (chain == longestChain)
                return false;
            const QStringView gap = gapBehind(next);
            const qsizetype sign = gap.indexOf(u'%');
            if (sign < 0 && next + 1 == references.size())
                break;
            joined += *references.at(next).value;
            joined += sign < 0 ? gap : gap.first(sign);
            if (isName(joined))
                return false;
            if (sign >= 0)
                break;
        }
    }
    return true;
}

// The same for the other form: no value and no name holds a mark, and no "$" comes to stand before
// a "{" by an empty value between them.
bool braceReferencesAreIndependent(const QString &text, const References &references)
{
    const auto isMark = [](QChar ch) {
        return ch == u'$' || ch == u'{' || ch == u'}';
    };
    for (const Reference &reference : references) {
        if (reference.name.contains("${"_L1))
            return false;
        if (!reference.value.has_value())
            continue;
        if (std::any_of(reference.value->cbegin(), reference.value->cend(), isMark))
            return false;
        if (reference.value->isEmpty() && reference.start > 0 && text.at(reference.start - 1) == u'$')
            return false;
    }
    return true;
}

void replaceInOnePass(QString &text, const References &references)
{
    qsizetype size = text.size();
    for (const Reference &reference : references) {
        if (reference.value.has_value())
            size += reference.value->size() - (reference.end - reference.start);
    }
    QString result;
    result.reserve(size);
    qsizetype copied = 0;
    for (const Reference &reference : references) {
        if (!reference.value.has_value())
            continue;
        result.append(QStringView(text).sliced(copied, reference.start - copied));
        result.append(*reference.value);
        copied = reference.end;
    }
    result.append(QStringView(text).sliced(copied));
    text = std::move(result);
}

void replaceOneAfterTheOther(QString &text, const References &references)
{
    // A reference that was not found is looked for again only when the text has changed since.
    QHash<QString, qsizetype> missedAt;
    qsizetype changes = 0;
    const QString original = text;
    for (const Reference &reference : references) {
        if (!reference.value.has_value())
            continue;
        const QString written = reference.in(original).toString();
        if (missedAt.value(written, -1) == changes)
            continue;
        if (text.contains(written)) {
            text.replace(written, *reference.value);
            ++changes;
        } else {
            missedAt.insert(written, changes);
        }
    }
}

void replaceReferences(QString &text, References references, const s3EnvironmentLookup &lookup,
                       bool (*areIndependent)(const QString &, const References &))
{
    QHash<QString, std::optional<QString>> values;
    bool anyKnown = false;
    for (Reference &reference : references) {
        auto value = values.constFind(reference.name);
        if (value == values.cend())
            value = values.insert(reference.name, lookup(reference.name));
        reference.value = *value;
        anyKnown = anyKnown || reference.value.has_value();
    }
    if (!anyKnown)
        return;
    if (areIndependent(text, references))
        replaceInOnePass(text, references);
    else
        replaceOneAfterTheOther(text, references);
}

}

void s3ExpandEnvironmentReferences(QString &text, const s3EnvironmentLookup &lookup)
{
    replaceReferences(text, percentReferences(text), lookup, percentReferencesAreIndependent);
    replaceReferences(text, braceReferences(text), lookup, braceReferencesAreIndependent);
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
