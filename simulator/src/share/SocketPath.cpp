// SPDX-License-Identifier: MIT
#include "share/SocketPath.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <sys/socket.h>
#include <unistd.h>

namespace orvo::sim {

namespace {

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

bool isPlain(const std::string& name) {
    return !name.empty() && name.front() != '.' && std::ranges::all_of(name, [](unsigned char c) {
        return std::isalnum(c) || c == '-' || c == '_' || c == '.';
    });
}

std::filesystem::path runtimeDirectory() {
    if (geteuid() == 0) return "/run/orvo";
    const std::string parent = environment("XDG_RUNTIME_DIR");
    if (parent.empty())
        throw std::runtime_error("XDG_RUNTIME_DIR is not set, so there is no folder for sockets; set it, or "
                                 "give the path of a socket instead of a name");
    return std::filesystem::path(parent) / "orvo";
}

} // namespace

BoardChoice chosenBoards() {
    const std::string name = environment("ORVO_BOARD");
    if (name == "own") return {};
    if (name.empty()) return {BoardChoice::Kind::DefaultServer, std::string(defaultServer)};
    return {BoardChoice::Kind::Server, name};
}

std::filesystem::path socketPath(const std::string& name) {
    if (name.find('/') != std::string::npos) return name;
    if (!isPlain(name) || name == "own")
        throw std::runtime_error(
            "'" + name +
            "' is not a name for a server of boards; use letters, digits, '-', '_' and '.', "
            "or the path of a socket");
    return runtimeDirectory() / (name + ".sock");
}

sockaddr_un socketAddress(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path)
        throw std::runtime_error("the path of socket '" + text + "' is longer than the " +
                                 std::to_string(sizeof address.sun_path - 1) +
                                 " bytes that the system allows; use a shorter one");
    std::memcpy(address.sun_path, text.c_str(), text.size());
    return address;
}

} // namespace orvo::sim
