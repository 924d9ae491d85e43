#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

// QCommandLineParser for a program without a console: it expands environment references in the
// arguments, gives its outcome as a value, and shows help in a message box.
class s3CommandLineParser : public QCommandLineParser
{
public:
    // The outcomes of parse().
    enum Result {
        ParseOk = 0, // go on
        ParseError = 1, // the command line cannot be used
        ParseHelp = 2, // help was asked for
    };

    // Knows the options -?, -h, --help and the hidden --help-all.
    s3CommandLineParser();
    virtual ~s3CommandLineParser() = default;
    Q_DISABLE_COPY_MOVE(s3CommandLineParser)

    // Parses a copy of `arguments` (the program's own name in front) in which "%NAME%" and "${NAME}"
    // are resolved from the environment. Gives a Result; `error` holds the parser's message when the
    // command line is not understood and is empty otherwise.
    [[nodiscard]] int parse(const QStringList &arguments, QString &error);

    // Qt's help text without the line about --help-all: the option concerns Qt's own switches, which
    // mean nothing to the user of a tool started by another program.
    [[nodiscard]] virtual QString helpText() const;

    // The help text as a document for a message box, with `error` as its heading unless it is empty.
    // The heading is put in as it stands, not escaped; the help text is escaped.
    [[nodiscard]] QString helpHtml(const QString &error) const;

    // Shows helpHtml(error) modally, as a warning for ParseError and as information for every other
    // `result`, and gives the process's exit code: 1 for ParseError, otherwise 0. Main thread.
    [[nodiscard]] int showResult(int result, const QString &error) const;
};
