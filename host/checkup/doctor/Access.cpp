// SPDX-License-Identifier: MIT
// Permissions on the way to a file.
#include "checkup/doctor/Access.h"

#include "checkup/doctor/Mending.h"

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

bool isOwn(const fs::path& place) {
    struct stat about = {};
    return stat(place.c_str(), &about) == 0 && about.st_uid == geteuid();
}

} // namespace

fs::path closedFolder(const fs::path& file) {
    fs::path folder;
    for (const auto& part : file.parent_path()) {
        folder /= part;
        if (access(folder.c_str(), X_OK) != 0) return errno == EACCES ? folder : fs::path();
    }
    return {};
}

std::string commandToOpen(const fs::path& file) {
    const auto closed = closedFolder(file);
    const auto& what = closed.empty() ? file : closed;
    const auto command =
        fmt::format("chmod {} {}", closed.empty() ? "a+r" : "a+rx", shellWord(what.string()));
    return isOwn(what) ? command : "sudo " + command;
}

} // namespace orvo::host
