// SPDX-License-Identifier: MIT
#include "share/Socket.h"

#include "share/SocketPath.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <poll.h>
#include <sys/socket.h>

namespace orvo::sim {

MessageSocket MessageSocket::connect(const std::filesystem::path& path) {
    const sockaddr_un address = socketAddress(path);
    // Not blocking: a server that accepts nobody any more must not hold up the caller.
    Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const at = reinterpret_cast<const sockaddr*>(&address);
    if (socket.get() < 0 || ::connect(socket.get(), at, sizeof address) != 0) {
        if (errno == EACCES)
            throw std::runtime_error(
                "the server at '" + path.string() +
                "' belongs to another user; run this as that user, or set ORVO_BOARD=own");
        return MessageSocket(Descriptor());
    }
    return MessageSocket(std::move(socket));
}

namespace {

/// A message header with room for descriptors.
struct Envelope {
    explicit Envelope(const void* bytes, std::size_t count) noexcept
        : block{const_cast<void*>(bytes), count} {
        header.msg_iov = &block;
        header.msg_iovlen = 1;
    }
    void enclose(std::span<const int> descriptors) noexcept {
        if (descriptors.empty()) return;
        header.msg_control = control;
        header.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* const note = CMSG_FIRSTHDR(&header);
        note->cmsg_level = SOL_SOCKET;
        note->cmsg_type = SCM_RIGHTS;
        note->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(note), descriptors.data(), descriptors.size_bytes());
    }
    std::vector<Descriptor> enclosed() {
        std::vector<Descriptor> found;
        for (cmsghdr* note = CMSG_FIRSTHDR(&header); note; note = CMSG_NXTHDR(&header, note)) {
            if (note->cmsg_level != SOL_SOCKET || note->cmsg_type != SCM_RIGHTS) continue;
            int number = -1;
            for (std::size_t at = CMSG_LEN(0); at + sizeof number <= note->cmsg_len; at += sizeof number) {
                std::memcpy(&number, reinterpret_cast<const std::byte*>(note) + at, sizeof number);
                found.emplace_back(number);
            }
        }
        return found;
    }

    iovec block;
    msghdr header{};
    alignas(cmsghdr) std::byte control[CMSG_SPACE(sizeof(int) * MessageSocket::maxDescriptors)] = {};
};

} // namespace

bool MessageSocket::send(MessageBytes message, std::span<const int> descriptors) const noexcept {
    Envelope envelope(message.data(), message.size());
    envelope.enclose(descriptors);
    for (;;) {
        const auto sent = sendmsg(get(), &envelope.header, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) return static_cast<std::size_t>(sent) == message.size();
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return false;
        pollfd room{get(), POLLOUT, 0};
        if (poll(&room, 1, 1000) == 0) return false; // the peer takes nothing
    }
}

template <class Take>
std::optional<MessageBytes> MessageSocket::receiveBy(std::span<std::byte> room,
                                                     std::optional<std::chrono::milliseconds> limit,
                                                     const Take& take) const {
    const auto end = std::chrono::steady_clock::now() + limit.value_or(std::chrono::milliseconds(0));
    for (;;) {
        const auto count = take();
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

std::optional<MessageBytes>
MessageSocket::receive(std::span<std::byte> room,
                       std::optional<std::chrono::milliseconds> limit) const noexcept {
    return receiveBy(room, limit,
                     [&] { return recv(get(), room.data(), room.size(), MSG_DONTWAIT | MSG_TRUNC); });
}

std::optional<MessageBytes> MessageSocket::receive(std::span<std::byte> room,
                                                   std::optional<std::chrono::milliseconds> limit,
                                                   std::vector<Descriptor>& descriptors) const {
    return receiveBy(room, limit, [&] {
        Envelope envelope(room.data(), room.size());
        envelope.header.msg_control = envelope.control;
        envelope.header.msg_controllen = sizeof envelope.control;
        const auto count = recvmsg(get(), &envelope.header, MSG_DONTWAIT | MSG_TRUNC | MSG_CMSG_CLOEXEC);
        if (count > 0) descriptors = envelope.enclosed();
        return count;
    });
}

bool MessageSocket::isPeerGone() const noexcept {
    pollfd peer{get(), POLLRDHUP, 0};
    return poll(&peer, 1, 0) > 0;
}

void MessageSocket::shutDown() const noexcept {
    ::shutdown(get(), SHUT_RDWR);
}

} // namespace orvo::sim
