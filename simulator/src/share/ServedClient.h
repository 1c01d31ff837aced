// SPDX-License-Identifier: MIT
// One connected program, with the thread that serves it.
#pragma once

#include "share/Protocol.h"
#include "share/Session.h"
#include "share/Socket.h"

#include <atomic>
#include <functional>
#include <thread>

namespace orvo::sim {

class ServedClient {
public:
    /// `number` tells programs apart, or is `refused`. The client's thread calls `ended` at its end. Throws
    /// std::system_error when the thread cannot start.
    ServedClient(Descriptor socket, std::uint32_t number, std::function<void()> ended);
    /// Ends the connection.
    ~ServedClient();
    ServedClient(const ServedClient&) = delete;
    ServedClient& operator=(const ServedClient&) = delete;

    /// The program has left; the object can go.
    bool hasEnded() const noexcept { return hasEnded_.load(); }
    bool isRefused() const noexcept { return number_ == Greeting::refused; }

private:
    void run() noexcept;
    bool greet(std::span<std::byte> room) const;
    void serve(std::span<std::byte> room);

    const MessageSocket socket_;
    const std::uint32_t number_;
    const std::function<void()> ended_;
    std::atomic<bool> hasEnded_{false};
    std::thread thread_;
};

} // namespace orvo::sim
