#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <memory>
#include <optional>

// What the whole-program suites need of the platform: how a mail client is put in place, and how the
// tool's boxes are seen and answered.
namespace toolplatform
{

// A box of the tool as its user sees it.
struct SeenBox {
    QString title; // empty where the platform shows none
    QString text; // as plain text
};

// Puts the recording provider with the entries `choice` ("both", "wide", "narrow", "neither", or "none"
// for a system without Simple MAPI) in the place where the tool finds a mail client, for a tool that
// is started from `toolDirectory` with `environment`. `providers` is the folder of the built ones. An empty
// `choice` leaves everything as the suite has arranged it.
void installProvider(const QString &choice, const QString &providers, const QString &toolDirectory,
                     QProcessEnvironment &environment);

// Looks at the running tool, or at what it left on standard error when it has ended, for boxes that
// were not seen before; a box on the screen is answered with its default button.
class BoxWatcher
{
public:
    virtual ~BoxWatcher() = default;
    virtual std::optional<SeenBox> nextBox(const QProcess &tool, const QByteArray &standardError) = 0;
};
std::unique_ptr<BoxWatcher> makeBoxWatcher();

// How a text file's line ends on this platform.
QByteArray lineEnd();

// The exit code -1 as a process's parent sees it.
int exitCodeOfMinusOne();

}
