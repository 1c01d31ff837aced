// SPDX-License-Identifier: MIT
// Where Wireshark and tshark look for capture interfaces.
#pragma once

#include <filesystem>
#include <vector>

namespace orvo::host {

struct ExtcapFolder {
    std::filesystem::path path;
    bool isPersonal; ///< this user's, not everybody's
};

/// As tshark says; none when it does not say, as where it is not installed.
std::vector<ExtcapFolder> extcapFolders();

/// What this program is in such a folder.
std::filesystem::path extcapLinkIn(const std::filesystem::path& folder);

/// Whether it is a link to this program, wherever that is or was installed.
bool isLinkToProgram(const std::filesystem::path& link);

} // namespace orvo::host
