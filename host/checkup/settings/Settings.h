// SPDX-License-Identifier: MIT
// Settings of the plug-in, the libraries beside it and this program, each with the place that its value is
// from.
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
std::string originText(const Origin& origin);

/// A value that stands somewhere, and cannot be used.
struct UnreadableValue {
    std::string text;
    Origin origin;
    std::string expected; ///< what it should be, such as "a whole number from 0 to 15"
};

struct Setting {
    std::string name;
    std::string value; ///< in effect; empty for none
    Origin origin;
    std::string meaning;
    std::vector<UnreadableValue> unreadable = {}; ///< values that `value` is used instead of
    std::string note = {};                        ///< what looks wrong about the value; empty: nothing
    bool isRead = true;                           ///< by the plug-in, the libraries beside it or this program
};

struct Settings {
    std::vector<Setting> properties;   ///< tuning values, in the order of their table
    std::vector<Setting> others;       ///< other files and environment variables
    std::vector<PropertiesText> files; ///< properties files, the user's before the installation's
};

/// Reads the settings of the installation that `root` names as --root does; `arguments` are those of a
/// program that loads the plug-in. Changes nothing. Errors: Failure when there is no such installation.
Settings readSettings(const std::string& root, const std::vector<std::string>& arguments = {});

/// The tuning values alone, one for each row of the plug-in's table. `files` in order of precedence.
std::vector<Setting> propertySettings(const std::vector<PropertiesText>& files,
                                      const std::vector<std::string>& arguments);

/// Where the simulated board looks for its configuration when no variable names one.
std::filesystem::path usualSimulatorFile(const Installation& installation);

/// Something that is set, but has no effect or not the one it seems to have.
struct Remark {
    Origin where;
    std::string text;
    bool isLost; ///< the value of a setting that is read is not used; false: it only looks like a mistake
};
std::vector<Remark> remarksOn(const Settings& settings);

std::string settingsText(const Settings& settings);
nlohmann::ordered_json settingsJson(const Settings& settings);

} // namespace orvo::host
