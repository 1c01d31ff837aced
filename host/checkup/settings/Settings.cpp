// SPDX-License-Identifier: MIT
#include "checkup/settings/Settings.h"

#include "base/Failure.h"

#include <Thresholds.h>
#include <config/PropertiesLocations.h>
#include <config/TweakText.h>

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;
namespace platform = templates::platform;
using Kind = Origin::Kind;

/// Returns what a variable's text should have been, or an empty text where it is right; may change it to the
/// value that its reader uses.
using Reader = std::function<std::string(std::string& text)>;

std::string asItIs(std::string&) {
    return "";
}

/// An empty variable counts as none.
Setting variable(const char* name, const std::string& fallback, const char* meaning,
                 const Reader& read = asItIs) {
    Setting setting{.name = name, .value = fallback, .origin = {}, .meaning = meaning};
    const char* const found = std::getenv(name);
    if (!found || !*found) return setting;
    const Origin origin{Kind::Environment, name};
    std::string value = found;
    if (const auto expected = read(value); !expected.empty()) {
        setting.unreadable.push_back({found, origin, expected});
        return setting;
    }
    setting.value = value;
    setting.origin = origin;
    return setting;
}

std::string readThresholds(std::string& text) {
    try {
        dispatcher::Thresholds::parse(text);
        return "";
    } catch (const std::invalid_argument& error) {
        return std::string("NAME=THRESHOLD,... (") + error.what() + ")";
    }
}

std::string readWait(std::string& text) {
    const auto waitMs = platform::preSendWaitMs(text.c_str());
    if (!waitMs) return "a whole number of milliseconds from 0 to 4294967295";
    text = std::to_string(*waitMs);
    return "";
}

/// Why the dispatcher cannot write a log file; empty: it can. It makes missing folders, and opens no pipes.
std::string writeErrorOf(fs::path file) {
    std::error_code unknown;
    if (fs::is_fifo(file, unknown) || fs::is_socket(file, unknown)) return "it is a pipe";
    if (fs::is_directory(file, unknown)) return "it is a directory";
    if (fs::exists(file, unknown)) return access(file.c_str(), W_OK) == 0 ? "" : systemError(errno);
    while (file.has_relative_path() && !fs::exists(file, unknown)) file = file.parent_path();
    if (!fs::is_directory(file, unknown)) return systemError(ENOTDIR);
    return access(file.c_str(), W_OK | X_OK) == 0 ? "" : systemError(errno);
}

std::string readLogFile(std::string& text) {
    const auto error = writeErrorOf(fs::absolute(text));
    return error.empty() ? "" : "a file that can be written (" + error + ")";
}

Origin originOf(const std::string& root) {
    return root.empty() ? Origin{} : Origin{Kind::Argument, "--root " + root};
}

Setting simulatorFile(const Installation& installation) {
    auto setting = variable("ORVO_SIMULATOR_CONFIG", "",
                            "configuration file of the simulated board; none: the default board");
    const auto usual = usualSimulatorFile(installation);
    std::error_code unreadable;
    if (setting.origin.kind != Kind::Default ||
        fs::status(usual, unreadable).type() == fs::file_type::not_found)
        return setting;
    setting.value = usual.string();
    setting.origin = {Kind::File, setting.value};
    return setting;
}

Setting propertiesFile(const PropertiesText& text, const char* whose, const Origin& origin) {
    Setting setting{.name = whose,
                    .value = text.path.string(),
                    .origin = origin,
                    .meaning = "properties file, where the properties above can be set"};
    if (!text.path.empty() && !text.isThere) setting.meaning += "; not there";
    return setting;
}

std::vector<Setting> otherSettings(const Installation& installation, const std::string& root,
                                   const std::vector<PropertiesText>& files) {
    return {
        {.name = "installation",
         .value = installation.root().string(),
         .origin = originOf(root),
         .meaning = "root folder; by default the one that this program lies in"},
        propertiesFile(files[0], "user's rt.conf",
                       files[0].path.empty() ? Origin{} : Origin{Kind::Environment, "HOME"}),
        propertiesFile(files[1], "installation's rt.conf", originOf(root)),
        variable("ORVO_BOARD", "",
                 "simulated boards to use: 'own', or the name or socket of a server; none: the server "
                 "'default' if it runs, else own"),
        simulatorFile(installation),
        variable(platform::preSendWaitVariable, "0", "milliseconds that a port waits before it sends a frame",
                 readWait),
        variable("ORVO_LOG", "*=" + std::to_string(dispatcher::defaultThreshold),
                 "thresholds by logger: 2 details, 3 information, 4 warnings, 5 errors", readThresholds),
        variable("ORVO_LOG_FILE", "", "file that log lines go to as well", readLogFile),
        variable("ORVODIR5_64", "",
                 "installation root if the plug-in cannot find its own path; not needed here"),
        variable("ORVODIR5", "", "used if ORVODIR5_64 is not set"),
        variable("SHELL", "/bin/sh", "what 'orvo-gige lab' runs when no command is given"),
        variable("NO_COLOR", "", "any value turns colours off"),
    };
}

} // namespace

// In the folder above that of its library, links resolved.
fs::path usualSimulatorFile(const Installation& installation) {
    std::error_code missing;
    const auto library = fs::canonical(installation.library("orvo_hal"), missing);
    return (missing ? installation.root() : library.parent_path().parent_path()) / "simulator.toml";
}

Settings readSettings(const std::string& root, const std::vector<std::string>& arguments) {
    const Installation installation(root);
    Settings settings;
    settings.files = {readPropertiesText(platform::userPropertiesPath()),
                      readPropertiesText(platform::propertiesFileIn(installation.root().string()))};
    settings.properties = propertySettings(settings.files, arguments);
    settings.others = otherSettings(installation, root, settings.files);
    return settings;
}

} // namespace orvo::host
