// SPDX-License-Identifier: MIT
#include "checkup/doctor/Repair.h"

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

bool isOwn(const fs::path& place) {
    struct stat about = {};
    return stat(place.c_str(), &about) == 0 && about.st_uid == geteuid();
}

} // namespace

std::string shellWord(const std::string& text) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+:,=@%";
    if (!text.empty() && text.find_first_not_of(plain) == std::string::npos) return text;
    std::string word = "'";
    for (const char letter : text) word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return word + "'";
}

std::string ownProgram() {
    std::error_code unknown;
    const auto path = fs::read_symlink("/proc/self/exe", unknown);
    return unknown ? "orvo-gige" : shellWord(path.string());
}

std::string asWriter(const fs::path& place, const std::string& command) {
    auto existing = place;
    while (existing.has_relative_path() && access(existing.c_str(), F_OK) != 0)
        existing = existing.parent_path();
    return (access(existing.c_str(), W_OK) == 0 ? "" : "sudo ") + command;
}

fs::path closedFolder(const fs::path& file) {
    fs::path folder;
    for (const auto& part : file.parent_path()) {
        folder /= part;
        if (access(folder.c_str(), X_OK) != 0) return errno == EACCES ? folder : fs::path();
    }
    return {};
}

std::string commandToOpen(const fs::path& file) {
    const auto folder = closedFolder(file);
    const auto& place = folder.empty() ? file : folder;
    return fmt::format("{}chmod {} {}", isOwn(place) ? "" : "sudo ", folder.empty() ? "a+r" : "a+rx",
                       shellWord(place.string()));
}

std::string commandToCorrect(const fs::path& file, unsigned line) {
    const auto word = shellWord(file.string());
    if (!closedFolder(file).empty() || access(file.c_str(), R_OK) != 0) return commandToOpen(file);
    std::error_code unknown;
    if (!fs::is_regular_file(file, unknown))
        return asWriter(file.parent_path(), fmt::format("mv {0} {0}.old", word));
    const auto place = line == 0 ? "" : fmt::format("+{} ", line); // as all editors of Debian take it
    return asWriter(file, fmt::format("editor {}{}", place, word));
}

std::string commandToRestore(const Installation& installation, const fs::path& file) {
    const auto& root = installation.root();
    const Installation own("");
    const auto source = own.root() / file.lexically_relative(root);
    std::error_code missing;
    if (own.root() != root && fs::exists(source, missing))
        return asWriter(file.parent_path(), fmt::format("install -D -m 644 {} {}", shellWord(source.string()),
                                                        shellWord(file.string())));
    return fmt::format("install orvo-gige " ORVO_VERSION " again, such as with: {}",
                       asWriter(root, "cmake --install build/release --prefix " + shellWord(root.string())));
}

} // namespace orvo::host
