#pragma once

#include "s3commandlineparser.h"

// The tool's command line: one positional argument, the path of the zml file, and the help options.
// Further positional arguments are ignored.
class OstrelleCommandLineParser final : public s3CommandLineParser
{
public:
    OstrelleCommandLineParser();
    ~OstrelleCommandLineParser() override = default;

    // Parses `arguments` like s3CommandLineParser::parse and looks whether the named file can be read.
    // `zmlFile` is written with ParseOk only and is the path as the argument gave it after the expansion
    // of environment references. With ParseError, `error` says why, or is empty when no file was named.
    [[nodiscard]] int parse(const QStringList &arguments, QString &zmlFile, QString &error);
};
