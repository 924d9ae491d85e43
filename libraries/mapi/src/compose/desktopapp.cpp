#include "compose/desktopapp.h"

#include "environment.h"
#include "gmime.h"

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <memory>

namespace mapi
{

namespace
{

std::string textOf(const char *text)
{
    return text != nullptr ? text : "";
}

std::optional<DesktopApp> describe(GAppInfo *info)
{
    if (info == nullptr)
        return {};
    DesktopApp app;
    app.id = textOf(g_app_info_get_id(info));
    app.name = textOf(g_app_info_get_name(info));
    if (const char *const *types = g_app_info_get_supported_types(info); types != nullptr) {
        for (; *types != nullptr; ++types)
            app.types.emplace_back(*types);
    }
    if (G_IS_DESKTOP_APP_INFO(info)) {
        GDesktopAppInfo *entry = G_DESKTOP_APP_INFO(info);
        app.file = textOf(g_desktop_app_info_get_filename(entry));
        app.busActivatable = g_desktop_app_info_get_boolean(entry, "DBusActivatable") != FALSE;
        app.terminal = g_desktop_app_info_get_boolean(entry, "Terminal") != FALSE;
        const std::unique_ptr<char, decltype(&g_free)> package(
            g_desktop_app_info_get_string(entry, "X-Flatpak"), &g_free);
        app.flatpak = textOf(package.get());
    }
    const char *line = g_app_info_get_commandline(info);
    int count = 0;
    char **words = nullptr;
    if (line != nullptr && g_shell_parse_argv(line, &count, &words, nullptr) != FALSE) {
        app.command.assign(words, words + count);
        g_strfreev(words);
    }
    return app;
}

std::optional<DesktopApp> owned(GAppInfo *info)
{
    const std::unique_ptr<GAppInfo, GObjectDeleter> owner(info);
    return describe(info);
}

std::string_view fileNameOf(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool isFieldCode(std::string_view word)
{
    return word.size() == 2 && word.front() == '%' && word[1] != '%';
}

// "env NAME=value program": where the program stands.
std::size_t programPosition(const std::vector<std::string> &words)
{
    std::size_t i = 0;
    if (!words.empty() && fileNameOf(words.front()) == "env") {
        for (i = 1; i < words.size() && words[i].find('=') != std::string::npos && words[i].front() != '-';)
            ++i;
    }
    return i;
}

// Appends what chooses the profile and leaves out the rest, such as "--compose %u".
void keepOptions(ClientCommand &command, const std::vector<std::string> &words, std::size_t from)
{
    const auto &kept = command.client->keptOptions;
    for (std::size_t i = from; i + 1 < words.size(); ++i) {
        if (std::find(kept.begin(), kept.end(), words[i]) == kept.end() || isFieldCode(words[i + 1]))
            continue;
        command.words.push_back(words[i]);
        command.words.push_back(words[i + 1]);
        ++i;
    }
}

// "flatpak run [options] PACKAGE ...".
std::optional<ClientCommand> recogniseFlatpak(const std::vector<std::string> &words, std::size_t program)
{
    if (program + 1 >= words.size() || words[program + 1] != "run")
        return {};
    std::size_t package = program + 2;
    while (package < words.size() && words[package].substr(0, 1) == "-")
        ++package;
    if (package >= words.size())
        return {};
    ClientCommand command;
    command.client = clientByEntry(words[package]);
    if (command.client == nullptr)
        return {};
    command.flatpak = words[package];
    // With "--file-forwarding" an argument "@@" would have a meaning of its own.
    std::copy_if(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(package) + 1,
                 std::back_inserter(command.words),
                 [](const std::string &word) { return word != "--file-forwarding"; });
    keepOptions(command, words, package + 1);
    return command;
}

// A word with field codes in it: nothing when it cannot be filled in.
std::optional<Argument> filledIn(const std::string &word, const DesktopApp &app, const Argument &uri,
                                 const std::string &path, bool &targetUsed)
{
    Argument out("");
    const auto append = [&out](const std::string &text, const std::string &shown) {
        out.text += text;
        out.shown += shown;
    };
    bool target = false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char code = word[i] == '%' && i + 1 < word.size() ? word[++i] : '\0';
        switch (code) {
        case '\0':
            append(std::string(1, word[i]), std::string(1, word[i]));
            break;
        case '%':
            append("%", "%");
            break;
        case 'u':
        case 'U':
            append(uri.text, uri.shown);
            target = true;
            break;
        case 'f':
        case 'F':
            append(path, path);
            target = true;
            break;
        case 'c':
            append(app.name, app.name);
            break;
        case 'k':
            append(app.file, app.file);
            break;
        default: // an icon, or one of the past
            break;
        }
    }
    if (target && !isFieldCode(word) && word.find_first_of(" \t\n;|&`$\"'()<>") != std::string::npos)
        return {};
    targetUsed = targetUsed || target;
    return out;
}

}

std::optional<DesktopApp> defaultAppForScheme(const char *scheme)
{
    return owned(g_app_info_get_default_for_uri_scheme(scheme));
}

std::optional<DesktopApp> defaultAppForType(const char *type)
{
    std::optional<DesktopApp> app = owned(g_app_info_get_default_for_type(type, FALSE));
    if (app && std::find(app->types.begin(), app->types.end(), type) == app->types.end())
        return {};
    return app;
}

std::optional<DesktopApp> appByEntry(std::string_view entry)
{
    std::string id(entry);
    constexpr std::string_view suffix = ".desktop";
    if (id.size() < suffix.size() || id.substr(id.size() - suffix.size()) != suffix)
        id.append(suffix);
    GDesktopAppInfo *info = g_desktop_app_info_new(id.c_str());
    return info != nullptr ? owned(G_APP_INFO(info)) : std::nullopt;
}

std::optional<DesktopApp> installedApp(const MailClient &client)
{
    for (const std::string_view entry : client.entries) {
        std::optional<DesktopApp> app = entry.empty() ? std::nullopt : appByEntry(entry);
        if (app && recogniseClient(*app))
            return app;
    }
    for (const std::string_view program : client.programs) {
        std::optional<std::string> path = program.empty() ? std::nullopt : findCommand(std::string(program));
        if (path) {
            DesktopApp app;
            app.name = client.name;
            app.command = {*path};
            return app;
        }
    }
    return {};
}

std::optional<ClientCommand> recogniseClient(const DesktopApp &app)
{
    const std::size_t program = programPosition(app.command);
    if (program >= app.command.size() || app.terminal)
        return {};
    const std::string_view name = fileNameOf(app.command[program]);
    if (name == "flatpak")
        return recogniseFlatpak(app.command, program);
    ClientCommand command;
    command.client = clientByProgram(name);
    if (command.client == nullptr)
        return {};
    command.words.assign(app.command.begin(), app.command.begin() + static_cast<std::ptrdiff_t>(program) + 1);
    keepOptions(command, app.command, program + 1);
    return command;
}

std::optional<Arguments> commandFor(const DesktopApp &app, const Argument &uri, const std::string &path)
{
    if (app.command.empty() || app.terminal)
        return {};
    Arguments arguments;
    bool targetUsed = false;
    for (const std::string &word : app.command) {
        const bool forFiles = word.find("%f") != std::string::npos || word.find("%F") != std::string::npos;
        if (path.empty() && forFiles)
            return {};
        std::optional<Argument> filled = filledIn(word, app, uri, path, targetUsed);
        if (!filled)
            return {};
        if (!(isFieldCode(word) && filled->text.empty()))
            arguments.push_back(std::move(*filled));
    }
    if (!targetUsed) {
        if (path.empty())
            return {};
        arguments.emplace_back(path);
    }
    return arguments;
}

}
