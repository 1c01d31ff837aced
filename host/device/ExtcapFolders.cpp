// SPDX-License-Identifier: MIT
// Asking tshark for its folders.
#include "device/ExtcapFolders.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* programName = "orvo-gige";

struct ClosePipe {
    void operator()(std::FILE* pipe) const noexcept { pclose(pipe); }
};

std::optional<ExtcapFolder> folderFrom(const std::string& line) {
    const auto path = line.find('/');
    const bool isPersonal = line.starts_with("Personal Extcap path:");
    if (path == std::string::npos ||
        (!isPersonal && !line.starts_with("Global Extcap path:") && !line.starts_with("Extcap path:")))
        return std::nullopt;
    return ExtcapFolder{line.substr(path, line.find_last_not_of(" \t\n") + 1 - path), isPersonal};
}

} // namespace

std::vector<ExtcapFolder> extcapFolders() {
    const std::unique_ptr<std::FILE, ClosePipe> lines(
        popen("timeout -k 1 20 tshark -G folders 2>/dev/null", "re"));
    std::vector<ExtcapFolder> folders;
    char line[4096];
    while (lines && std::fgets(line, sizeof line, lines.get()))
        if (auto folder = folderFrom(line)) folders.push_back(std::move(*folder));
    return folders;
}

fs::path extcapLinkIn(const fs::path& folder) {
    return folder / programName;
}

bool isLinkToProgram(const fs::path& link) {
    std::error_code reason;
    return fs::read_symlink(link, reason).filename() == programName;
}

} // namespace orvo::host
