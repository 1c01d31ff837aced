// SPDX-License-Identifier: MIT
// Messages over a Unix socket of ordered datagrams (SOCK_SEQPACKET).
#pragma once

#include "base/Descriptor.h"
#include "share/Message.h"

#include <chrono>
#include <filesystem>
#include <optional>

namespace orvo::sim {

class MessageSocket {
public:
    explicit MessageSocket(Descriptor socket) noexcept : socket_(std::move(socket)) {}

    /// Connects to a server; without a descriptor when nobody answers there, with errno set. Throws
    /// std::runtime_error for a path that cannot be one.
    static MessageSocket connect(const std::filesystem::path& path);

    int get() const noexcept { return socket_.get(); }
    bool isOpen() const noexcept { return socket_.get() >= 0; }

    /// False when the peer is gone or does not take it.
    bool send(MessageBytes message, std::span<const int> descriptors = {}) const noexcept;
    /// Waits for a message, for ever without a limit. Its bytes lie in `room`; none when the peer is gone,
    /// the time is over or the message is longer than the room.
    std::optional<MessageBytes> receive(std::span<std::byte> room,
                                        std::optional<std::chrono::milliseconds> limit = {}) const noexcept;
    /// Takes the descriptors that come with the message, too; any others are never received.
    std::optional<MessageBytes> receive(std::span<std::byte> room,
                                        std::optional<std::chrono::milliseconds> limit,
                                        std::vector<Descriptor>& descriptors) const;
    /// Whether the peer has closed its end.
    bool isPeerGone() const noexcept;
    /// Wakes a thread in `receive`, which finds the peer gone.
    void shutDown() const noexcept;

    static constexpr std::size_t maxDescriptors = 2; ///< with one message

private:
    template <class Take>
    std::optional<MessageBytes> receiveBy(std::span<std::byte> room,
                                          std::optional<std::chrono::milliseconds> limit,
                                          const Take& take) const;
    Descriptor socket_;
};

} // namespace orvo::sim
