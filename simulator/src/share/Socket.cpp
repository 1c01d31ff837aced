// SPDX-License-Identifier: MIT
#include "share/Socket.h"

#include "share/SocketPath.h"

#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace orvo::sim {

MessageSocket MessageSocket::connect(const std::filesystem::path& path) {
    const sockaddr_un address = socketAddress(path);
    // Not blocking: a server that accepts nobody any more must not hold up the caller.
    Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const at = reinterpret_cast<const sockaddr*>(&address);
    if (socket.get() < 0 || ::connect(socket.get(), at, sizeof address) != 0)
        return MessageSocket(Descriptor());
    return MessageSocket(std::move(socket));
}

bool MessageSocket::send(MessageBytes message) const noexcept {
    for (;;) {
        const auto sent = ::send(get(), message.data(), message.size(), MSG_NOSIGNAL);
        if (sent >= 0) return static_cast<std::size_t>(sent) == message.size();
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return false;
        pollfd room{get(), POLLOUT, 0};
        if (poll(&room, 1, 1000) == 0) return false; // the peer takes nothing
    }
}

std::optional<MessageBytes>
MessageSocket::receive(std::span<std::byte> room,
                       std::optional<std::chrono::milliseconds> limit) const noexcept {
    const auto end = std::chrono::steady_clock::now() + limit.value_or(std::chrono::milliseconds(0));
    for (;;) {
        const auto count = recv(get(), room.data(), room.size(), MSG_DONTWAIT | MSG_TRUNC);
        if (count > 0)
            return static_cast<std::size_t>(count) <= room.size()
                       ? std::optional(MessageBytes(room.first(static_cast<std::size_t>(count))))
                       : std::nullopt;
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) return std::nullopt;
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (limit && left.count() <= 0) return std::nullopt;
        pollfd message{get(), POLLIN, 0};
        poll(&message, 1, limit ? static_cast<int>(left.count()) : -1);
    }
}

bool MessageSocket::isPeerGone() const noexcept {
    pollfd peer{get(), POLLRDHUP, 0};
    return poll(&peer, 1, 0) > 0;
}

void MessageSocket::shutDown() const noexcept {
    ::shutdown(get(), SHUT_RDWR);
}

} // namespace orvo::sim
