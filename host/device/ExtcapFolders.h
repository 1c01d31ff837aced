// SPDX-License-Identifier: MIT
// Where Wireshark and tshark look for capture interfaces.
#pragma once

#include <filesystem>
#include <vector>

namespace orvo::host {

struct ExtcapFolder {
    std::filesystem::path path;
    bool isPersonal; ///< this user's; otherwise for all users
};

/// As reported by tshark; none when it is not installed.
std::vector<ExtcapFolder> extcapFolders();

/// This program's link in such a folder.
std::filesystem::path extcapLinkIn(const std::filesystem::path& folder);

/// Whether it is a link to this program, in whatever installation.
bool isLinkToProgram(const std::filesystem::path& link);

} // namespace orvo::host
