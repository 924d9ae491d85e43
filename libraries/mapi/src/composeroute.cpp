#include "composeroute.h"

#include "childprocess.h"
#include "compose/busclients.h"
#include "compose/desktopapp.h"
#include "compose/mailto.h"
#include "compose/portal.h"
#include "compose/sandbox.h"
#include "compose/staging.h"
#include "environment.h"
#include "mapilog.h"
#include "text.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstring>
#include <optional>

#include <unistd.h>

namespace mapi
{

namespace
{

constexpr const char *mailType = "message/rfc822";
constexpr const char *mailScheme = "mailto";

// The kernel's limit for all arguments and the environment, where the stack allows so much, and what is left
// for a script or a sandbox that starts the client in its turn.
constexpr std::size_t mostForCommand = std::size_t(6) * 1024 * 1024;
constexpr std::size_t leftForWrapper = 65536;

constexpr std::chrono::seconds defaultWatchTime(2);
constexpr long longestWatchTime = 600;

bool hasDisplay()
{
    return !environmentVariable("DISPLAY").value_or(std::string()).empty()
        || !environmentVariable("WAYLAND_DISPLAY").value_or(std::string()).empty();
}

// How long a client that was started is watched for a failure.
std::chrono::seconds watchTime()
{
    const std::string text = environmentVariable("OSTRELLE_CLIENT_WATCH_TIME").value_or(std::string());
    long seconds = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, seconds);
    const bool valid
        = parsed.ec == std::errc() && parsed.ptr == end && seconds >= 0 && seconds <= longestWatchTime;
    return valid ? std::chrono::seconds(seconds) : defaultWatchTime;
}

std::size_t sizeInCommand(std::size_t length)
{
    return length + 1 + sizeof(char *);
}

// Whether a command can be started with these arguments, none of which is longer than `longest`.
bool fits(const Arguments &arguments, std::size_t longest)
{
    std::size_t size = leftForWrapper;
    for (char **variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        size += sizeInCommand(std::strlen(*variable));
    for (const Argument &argument : arguments) {
        if (argument.text.size() > longest)
            return false;
        size += sizeInCommand(argument.text.size());
    }
    const long limit = ::sysconf(_SC_ARG_MAX);
    return size <= (limit > 0 ? std::min(static_cast<std::size_t>(limit), mostForCommand) : mostForCommand);
}

void start(const Arguments &arguments)
{
    std::vector<std::string> words;
    std::vector<std::string> shown;
    for (const Argument &argument : arguments) {
        words.push_back(argument.text);
        shown.push_back(argument.shown);
    }
    logLine("start: " + quotedList(shown));
    const std::optional<std::string> program = findCommand(words.front());
    if (!program)
        throw Failure(MAPI_E_FAILURE, "there is no command " + words.front());
    words.front() = *program;

    const std::optional<ChildResult> result = startDetached(words, watchTime());
    if (!result) {
        logLine("the client is running");
        return;
    }
    switch (result->end) {
    case ChildResult::End::Exited:
        if (result->status != 0)
            throw Failure(MAPI_E_FAILURE, *program + " ended with " + std::to_string(result->status));
        logLine("the client has taken it over");
        return;
    case ChildResult::End::Signalled:
        throw Failure(MAPI_E_FAILURE, *program + " died of signal " + std::to_string(result->status));
    case ChildResult::End::TimedOut:
    case ChildResult::End::Unknown:
        break;
    }
    throw Failure(MAPI_E_FAILURE, *program + ": its end cannot be known");
}

// One mail on its way to a client.
class Composition
{
public:
    Composition(const Mail &mail, const Settings &settings) : m_mail(mail), m_settings(settings) { }

    bool run()
    {
        removeStaleFiles();
        if (m_settings.route == Settings::Route::Outbox) {
            logLine("no client: the settings say so");
            return false;
        }
        if (!hasDisplay()) {
            logLine("no client: there is no display");
            return false;
        }
        if (m_settings.route == Settings::Route::Portal
            || (m_settings.route == Settings::Route::Automatic && ownSandbox() != Sandbox::None)) {
            logLine(m_settings.route == Settings::Route::Portal ? "portal: the settings say so"
                                                                : "portal: this is a sandbox");
            byPortal();
            return true;
        }
        const std::optional<DesktopApp> app = chosenApp();
        if (!app) {
            logLine("no client: nothing opens mailto: links");
            return false;
        }
        switch (m_settings.route) {
        case Settings::Route::Mailto:
            byLink(*app);
            break;
        case Settings::Route::Draft:
            byDraft(*app, MAPI_E_NOT_SUPPORTED);
            break;
        default:
            byItsOwnWay(*app);
            break;
        }
        return true;
    }

private:
    // Those of earlier mails, also when this one needs none.
    void removeStaleFiles() const
    {
        try {
            StagedMail::removeStale(stagingDirectory());
        } catch (const Failure &) {
            // Without a home directory there are none.
        }
    }

    std::optional<DesktopApp> chosenApp() const
    {
        if (m_settings.client.empty())
            return defaultAppForScheme(mailScheme);
        logLine("client of the settings: " + m_settings.client);
        const MailClient *row = clientByName(m_settings.client);
        std::optional<DesktopApp> app = row != nullptr ? installedApp(*row) : appByEntry(m_settings.client);
        if (!app)
            throw Failure(MAPI_E_FAILURE,
                          "the client of the settings is not installed: " + m_settings.client);
        return app;
    }

    void byPortal()
    {
        const SessionBus bus;
        // What cannot go is found before anything is copied.
        static_cast<void>(portalMail(m_mail, portalVersion(bus)));
        composeByPortal(bus, m_mail, stagedFiles());
        keepFiles();
    }

    void byItsOwnWay(const DesktopApp &app)
    {
        const std::optional<ClientCommand> command = recogniseClient(app);
        if (!command) {
            logLine("client: " + app.id + ", not in the table");
            // An unknown client may drop what is no part of the standard for links, and nobody would know.
            if (m_mail.attachments.empty() && linkFits(app))
                byLink(app);
            else
                byDraft({}, m_mail.attachments.empty() ? MAPI_E_TEXT_TOO_LARGE : MAPI_E_NOT_SUPPORTED);
            return;
        }
        logLine("client: " + std::string(command->client->name) + " of " + (app.id.empty() ? "PATH" : app.id)
                + ", " + quotedList(command->words));
        byTable(*command);
    }

    void byTable(const ClientCommand &command)
    {
        const MailClient &client = *command.client;
        const bool hasFiles = !m_mail.attachments.empty() && !client.attachments;
        const bool needsDraft = client.needsDraft != nullptr && client.needsDraft(m_mail);
        if (hasFiles || needsDraft) {
            logLine(std::string("a draft is needed for ")
                        .append(hasFiles ? "the attachments" : "all of the mail"));
        } else {
            const Arguments own = client.arguments(m_mail, clientFiles(command));
            if (fits(own, client.longestArgument)) {
                logLine("route: command line");
                startWith(command, own);
                return;
            }
            logLine("the mail is too long for the command line of " + std::string(client.name));
        }
        if (client.drafts)
            draftTo(command);
        else
            byDraft({}, MAPI_E_TEXT_TOO_LARGE);
    }

    // A mailto: link to any client. With attachments only by a client of the table.
    void byLink(const DesktopApp &app)
    {
        if (!m_mail.attachments.empty())
            throw Failure(MAPI_E_NOT_SUPPORTED, "a mailto: link carries no attachments");
        if (!linkFits(app))
            throw Failure(MAPI_E_TEXT_TOO_LARGE, "the text is too long for a mailto: link");
        logLine("route: mailto, by " + app.id);
        open(app, mailtoLink(m_mail), {});
    }

    [[nodiscard]] bool linkFits(const DesktopApp &app) const
    {
        const std::optional<ClientCommand> known = recogniseClient(app);
        return fits({mailtoLink(m_mail)}, known ? known->client->longestArgument : longestKernelArgument);
    }

    // A draft file to `preferred` if it opens drafts, otherwise to the application for mail files. If that
    // is a client with a way of its own that carries the mail, its window is filled instead. `none` is the
    // result where there is no such application.
    void byDraft(const std::optional<DesktopApp> &preferred, ULONG none)
    {
        const std::optional<ClientCommand> first = preferred ? recogniseClient(*preferred) : std::nullopt;
        if (first && first->client->drafts) {
            draftTo(*first);
            return;
        }
        const std::optional<DesktopApp> app = defaultAppForType(mailType);
        if (!app)
            throw Failure(none, "no client is known that takes this mail, and nothing opens mail files");
        const std::optional<ClientCommand> known = recogniseClient(*app);
        if (known && known->client->drafts) {
            draftTo(*known);
            return;
        }
        if (known) {
            const Arguments own = known->client->arguments(m_mail, clientFiles(*known));
            if (!fits(own, known->client->longestArgument))
                throw Failure(MAPI_E_TEXT_TOO_LARGE,
                              "the mail is too long for " + std::string(known->client->name));
            logLine("route: command line of " + std::string(known->client->name)
                    + ", which opens mail files");
            startWith(*known, own);
            return;
        }
        logLine("route: draft, by " + app->id);
        const std::string draft = staged().addDraft(m_mail);
        open(*app, fileUri(draft), draft);
    }

    void draftTo(const ClientCommand &command)
    {
        logLine("route: draft, by " + std::string(command.client->name));
        startWith(command, {readableBy(command, {staged().addDraft(m_mail)}).front()});
    }

    void startWith(const ClientCommand &command, const Arguments &own)
    {
        Arguments line(command.words.begin(), command.words.end());
        line.insert(line.end(), own.begin(), own.end());
        start(line);
        keepFiles();
    }

    // A link or a file to an application that is not in the table.
    void open(const DesktopApp &app, const Argument &uri, const std::string &path)
    {
        const std::optional<Arguments> line = commandFor(app, uri, path);
        if (app.busActivatable && openOverBus(app, uri, path, !line)) {
            keepFiles();
            return;
        }
        if (!line)
            throw Failure(MAPI_E_NOT_SUPPORTED, app.id + " has no command that takes this mail");
        start(*line);
        keepFiles();
    }

    // False when nobody on the bus could be asked, unless that was the only way.
    bool openOverBus(const DesktopApp &app, const Argument &uri, const std::string &path, bool onlyWay)
    {
        logLine("open by the bus: " + app.id + " " + quotedList({uri.shown}));
        try {
            // Its command would hand a file over through the same portal.
            const bool exported = !path.empty() && !app.flatpak.empty();
            openByBus(bus(), app.id,
                      exported ? fileUri(exportDocuments(bus(), app.flatpak, {path}).front()) : uri.text);
            logLine("the client has taken it over by the bus");
            return true;
        } catch (const Failure &failure) {
            logLine(failure.what());
            if (onlyWay || failure.code() != MAPI_E_NOT_SUPPORTED)
                throw;
            return false;
        }
    }

    const std::vector<std::string> &stagedFiles()
    {
        while (m_files.size() < m_mail.attachments.size())
            m_files.push_back(staged().addFile(m_mail.attachments[m_files.size()]));
        return m_files;
    }

    std::vector<std::string> clientFiles(const ClientCommand &command)
    {
        return readableBy(command, stagedFiles());
    }

    std::vector<std::string> readableBy(const ClientCommand &command, const std::vector<std::string> &files)
    {
        if (command.flatpak.empty() || files.empty())
            return files;
        return exportDocuments(bus(), command.flatpak, files);
    }

    [[nodiscard]] std::string stagingDirectory() const
    {
        return m_settings.staging.empty() ? defaultStagingDirectory() : m_settings.staging;
    }

    StagedMail &staged()
    {
        if (!m_staged)
            m_staged.emplace(stagingDirectory());
        return *m_staged;
    }

    void keepFiles()
    {
        if (m_staged)
            m_staged->keep();
    }

    const SessionBus &bus()
    {
        if (!m_bus)
            m_bus.emplace();
        return *m_bus;
    }

    const Mail &m_mail;
    const Settings &m_settings;
    std::optional<StagedMail> m_staged;
    std::vector<std::string> m_files;
    std::optional<SessionBus> m_bus;
};

}

bool composeInMailClient(const Mail &mail, const Settings &settings)
{
    return Composition(mail, settings).run();
}

}
