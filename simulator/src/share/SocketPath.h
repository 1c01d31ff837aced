// SPDX-License-Identifier: MIT
// Which boards a program uses: its own, or those of a server, by a socket.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <sys/un.h>

namespace orvo::sim {

inline constexpr std::string_view defaultServer = "default";

/// What the environment variable ORVO_BOARD chooses.
struct BoardChoice {
    enum class Kind { Own, Server, DefaultServer } kind = Kind::Own;
    std::string name; ///< of the server, as given
};
BoardChoice chosenBoards();

/// The socket of a server: `name` itself where it has a slash, else NAME.sock in $XDG_RUNTIME_DIR/orvo, or
/// in /run/orvo for root. Throws std::runtime_error, one sentence, for a name that cannot be one.
std::filesystem::path socketPath(const std::string& name);

/// The same as an address; throws when the path is too long for one.
sockaddr_un socketAddress(const std::filesystem::path& path);

} // namespace orvo::sim
