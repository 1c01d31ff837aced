// SPDX-License-Identifier: MIT
// Gathering of all settings.
#include "checkup/settings/Settings.h"

#include "base/Failure.h"
#include "checkup/settings/PropertySettings.h"

#include <Thresholds.h>
#include <config/PreSendWait.h>
#include <config/PropertiesLocations.h>

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;
namespace platform = templates::platform;
using Kind = Origin::Kind;

/// Returns what is wrong with a variable's text, or nothing; may change it to how it is understood.
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
    if (const auto reason = read(value); !reason.empty()) {
        setting.unreadable.push_back({found, origin, reason});
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
    if (!waitMs) return "a whole number of milliseconds from 0 to 4294967";
    text = std::to_string(*waitMs);
    return "";
}

bool canMakeFilesBelow(fs::path folder) {
    std::error_code unknown;
    while (folder.has_relative_path() && !fs::exists(folder, unknown)) folder = folder.parent_path();
    errno = ENOTDIR;
    return fs::is_directory(folder, unknown) && access(folder.c_str(), W_OK | X_OK) == 0;
}

/// Why the dispatcher cannot write a log file; empty: it can. It makes folders on the way as well, and does
/// not wait for the reader of a pipe.
std::string obstacleToLog(const fs::path& file) {
    std::error_code unknown;
    switch (fs::status(file, unknown).type()) {
    case fs::file_type::fifo:
    case fs::file_type::socket:
        return "it is a pipe";
    case fs::file_type::directory:
        return "it is a directory";
    case fs::file_type::not_found:
        return canMakeFilesBelow(file.parent_path()) ? "" : systemError(errno);
    default:
        return access(file.c_str(), W_OK) == 0 ? "" : systemError(errno);
    }
}

/// Only looks.
std::string readLogFile(std::string& text) {
    const auto obstacle = obstacleToLog(fs::absolute(text));
    return obstacle.empty() ? "" : "a file that can be written (" + obstacle + ")";
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
         .meaning = "root of what is used; by default the one that this program lies in"},
        propertiesFile(files[0], "user's rt.conf",
                       files[0].path.empty() ? Origin{} : Origin{Kind::Environment, "HOME"}),
        propertiesFile(files[1], "installation's rt.conf", originOf(root)),
        simulatorFile(installation),
        variable("ORVO_PRE_SEND_WAIT_TIME", "0", "milliseconds that a port waits before it sends a frame",
                 readWait),
        variable("ORVO_LOG", "*=4", "thresholds by logger: 2 details, 3 information, 4 warnings, 5 errors",
                 readThresholds),
        variable("ORVO_LOG_FILE", "", "file that log lines go to as well", readLogFile),
        variable("ORVODIR5_64", "", "installation of a plug-in file that lies in none; this one lies in one"),
        variable("ORVODIR5", "", "the same, where ORVODIR5_64 is not set"),
        variable("SHELL", "/bin/sh", "what 'orvo-gige lab' runs when no command is given"),
        variable("NO_COLOR", "", "set: no colours on a terminal"),
    };
}

} // namespace

// In the directory above the one that its library really lies in.
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
