#include "s3string.h"

#include "s3string_p.h"
#include "s3translate.h"

using namespace Qt::StringLiterals;

int s3ExpandMessageReferences(QString &text, const std::function<QString(int)> &replacement)
{
    static const QString opening = u"Xmsg("_s;
    // Nothing before the place of the search is looked at again, so the result is put together beside
    // the text; `copied` is where the part that is not yet in it begins.
    const QStringView view(text);
    QString result;
    qsizetype copied = 0;
    int count = 0;
    qsizetype pos = 0;
    // The next quote mark with a parenthesis behind it, as far as it is known: a place of its own or one
    // behind the text.
    qsizetype quotedEnd = -1;
    while (true) {
        pos = text.indexOf(opening, pos);
        if (pos < 0)
            break;
        qsizetype end = text.indexOf(u')', pos);
        if (end < 0)
            continue; // For ever: the precondition in the header.
        qsizetype numberEnd = view.first(end).indexOf(u',', pos);
        if (numberEnd < 0) {
            numberEnd = end;
        } else if (view.first(end).indexOf(u'"', numberEnd) >= 0) {
            if (quotedEnd < numberEnd) {
                quotedEnd = view.indexOf("\")"_L1, numberEnd);
                if (quotedEnd < 0)
                    quotedEnd = view.size();
            }
            if (quotedEnd < view.size())
                end = quotedEnd + 1;
        }
        const qsizetype numberStart = pos + opening.size();
        const int number = view.sliced(numberStart, numberEnd - numberStart).toInt();
        if (number != 0) {
            result += view.sliced(copied, pos - copied);
            result += replacement(number);
            copied = end + 1;
            end = copied;
            ++count;
        }
        pos = end;
    }
    if (count > 0) {
        result += view.sliced(copied);
        text = std::move(result);
    }
    return count;
}

int s3String::expandMessageReferences(bool withText)
{
    return s3ExpandMessageReferences(*this, [withText](int number) {
        return withText ? s3Message(number) : s3String(s3MessageKey(number)).inParentheses();
    });
}
