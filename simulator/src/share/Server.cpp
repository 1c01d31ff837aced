// SPDX-License-Identifier: MIT
#include "share/Server.h"

#include "base/Threads.h"
#include "share/SocketPath.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace orvo::sim {

namespace {

constexpr int backlog = 16;
constexpr std::size_t mostRefused = 16; // at a time; further ones wait
constexpr int shortageMs = 200; // between attempts to admit a program that there were no descriptors for

[[noreturn]] void refuse(const std::filesystem::path& path, const char* advice) {
    const int error = errno;
    throw std::runtime_error("socket '" + path.string() + "' cannot be made: " + std::strerror(error) + "; " +
                             advice);
}

/// One server at a time looks who lives at a socket and takes its place.
Descriptor lockFolder(const std::filesystem::path& path) {
    const auto folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
    std::error_code failed; // then opening it says why
    if (std::filesystem::create_directory(folder, failed))
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, failed);
    Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (lock.get() < 0) refuse(path, "create its folder, or name another");
    for (int tries = 0; flock(lock.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
        if (tries == 100) refuse(path, "another server is starting there; try again");
        usleep(10'000);
    }
    return lock;
}

void refuseLivingServer(const std::filesystem::path& path, const std::string& name) {
    const auto found = MessageSocket::connect(path);
    if (!found.isOpen() && errno != EAGAIN) return; // EAGAIN: it lives, and is busy
    ucred owner{};
    socklen_t bytes = sizeof owner;
    if (found.isOpen()) getsockopt(found.get(), SOL_SOCKET, SO_PEERCRED, &owner, &bytes);
    throw std::runtime_error("'" + name + "' is in use by process " + std::to_string(owner.pid) +
                             "; end that server, or choose another name");
}

/// Only a socket is ever removed: a path that names something else is the user's mistake.
void removeStale(const std::filesystem::path& path) {
    std::error_code none;
    if (std::filesystem::is_socket(path, none)) std::filesystem::remove(path, none);
}

Descriptor listenAt(const std::filesystem::path& path, const std::string& name) {
    const sockaddr_un address = socketAddress(path);
    const Descriptor lock = lockFolder(path);
    refuseLivingServer(path, name);
    removeStale(path);
    Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const at = reinterpret_cast<const sockaddr*>(&address);
    fchmod(socket.get(), S_IRUSR | S_IWUSR); // before it has a name: only its owner ever reaches it
    if (socket.get() < 0 || bind(socket.get(), at, sizeof address) != 0 || listen(socket.get(), backlog) != 0)
        refuse(path, "name another");
    chmod(path.c_str(), S_IRUSR | S_IWUSR);
    return socket;
}

/// 0 where there is nothing.
std::uint64_t inodeAt(const std::filesystem::path& path) noexcept {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 ? found.st_ino : 0;
}

} // namespace

Server::Server(const std::string& name)
    : path_(std::filesystem::absolute(socketPath(name))), socket_(listenAt(path_, name)),
      inode_(inodeAt(path_)), bell_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_(startThread([this] { run(); })) {}

Server::~Server() {
    isEnding_.store(true);
    std::error_code none; // somebody removed it
    if (inodeAt(path_) == inode_) std::filesystem::remove(path_, none);
    eventfd_write(bell_.get(), 1);
    thread_.join();
}

void Server::run() noexcept {
    for (bool isShort = false; !isEnding_.load();) {
        const bool admits = !isShort && clients_.size() < maxClients + mostRefused;
        pollfd events[] = {{admits ? socket_.get() : -1, POLLIN, 0}, {bell_.get(), POLLIN, 0}};
        poll(events, std::size(events), isShort ? shortageMs : -1);
        eventfd_t rings = 0;
        eventfd_read(bell_.get(), &rings);
        clients_.remove_if([](const ServedClient& client) { return client.hasEnded(); });
        isShort = events[0].revents != 0 && !admit();
    }
    clients_.clear();
}

bool Server::isFull() const noexcept {
    const auto isServed = [](const ServedClient& client) { return !client.isRefused(); };
    return static_cast<std::size_t>(std::ranges::count_if(clients_, isServed)) >= maxClients;
}

/// False when the program has to wait until this process has room for another connection.
bool Server::admit() {
    Descriptor socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.get() < 0) return errno == EAGAIN || errno == ECONNABORTED; // it has left again
    try {
        const auto number = isFull() ? Greeting::refused : ++lastNumber_;
        clients_.emplace_back(std::move(socket), number, [this] { eventfd_write(bell_.get(), 1); });
    } catch (const std::exception&) {
        // No thread for it: its connection closes, and it finds no server.
    }
    return true;
}

} // namespace orvo::sim
