#include "mailparameters.h"

#include "s3dir.h"
#include "s3file.h"
#include "s3fileinfo.h"
#include "textencoding.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

QString bodyFileErrorText(QFileDevice::FileError error, const QString &path)
{
    switch (error) {
    case QFileDevice::ReadError:
        return u"Couldn't read body file "_s + path;
    case QFileDevice::OpenError:
        return u"Couldn't find body file "_s + path;
    case QFileDevice::PermissionsError:
        return u"Couldn't access body file "_s + path;
    default:
        // Any other failure counts as a body without a file.
        return {};
    }
}

void appendLine(QString &body, const QString &separator, QStringView line)
{
    if (!body.isEmpty())
        body += separator;
    body += line;
}

}

MailParameters::MailParameters(const QString &path) : ParameterFile(path, u"ZERKMAIL"_s) { }

bool MailParameters::flag(const QString &key) const
{
    static const QStringList on = {u"1"_s, u"j"_s, u"y"_s};
    return on.contains(value(key, QString()), Qt::CaseInsensitive);
}

QStringList MailParameters::numberedValues(const QString &prefix) const
{
    QStringList values;
    for (int number = 1;; ++number) {
        const QString text = value(prefix + QString::number(number), QString());
        if (text.isEmpty())
            return values;
        values += text;
    }
}

QStringList MailParameters::addresses(const QString &prefix) const
{
    QStringList values = numberedValues(prefix);
    values.removeDuplicates();
    return values;
}

bool MailParameters::send() const
{
    return flag(u"SEND"_s);
}

bool MailParameters::debug() const
{
    return flag(u"DEBUG"_s);
}

bool MailParameters::htmlBody() const
{
    return flag(u"HTMLBODY"_s);
}

bool MailParameters::readReceipt() const
{
    return flag(u"READRECEIPT"_s);
}

bool MailParameters::useSignature() const
{
    return flag(u"USESIGNATURE"_s);
}

bool MailParameters::deliveryReceipt() const
{
    return flag(u"DELIVERYRECEIPT"_s);
}

int MailParameters::priority() const
{
    return std::clamp(intValue(u"PRIORITY"_s, 3), 1, 5);
}

QString MailParameters::subject() const
{
    return value(u"SUBJECT"_s, u"(no subject)"_s);
}

QString MailParameters::newLine() const
{
    return value(u"NEWLINE"_s, u";"_s);
}

QString MailParameters::fromAddress() const
{
    const QString address = value(u"FROMADDRESS"_s, QString());
    return !address.isEmpty() ? address : value(u"FROMADRESS"_s, QString());
}

QStringList MailParameters::to() const
{
    return addresses(u"TO"_s);
}

QStringList MailParameters::cc() const
{
    return addresses(u"CC"_s);
}

QStringList MailParameters::bcc() const
{
    return addresses(u"BCC"_s);
}

QStringList MailParameters::replyTo() const
{
    QStringList values = numberedValues(u"REPLY-TO"_s) + numberedValues(u"REPLYTO"_s);
    values.removeDuplicates();
    return values;
}

QStringList MailParameters::attachments() const
{
    const QDir zmlDirectory = s3FileInfo(fileName()).dir();
    QStringList paths;
    for (QString path : numberedValues(u"ATTACHMENT"_s)) {
        if (s3FileInfo(path).isRelative())
            path = zmlDirectory.absoluteFilePath(path);
        if (s3FileInfo::exists(path))
            paths += path;
    }
    paths.removeDuplicates();
    return paths;
}

QString MailParameters::bodyFile() const
{
    QString path = value(u"BODYFILE"_s, QString());
    if (path.isEmpty() || !s3FileInfo(path).isRelative())
        return path;
    return s3Dir(s3FileInfo(fileName()).path()).absoluteFilePath(path);
}

QString MailParameters::body(QString &error) const
{
    const QString separator = htmlBody() ? u"<BR>"_s : u"\n"_s;
    QString body = value(u"BODY"_s, QString());
    const QString token = newLine();
    if (!token.isEmpty())
        body.replace(token, separator);

    const QStringList lines = numberedValues(u"BODYZ"_s);
    if (!lines.isEmpty())
        appendLine(body, separator, lines.join(separator));

    const QString path = bodyFile();
    if (path.isEmpty())
        return body;
    s3File file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = bodyFileErrorText(file.error(), path);
        return body;
    }
    // A byte gives at most one character of text, and the line ends become separators: enough room for
    // any encoding but that of "<BR>" lines, without growing step by step.
    body.reserve(body.size() + qsizetype(file.size()) + separator.size());
    TextLineReader reader(file);
    QStringView line;
    while (reader.next(line))
        appendLine(body, separator, line);
    return body;
}
