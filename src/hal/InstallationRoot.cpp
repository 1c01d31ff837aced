// SPDX-License-Identifier: MIT
#include "hal/InstallationRoot.h"

#include "platform/SpinLockVariableGuard.h"

#include <dlfcn.h>
#include <strings.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace orvo::hal {
namespace {

char rootBuffer[rootBufferBytes]; // this and `resolved` under `rootLock`
bool resolved = false;
int rootLock = 0;

bool isInstallationFolder(const char* name) {
    for (const char* folder : {"bin", "dll", "Hardware Applets", "lib", "lib64"})
        if (strcasecmp(name, folder) == 0) return true;
    return false;
}

/// From a slash back over all slashes next to it, to the character before them or the start.
char* backOverSlashes(char* p, const char* start) {
    while (p != start && *p == '/') --p;
    return p;
}

/// From the end of a component back to the slash before it, or the start.
char* backToSlash(char* p, const char* start) {
    while (p != start && *p != '/') --p;
    return p;
}

bool rootFromOwnFile() {
    Dl_info info{};
    if (dladdr(&rootBuffer, &info) == 0 || !info.dli_fname) return false;
    const std::size_t length = std::strlen(info.dli_fname);
    if (length == 0 || length >= sizeof rootBuffer) return false;
    std::memcpy(rootBuffer, info.dli_fname, length + 1);
    return cutToInstallationRoot(rootBuffer);
}

bool rootFromEnvironment() {
    const char* directory = std::getenv("ORVODIR5_64");
    if (!directory) directory = std::getenv("ORVODIR5");
    if (!directory) return false;
    copyRootDirectory(rootBuffer, directory);
    return true;
}

} // namespace

bool cutToInstallationRoot(char* path) {
    char* p = std::strrchr(path, '/');
    if (!p) return false;
    while (p != path) {
        p = backOverSlashes(p, path);
        p[1] = '\0';
        p = backToSlash(p, path);
        if (!isInstallationFolder(p + 1)) continue;
        p = backOverSlashes(p, path);
        p[1] = '\0';
        return true;
    }
    return false;
}

void copyRootDirectory(char* buffer, const char* directory) {
    std::size_t length = strnlen(directory, rootBufferBytes - 1);
    std::memcpy(buffer, directory, length);
    while (length > 1 && buffer[length - 1] == '/') --length;
    buffer[length] = '\0';
}

const char* installationRoot() {
    const templates::platform::SpinLockVariableGuard guard(&rootLock, nullptr);
    if (!resolved) resolved = rootFromOwnFile() || rootFromEnvironment();
    return resolved ? rootBuffer : nullptr;
}

} // namespace orvo::hal
