#include "compose/settings.h"

#include "environment.h"
#include "failure.h"
#include "mapilog.h"
#include "text.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>

namespace mapi
{

namespace
{

constexpr const char *group = "MAPI";

struct RouteName {
    std::string_view name;
    Settings::Route route;
};

constexpr std::array routeNames{
    RouteName{"auto", Settings::Route::Automatic}, RouteName{"mailto", Settings::Route::Mailto},
    RouteName{"draft", Settings::Route::Draft},    RouteName{"portal", Settings::Route::Portal},
    RouteName{"outbox", Settings::Route::Outbox},
};
constexpr std::array<std::string_view, 4> knownKeys{"route", "client", "outbox", "staging"};

using Values = std::map<std::string, std::string>;

struct GFreeText {
    void operator()(gpointer text) const noexcept { g_free(text); }
};

// Adds the keys of a file that are not there yet.
void addFile(Values &values, const std::string &path)
{
    GError *error = nullptr;
    char *bytes = nullptr;
    gsize size = 0;
    g_file_get_contents(path.c_str(), &bytes, &size, &error);
    const std::unique_ptr<char, GFreeText> content(bytes);
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(), &g_key_file_free);
    // The reader of GLib would take a zero byte for the end.
    if (content != nullptr && std::string_view(bytes, size).find('\0') != std::string_view::npos)
        throw Failure(MAPI_E_FAILURE, "settings " + path + ": this is no text");
    if (content == nullptr
        || g_key_file_load_from_data(file.get(), bytes, size, G_KEY_FILE_NONE, &error) == FALSE) {
        const std::unique_ptr<GError, decltype(&g_error_free)> owner(error, &g_error_free);
        if (g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) != FALSE
            || g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOTDIR) != FALSE)
            return;
        throw Failure(MAPI_E_FAILURE, "settings " + path + ": " + error->message);
    }
    logLine("settings: " + path);
    const std::unique_ptr<char *, decltype(&g_strfreev)> keys(
        g_key_file_get_keys(file.get(), group, nullptr, nullptr), &g_strfreev);
    for (char **key = keys.get(); key != nullptr && *key != nullptr; ++key) {
        if (std::find(knownKeys.begin(), knownKeys.end(), *key) == knownKeys.end()) {
            logLine("settings: " + path + ": unknown key " + *key);
            continue;
        }
        const std::unique_ptr<char, GFreeText> value(g_key_file_get_string(file.get(), group, *key, nullptr));
        if (value == nullptr)
            throw Failure(MAPI_E_FAILURE, "settings " + path + ": " + *key + " cannot be read");
        values.emplace(*key, trimmed(value.get()));
    }
}

std::string absolutePath(const Values &values, const char *key)
{
    const auto found = values.find(key);
    if (found == values.end() || found->second.empty())
        return {};
    std::string path = withHomeExpanded(found->second);
    if (path.front() != '/' || hasLineBreak(path))
        throw Failure(MAPI_E_FAILURE, std::string("settings: ") + key + " is not an absolute path: " + path);
    return path;
}

}

Settings readSettings()
{
    Values values;
    for (const std::string &directory : configDirectories())
        addFile(values, directory + "/ostrelle/mapi.ini");

    Settings settings;
    if (const auto found = values.find("route"); found != values.end() && !found->second.empty()) {
        const auto *row = std::find_if(routeNames.begin(), routeNames.end(),
                                       [&](const RouteName &name) { return name.name == found->second; });
        if (row == routeNames.end())
            throw Failure(MAPI_E_FAILURE, "settings: there is no route " + found->second);
        settings.route = row->route;
    }
    if (const auto found = values.find("client"); found != values.end())
        settings.client = found->second;
    settings.outbox = absolutePath(values, "outbox");
    settings.staging = absolutePath(values, "staging");
    return settings;
}

}
