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
#include <optional>

#include <unistd.h>

namespace mapi
{

namespace
{

constexpr const char *mailType = "message/rfc822";
constexpr const char *mailScheme = "mailto";

// The kernel's limit for one argument with its end: 32 pages of 4 KiB, whatever the page size is today.
constexpr std::size_t longestArgument = 131072 - 1;

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

bool fits(const Arguments &arguments)
{
    return std::all_of(arguments.begin(), arguments.end(),
                       [](const Argument &argument) { return argument.text.size() <= longestArgument; });
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
    std::optional<DesktopApp> chosenApp() const
    {
        if (m_settings.client.empty())
            return defaultAppForScheme(mailScheme);
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
            if (m_mail.attachments.empty() && linkFits())
                byLink(app);
            else
                byDraft({}, m_mail.attachments.empty() ? MAPI_E_TEXT_TOO_LARGE : MAPI_E_NOT_SUPPORTED);
            return;
        }
        logLine("client: " + std::string(command->client->name) + ", " + quotedList(command->words));
        byTable(*command);
    }

    void byTable(const ClientCommand &command)
    {
        const MailClient &client = *command.client;
        const bool needsDraft = (!m_mail.attachments.empty() && !client.attachments)
            || (client.needsDraft != nullptr && client.needsDraft(m_mail));
        if (!needsDraft) {
            const Arguments own = client.arguments(m_mail, clientFiles(command));
            if (fits(own)) {
                startWith(command, own);
                return;
            }
            logLine("the text is too long for an argument");
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
        if (!linkFits())
            throw Failure(MAPI_E_TEXT_TOO_LARGE, "the text is too long for a mailto: link");
        logLine("route: mailto");
        open(app, mailtoLink(m_mail), {});
    }

    [[nodiscard]] bool linkFits() const { return fits({mailtoLink(m_mail)}); }

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
            if (!fits(own))
                throw Failure(MAPI_E_TEXT_TOO_LARGE,
                              "the text is too long for " + std::string(known->client->name));
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
        if (app.busActivatable && openOverBus(app, uri.text, !line)) {
            keepFiles();
            return;
        }
        if (!line)
            throw Failure(MAPI_E_NOT_SUPPORTED, app.id + " has no command that takes this mail");
        start(*line);
        keepFiles();
    }

    // False when nobody on the bus could be asked, unless that was the only way.
    bool openOverBus(const DesktopApp &app, const std::string &uri, bool onlyWay)
    {
        try {
            openByBus(bus(), app.id, uri);
            logLine("the client has taken it over by the bus");
            return true;
        } catch (const Failure &failure) {
            logLine(failure.what());
            if (onlyWay || failure.code() != MAPI_E_NOT_SUPPORTED)
                throw;
            return false;
        }
    }

    std::vector<std::string> stagedFiles()
    {
        std::vector<std::string> files;
        for (const Attachment &attachment : m_mail.attachments)
            files.push_back(staged().addFile(attachment));
        return files;
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

    StagedMail &staged()
    {
        if (!m_staged)
            m_staged.emplace(m_settings.staging.empty() ? defaultStagingDirectory() : m_settings.staging);
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
    std::optional<SessionBus> m_bus;
};

}

bool composeInMailClient(const Mail &mail, const Settings &settings)
{
    return Composition(mail, settings).run();
}

}
