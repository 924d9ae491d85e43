#pragma once

#include <QHash>
#include <QList>
#include <QString>

// A text in which references to variables are replaced, one name everywhere after the other, without a
// search through the text for each of them. For s3String only.
//
// The text is kept in parts between the marks that close a reference; the parts hold views of the text
// and of the values, so both must outlive the object. Where a known name stands in the text, or comes to
// stand by what a replacement joins, is noted at once. A replacement thus costs as much as a name is long,
// whatever the length of the text.
class ReferenceText
{
public:
    enum class Form {
        Percent, // %NAME%: a mark may close one reference or open the next one
        Brace, // ${NAME}
    };

    // `names` are all that replaceAll will be called with; none is empty or holds the closing mark.
    ReferenceText(const QString &text, Form form, const QStringList &names);

    // As QString::replace of the reference to `name` by `value`, so of hits that share a mark the first
    // one counts, and what a value brings in stays as it is.
    void replaceAll(const QString &name, const QString &value);

    [[nodiscard]] QString text() const;

private:
    using Index = qsizetype;
    static constexpr Index none = -1;

    struct Piece {
        QStringView text;
        Index previous = none;
        Index next = none;
    };

    struct Part {
        Index previous = none;
        Index next = none;
        Index firstPiece = none;
        Index lastPiece = none;
        qsizetype length = 0;
        // Counts the changes of the text, so that what was noted before can be told to be out of date.
        qsizetype version = 0;
        // The number of the last replacement that this part is a hit of.
        qsizetype hitOf = 0;
    };

    // A part that ends a reference, as long as its text is of that version.
    struct Hit {
        Index part;
        qsizetype version;
    };

    [[nodiscard]] QList<Index> takeHits(QList<Hit> &noted);
    void replaceHit(Index hit, qsizetype nameLength, QStringView value);
    Index insertPart(Index previous, Index next);
    void removePart(Index part);
    void append(Index part, QStringView text);
    void mergeIntoNext(Index part);
    void dropTail(Index part, qsizetype length);
    [[nodiscard]] QString tail(Index part, qsizetype length) const;
    void noteChange(Index part);
    void noteHits(Index part);
    void noteHit(QStringView name, Index part);

    Form m_form;
    QChar m_mark;
    Index m_first = none;
    QList<Part> m_parts;
    QList<Piece> m_pieces;
    QHash<QString, QList<Hit>> m_hits;
    qsizetype m_longestName = 0;
    qsizetype m_replacements = 0;
};
