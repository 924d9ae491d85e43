#include "s3string.h"

#include <QProcessEnvironment>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

s3String &s3String::expandEnvironmentStrings()
{
    static const QRegularExpression percentForm(u"(\\%([^\\%]+)\\%)"_s);
    static const QRegularExpression braceForm(u"(\\$\\{([^\\}]+)\\})"_s);
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QRegularExpression *form : {&percentForm, &braceForm}) {
        QRegularExpressionMatchIterator matches = form->globalMatch(*this);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            if (environment.contains(match.captured(2)))
                replace(match.captured(1), environment.value(match.captured(2)));
        }
    }
    return *this;
}
