// SPDX-License-Identifier: MIT
// A network of the test's own, for wires that lead there.
#pragma once

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

constexpr std::uint16_t testEtherType = 0x88B5; // for experiments: what the kernel sends by itself has others

/// Moves the process into a network namespace of its own, for good, and tells why that is not possible, or
/// nothing. Interfaces end with it.
inline std::string enterOwnNetwork() {
    static const std::string reason = []() -> std::string {
        if (std::system("ip -V >/dev/null 2>&1") != 0) return "the program ip is not installed";
        const int flags = geteuid() == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET;
        if (unshare(flags) == 0) return "";
        return std::string("no network namespace: ") + std::strerror(errno);
    }();
    return reason;
}

/// Runs ip with these arguments.
inline void ip(const std::string& arguments) {
    EXPECT_EQ(std::system(("ip " + arguments).c_str()), 0) << arguments;
}

/// A pair of connected interfaces, "near0" and "far0", both up.
inline void makePair() {
    ip("link add near0 type veth peer name far0");
    for (const char* name : {"near0", "far0"}) ip(std::string("link set ") + name + " up");
}

/// Somebody else at an interface.
class Peer {
public:
    explicit Peer(const char* interface, std::uint16_t etherType = testEtherType)
        : socket_(socket(AF_PACKET, SOCK_RAW, 0)) {
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(etherType);
        address.sll_ifindex = static_cast<int>(if_nametoindex(interface));
        EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << interface;
    }
    ~Peer() { close(socket_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// From now on frames begin with a virtio_net_hdr, which says what is left to do on them.
    void leaveWork() const {
        const int on = 1;
        EXPECT_EQ(setsockopt(socket_, SOL_PACKET, PACKET_VNET_HDR, &on, sizeof on), 0);
    }
    void send(const std::vector<std::uint8_t>& frame) const {
        EXPECT_EQ(::send(socket_, frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()))
            << std::strerror(errno);
    }
    /// The next frame of the type; none when none comes in time.
    std::optional<std::vector<std::uint8_t>> receive(int timeoutMs = 2000) const {
        pollfd arrival{socket_, POLLIN, 0};
        std::vector<std::uint8_t> frame(4096);
        if (poll(&arrival, 1, timeoutMs) != 1) return std::nullopt;
        const auto bytes = recv(socket_, frame.data(), frame.size(), 0);
        frame.resize(static_cast<std::size_t>(std::max<ssize_t>(bytes, 0)));
        return frame;
    }

private:
    const int socket_;
};
