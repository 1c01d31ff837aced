// SPDX-License-Identifier: MIT
// Making of commands.
#include "doctor/Mending.h"

#include <fmt/format.h>

#include <unistd.h>

#include <string_view>

namespace orvo::host {

namespace fs = std::filesystem;

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

fs::path ownProgram() {
    std::error_code unknown;
    const auto path = fs::read_symlink("/proc/self/exe", unknown);
    return unknown ? "orvo-gige" : path;
}

std::string commandToRestore(const Installation& installation, const fs::path& file) {
    const auto& root = installation.root();
    const Installation own("");
    const auto source = own.root() / file.lexically_relative(root);
    std::error_code missing;
    if (own.root() != root && fs::exists(source, missing))
        return asWriter(file.parent_path(), fmt::format("install -D -m 644 {} {}", shellWord(source.string()),
                                                        shellWord(file.string())));
    if (fs::exists(root / "CMakeCache.txt", missing)) return "cmake --build " + shellWord(root.string());
    return asWriter(root, "cmake --install build/release --prefix " + shellWord(root.string()));
}

} // namespace orvo::host
