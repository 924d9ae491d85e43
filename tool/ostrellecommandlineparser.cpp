#include "ostrellecommandlineparser.h"

#include "s3fileinfo.h"

using namespace Qt::StringLiterals;

OstrelleCommandLineParser::OstrelleCommandLineParser()
{
    addPositionalArgument(u"zmlFile"_s, u"Path to the zml file"_s, QString());
}

int OstrelleCommandLineParser::parse(const QStringList &arguments, QString &zmlFile, QString &error)
{
    const int result = s3CommandLineParser::parse(arguments, error);
    if (result != ParseOk)
        return result;

    const QString path = positionalArguments().value(0);
    if (path.isEmpty())
        return ParseError;
    const s3FileInfo info(path);
    if (!info.isFile()) {
        error = path + u": File does not exist"_s;
        return ParseError;
    }
    if (!info.isReadable()) {
        error = path + u": Can't read file"_s;
        return ParseError;
    }
    zmlFile = path;
    return ParseOk;
}
