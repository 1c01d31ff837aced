// SPDX-License-Identifier: MIT
// Serves the boards of this process to other programs.
#pragma once

#include "base/Descriptor.h"
#include "share/ServedClient.h"

#include <filesystem>
#include <list>
#include <string>
#include <thread>

namespace orvo::sim {

class Server {
public:
    static constexpr std::size_t maxClients = 64; ///< a further one is refused and told why

    /// Listens at the socket of that name; replaces one that a server left behind when it was killed. Throws
    /// std::runtime_error, one sentence, when another server lives there, or the socket cannot be made.
    explicit Server(const std::string& name);
    /// Removes the socket, unless another server's took its place, and ends all connections.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }

private:
    void run() noexcept;
    bool admit();
    bool isFull() const noexcept;

    const std::filesystem::path path_;
    const Descriptor socket_;
    const std::uint64_t inode_;       // of the path, as long as the socket there is this server's
    const Descriptor bell_;           // a client has ended, or the server is to
    std::list<ServedClient> clients_; // this and the next are the thread's
    std::uint32_t lastNumber_ = 0;
    std::atomic<bool> isEnding_{false};
    std::thread thread_;
};

} // namespace orvo::sim
