#include "mailparameters.h"
#include "ostrellecommandlineparser.h"
#include "platform/display.h"
#include "protocol/messagelog.h"
#include "s3basicbox.h"
#include "s3fileinfo.h"
#include "sendmail.h"

#include <QApplication>

using namespace Qt::StringLiterals;

// One run: command line, zml file, log, hand-over, exit code. There is no event loop; the application
// object is there so that message boxes can be shown.
int main(int argc, char **argv)
{
    platform::prepareDisplay();
    const QApplication application(argc, argv);
    OstrelleCommandLineParser parser;
    QString zmlFile;
    QString error;
    const int parsed = parser.parse(QCoreApplication::arguments(), zmlFile, error);
    if (parsed != s3CommandLineParser::ParseOk)
        return parser.showResult(parsed, error);

    const MailParameters parameters(zmlFile);
    // The log comes after the reading: its place and its switch both come out of the file.
    initLogFile(s3FileInfo(parameters.fileName()).path(), u"ostrelle.log"_s, true);
    setLogCategory("gui.ostrelle");
    setDebugEnabled(parameters.debug());
    logDebug() << u"Reading parameter from file %1"_s.arg(parameters.fileName());

    const int exitCode = sendMail(parameters, error);
    if (!error.isEmpty())
        s3BasicBox::critical(error);
    return exitCode;
}
