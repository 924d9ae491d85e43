#include "s3commandlineparser.h"

#include "s3basicbox.h"
#include "s3string.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

s3CommandLineParser::s3CommandLineParser()
{
    const QCommandLineOption help = addHelpOption();
    // Qt gives the option its name "?" on Windows alone; here it is help everywhere.
    if (!help.names().contains(u"?"_s))
        addOption(QCommandLineOption(u"?"_s, help.description()));
}

int s3CommandLineParser::parse(const QStringList &arguments, QString &error)
{
    error.clear();
    QStringList expanded;
    expanded.reserve(arguments.size());
    for (const QString &argument : arguments)
        expanded += s3String(argument).expandEnvironmentStrings();
    if (!QCommandLineParser::parse(expanded)) {
        error = errorText();
        return ParseError;
    }
    return isSet(u"help"_s) || isSet(u"?"_s) ? ParseHelp : ParseOk;
}

QString s3CommandLineParser::helpText() const
{
    // The second wording is that of Qt 6.8.
    static const QRegularExpression helpAllLine(
        u" *--help-all  *Displays help(?: including Qt specific options|, including generic Qt options)\\.\n"_s);
    return QCommandLineParser::helpText().remove(helpAllLine);
}

QString s3CommandLineParser::helpHtml(const QString &error) const
{
    // The head element stays open: the rich text engine closes it, and the text is compared as it is.
    QString html = u"<html><head><body>"_s;
    if (!error.isEmpty())
        html += "<h2>"_L1 + error + "</h2>"_L1;
    html += "<pre>"_L1 + helpText().toHtmlEscaped() + "</pre>"_L1;
    return html + "</body></html>"_L1;
}

int s3CommandLineParser::showResult(int result, const QString &error) const
{
    const QString html = helpHtml(error);
    if (result == ParseError) {
        s3BasicBox::warning(html);
        return 1;
    }
    s3BasicBox::information(html);
    return 0;
}
