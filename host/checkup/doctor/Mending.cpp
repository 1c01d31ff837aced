// SPDX-License-Identifier: MIT
// Making of commands.
#include "checkup/doctor/Mending.h"

#include "checkup/doctor/Access.h"

#include <fmt/format.h>

#include <unistd.h>

#include <fstream>
#include <string_view>

namespace orvo::host {

namespace fs = std::filesystem;

namespace {

#ifdef __aarch64__
constexpr const char* architecture = "arm64";
#else
constexpr const char* architecture = "amd64";
#endif

bool hasLine(const fs::path& file, const std::string& wanted) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
        if (line == wanted) return true;
    return false;
}

/// Its own way is the only one that leaves this program's installation of one piece.
std::string commandToInstallAnew(const fs::path& root, const fs::path& file, const fs::path& packageFiles) {
    std::error_code missing;
    if (fs::exists(root / "CMakeCache.txt", missing)) return "cmake --build " + shellWord(root.string());
    if (hasLine(packageFiles, file.string()))
        return fmt::format("sudo dpkg -i orvo-gige_" ORVO_VERSION "_{}.deb", architecture);
    if (fs::exists("build/release/cmake_install.cmake", missing))
        return asWriter(root, "cmake --install build/release --prefix " + shellWord(root.string()));
    return fmt::format("install orvo-gige " ORVO_VERSION " into {} again, from where it came",
                       shellWord(root.string()));
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

std::string asWriter(const fs::path& place, const std::string& command) {
    auto there = place;
    while (there.has_relative_path() && access(there.c_str(), F_OK) != 0) there = there.parent_path();
    return (access(there.c_str(), W_OK) == 0 ? "" : "sudo ") + command;
}

std::string commandToEdit(const std::string& file, unsigned line) {
    const auto place = line == 0 ? "" : fmt::format("+{} ", line); // as all of Debian's editors have it
    return asWriter(file, fmt::format("editor {}{}", place, shellWord(file)));
}

std::string commandToCorrect(const fs::path& file, unsigned line) {
    if (line != 0) return commandToEdit(file.string(), line);
    std::error_code reason;
    if (fs::is_regular_file(file, reason) || reason == std::errc::permission_denied)
        return commandToOpen(file);
    const auto word = shellWord(file.string());
    return asWriter(file.parent_path(), "mv " + word + " " + word + ".old");
}

fs::path ownProgram() {
    std::error_code unknown;
    const auto path = fs::read_symlink("/proc/self/exe", unknown);
    return unknown ? "orvo-gige" : path;
}

std::string commandToRestore(const Installation& installation, const fs::path& file,
                             const fs::path& packageFiles) {
    const auto& root = installation.root();
    const Installation own("");
    const auto source = own.root() / file.lexically_relative(root);
    std::error_code missing;
    if (own.root() != root && fs::exists(source, missing))
        return asWriter(file.parent_path(), fmt::format("install -D -m 644 {} {}", shellWord(source.string()),
                                                        shellWord(file.string())));
    return commandToInstallAnew(root, file, packageFiles);
}

} // namespace orvo::host
