#include "dictionarywriter.h"
#include "gettextcatalogue.h"
#include "tabseparatedcontents.h"

#include "s3language.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

bool addTabSeparated(const QString &filePath, DictionaryContents &contents, QString &error)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    return readTabSeparated(file, contents, error);
}

bool addCatalogue(const QString &filePath, const QString &letter, DictionaryContents &contents,
                  QString &error)
{
    const qint32 language = s3LanguageIndex(letter);
    if (language < 0) {
        error = u"There is no language \"%1\"."_s.arg(letter);
        return false;
    }
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    QList<GettextMessage> messages;
    if (!readGettextCatalogue(file.readAll(), messages, error))
        return false;
    addGettextMessages(messages, language, contents);
    return true;
}

// An input is a tab-separated file, or a letter, "=" and a compiled gettext catalogue.
bool addInput(const QString &input, DictionaryContents &contents, QString &error)
{
    const bool isCatalogue = input.size() > 2 && input[1] == u'=';
    return isCatalogue ? addCatalogue(input.mid(2), input.left(1), contents, error)
                       : addTabSeparated(input, contents, error);
}

int fail(const QString &subject, const QString &reason)
{
    std::fprintf(stderr, "%s: %s\n", qUtf8Printable(subject), qUtf8Printable(reason));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Writes a dictionary file."_s);
    parser.addHelpOption();
    const QCommandLineOption columns(
        u"columns"_s, u"Columns of the file, the source column included (32 to 99, default 33)."_s,
        u"count"_s, u"33"_s);
    parser.addOption(columns);
    parser.addPositionalArgument(u"output"_s, u"The dictionary file to write."_s);
    parser.addPositionalArgument(u"input"_s,
                                 u"Tab-separated texts, or LETTER=FILE for a compiled gettext catalogue."_s,
                                 u"input..."_s);
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() < 2)
        parser.showHelp(2);

    DictionaryContents contents;
    contents.columnCount = parser.value(columns).toInt();
    QString error;
    for (const QString &input : arguments.mid(1)) {
        if (!addInput(input, contents, error))
            return fail(input, error);
    }
    if (!writeDictionaryFile(contents, arguments.first(), error))
        return fail(arguments.first(), error);
    return 0;
}
