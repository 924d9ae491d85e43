#include "referencetext_p.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr QStringView braceOpening = u"${";

}

ReferenceText::ReferenceText(const QString &text, Form form, const QStringList &names)
    : m_form(form), m_mark(form == Form::Percent ? u'%' : u'}')
{
    m_hits.reserve(names.size());
    for (const QString &name : names) {
        m_hits.insert(name, {});
        m_longestName = std::max(m_longestName, name.size());
    }
    const qsizetype parts = text.count(m_mark) + 1;
    m_parts.reserve(parts);
    m_pieces.reserve(2 * parts); // A piece for each part and for a value in it.
    Index last = none;
    for (const QStringView part : QStringView(text).tokenize(m_mark)) {
        last = insertPart(last, none);
        append(last, part);
    }
    m_first = 0;
    for (Index part = m_first; part != none; part = m_parts.at(part).next)
        noteHits(part);
}

void ReferenceText::replaceAll(const QString &name, const QString &value)
{
    const auto noted = m_hits.find(name);
    if (noted == m_hits.end() || noted->isEmpty())
        return;
    for (const Index hit : takeHits(*noted))
        replaceHit(hit, name.size(), value);
}

QString ReferenceText::text() const
{
    qsizetype length = -1;
    for (Index part = m_first; part != none; part = m_parts.at(part).next)
        length += m_parts.at(part).length + 1;
    QString result;
    result.reserve(length);
    for (Index part = m_first; part != none; part = m_parts.at(part).next) {
        if (part != m_first)
            result += m_mark;
        for (Index piece = m_parts.at(part).firstPiece; piece != none; piece = m_pieces.at(piece).next)
            result += m_pieces.at(piece).text;
    }
    return result;
}

// The parts that a search from the left through the text as it is now would hit.
QList<ReferenceText::Index> ReferenceText::takeHits(QList<Hit> &noted)
{
    ++m_replacements;
    QList<Index> hits;
    for (const Hit &hit : std::exchange(noted, {})) {
        if (m_parts.at(hit.part).version == hit.version) {
            m_parts[hit.part].hitOf = m_replacements;
            hits += hit.part;
        }
    }
    if (m_form == Form::Brace)
        return hits;
    // Neighbours share a mark, so only every second one of a row of hits counts.
    const auto isHit = [this](Index part) {
        return part != none && m_parts.at(part).hitOf == m_replacements;
    };
    QList<Index> counting;
    for (const Index start : std::as_const(hits)) {
        if (isHit(m_parts.at(start).previous))
            continue;
        bool counts = true;
        for (Index hit = start; isHit(hit); hit = m_parts.at(hit).next, counts = !counts) {
            if (counts)
                counting += hit;
        }
    }
    return counting;
}

void ReferenceText::replaceHit(Index hit, qsizetype nameLength, QStringView value)
{
    const Index right = m_parts.at(hit).next;
    Index left = hit;
    if (m_form == Form::Percent) {
        left = m_parts.at(hit).previous;
        removePart(hit);
    } else {
        dropTail(hit, nameLength + braceOpening.size());
    }
    // The marks of the reference are gone: what is left of it, the value and what is right of it are one
    // text now, in which the value may have marks of its own. The right part stays the one that ends in
    // the next mark, as that one may belong to a hit that has its turn yet.
    Index last = left;
    qsizetype from = 0;
    for (qsizetype mark = value.indexOf(m_mark); mark >= 0; mark = value.indexOf(m_mark, from)) {
        append(last, value.sliced(from, mark - from));
        noteChange(last);
        last = insertPart(last, right);
        from = mark + 1;
    }
    append(last, value.sliced(from));
    mergeIntoNext(last);
    noteChange(right);
}

ReferenceText::Index ReferenceText::insertPart(Index previous, Index next)
{
    const Index part = m_parts.size();
    m_parts += Part{.previous = previous, .next = next};
    if (previous != none)
        m_parts[previous].next = part;
    if (next != none)
        m_parts[next].previous = part;
    return part;
}

void ReferenceText::removePart(Index part)
{
    Part &removed = m_parts[part];
    ++removed.version;
    if (removed.previous != none)
        m_parts[removed.previous].next = removed.next;
    else
        m_first = removed.next;
    if (removed.next != none)
        m_parts[removed.next].previous = removed.previous;
}

void ReferenceText::append(Index part, QStringView text)
{
    if (text.isEmpty())
        return;
    Part &target = m_parts[part];
    const Index piece = m_pieces.size();
    m_pieces += Piece{.text = text, .previous = target.lastPiece};
    if (target.lastPiece != none)
        m_pieces[target.lastPiece].next = piece;
    else
        target.firstPiece = piece;
    target.lastPiece = piece;
    target.length += text.size();
}

// Puts the text of `part` before the text of the next one and removes the part.
void ReferenceText::mergeIntoNext(Index part)
{
    const Part &source = m_parts.at(part);
    Part &target = m_parts[source.next];
    if (source.lastPiece != none) {
        if (target.firstPiece != none) {
            m_pieces[source.lastPiece].next = target.firstPiece;
            m_pieces[target.firstPiece].previous = source.lastPiece;
        } else {
            target.lastPiece = source.lastPiece;
        }
        target.firstPiece = source.firstPiece;
        target.length += source.length;
    }
    removePart(part);
}

void ReferenceText::dropTail(Index part, qsizetype length)
{
    Part &target = m_parts[part];
    target.length -= length;
    while (length > 0) {
        Piece &last = m_pieces[target.lastPiece];
        if (last.text.size() > length) {
            last.text.chop(length);
            return;
        }
        length -= last.text.size();
        target.lastPiece = last.previous;
        if (target.lastPiece != none)
            m_pieces[target.lastPiece].next = none;
        else
            target.firstPiece = none;
    }
}

QString ReferenceText::tail(Index part, qsizetype length) const
{
    QString result(length, Qt::Uninitialized);
    QChar *begin = result.data() + length;
    for (Index piece = m_parts.at(part).lastPiece; length > 0; piece = m_pieces.at(piece).previous) {
        const QStringView text
            = m_pieces.at(piece).text.last(std::min(length, m_pieces.at(piece).text.size()));
        length -= text.size();
        begin -= text.size();
        std::copy(text.cbegin(), text.cend(), begin);
    }
    return result;
}

void ReferenceText::noteChange(Index part)
{
    ++m_parts[part].version;
    noteHits(part);
}

void ReferenceText::noteHits(Index index)
{
    const Part &part = m_parts.at(index);
    if (part.next == none)
        return;
    if (m_form == Form::Percent) {
        if (part.previous != none && part.length <= m_longestName)
            noteHit(tail(index, part.length), index);
        return;
    }
    const QString end = tail(index, std::min(part.length, m_longestName + braceOpening.size()));
    for (qsizetype open = end.indexOf(braceOpening); open >= 0; open = end.indexOf(braceOpening, open + 1))
        noteHit(QStringView(end).sliced(open + braceOpening.size()), index);
}

void ReferenceText::noteHit(QStringView name, Index part)
{
    const auto noted = m_hits.find(name.toString());
    if (noted != m_hits.end())
        *noted += Hit{part, m_parts.at(part).version};
}
