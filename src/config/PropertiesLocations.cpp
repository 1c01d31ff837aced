// SPDX-License-Identifier: MIT
#include "config/PropertiesLocations.h"

#include "hal/InstallationRoot.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace orvo::templates::platform {
namespace {

constexpr const char* fileName = "/rt.conf";
constexpr const char* configuration = "/.config"; // both below HOME
constexpr const char* directory = "/.config/orvo";

std::string homeDirectory() {
    const char* home = std::getenv("HOME");
    if (!home || !*home) return {};
    char resolved[PATH_MAX] = {};
    return realpath(home, resolved) ? resolved : home;
}

bool makeDirectory(const std::string& path) {
    return mkdir(path.c_str(), 0777) == 0 || errno == EEXIST;
}

} // namespace

std::string systemPropertiesFile() {
    const char* root = hal::installationRoot();
    return root ? propertiesFileIn(root) : std::string();
}

std::string propertiesFileIn(const std::string& root) {
    return root + fileName;
}

std::string userPropertiesFile() {
    const std::string home = homeDirectory();
    if (home.empty()) return {};
    return makeDirectory(home + configuration) && makeDirectory(home + directory) ? userPropertiesPath()
                                                                                  : std::string();
}

std::string userPropertiesPath() {
    const std::string home = homeDirectory();
    return home.empty() ? std::string() : home + directory + fileName;
}

} // namespace orvo::templates::platform
