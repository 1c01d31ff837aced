// SPDX-License-Identifier: MIT
// Paths of the system's and the user's properties file.
#include "config/PropertiesLocations.h"

#include "hal/InstallationRoot.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace orvo::templates::platform {
namespace {

constexpr const char* fileName = "/rt.conf";

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
    return root ? std::string(root) + fileName : std::string();
}

std::string userPropertiesFile() {
    const std::string home = homeDirectory();
    if (home.empty()) return {};
    const std::string configuration = home + "/.config";
    const std::string directory = configuration + "/orvo";
    return makeDirectory(configuration) && makeDirectory(directory) ? directory + fileName : std::string();
}

} // namespace orvo::templates::platform
