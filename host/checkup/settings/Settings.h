// SPDX-License-Identifier: MIT
// What is set, for the plug-in, the libraries beside it and this program, and where each value comes from.
#pragma once

#include "checkup/settings/PropertiesText.h"
#include "device/Installation.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace orvo::host {

struct Origin {
    enum class Kind { Argument, File, Environment, Default };

    Kind kind = Kind::Default;
    std::string place = {}; ///< the argument, the file's path or the variable's name; empty for a default
    unsigned line = 0;      ///< of the file; 0 for the file as a whole
};

/// "PATH:LINE", "environment variable NAME", "argument ARGUMENT" or "default".
std::string textOf(const Origin& origin);

/// A value that was found on the way and cannot be used.
struct UnreadableValue {
    std::string text;
    Origin origin;
    std::string reason; ///< what it ought to be
};

struct Setting {
    std::string name;
    std::string value; ///< in effect; empty for none
    Origin origin;
    std::string meaning;
    std::vector<UnreadableValue> unreadable = {}; ///< what `value` is used instead of
    std::string note = {};                        ///< what is odd about the value; empty: nothing
    bool isRead = true;                           ///< by the plug-in, the libraries beside it or this program
};

struct Settings {
    std::vector<Setting> properties;   ///< tuning values, in the order of their table
    std::vector<Setting> others;       ///< other files and environment variables
    std::vector<PropertiesText> files; ///< properties files, the user's before the installation's
};

/// Everything that is set for the installation that `root` names as --root does; `arguments` are those of a
/// program that the plug-in is loaded by. Makes and changes nothing. Errors: Failure when there is no such
/// installation.
Settings readSettings(const std::string& root, const std::vector<std::string>& arguments = {});

/// Where the simulated board looks for its configuration when no variable names one.
std::filesystem::path usualSimulatorFile(const Installation& installation);

/// Something that is written somewhere and does not do what it says.
struct Remark {
    Origin where;
    std::string text;
    bool isLost; ///< a value that somebody reads is not used; false: it only looks like a mistake
};
std::vector<Remark> remarksOn(const Settings& settings);

std::string textOf(const Settings& settings);
nlohmann::ordered_json jsonOf(const Settings& settings);

} // namespace orvo::host
