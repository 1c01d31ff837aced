// SPDX-License-Identifier: MIT
// The pair and its sockets.
#include "PacketPair.h"

#include "frames/Interface.h"
#include "base/NetworkNamespace.h"
#include "frames/VirtualCable.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>

namespace orvo::bench {
namespace {

int packetSocket(const std::string& interface) {
    const int socket = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    const int on = 1;
    const timeval limit{1, 0};
    if (socket < 0 || bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        setsockopt(socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on) != 0 ||
        setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0)
        throw std::runtime_error("packet socket on " + interface + ": " + std::strerror(errno));
    return socket;
}

} // namespace

std::unique_ptr<PacketPair> PacketPair::make(std::string& obstacle) {
    try {
        const auto before = host::NetworkNamespace::current();
        const auto own = host::NetworkNamespace::make();
        host::makeVirtualCable("near", "far", own);
        host::setLinkUp("near");
        host::setLinkUp("far");
        std::unique_ptr<PacketPair> pair(new PacketPair(packetSocket("near"), packetSocket("far")));
        before.enter(); // the sockets keep theirs
        return pair;
    } catch (const std::exception& failure) {
        obstacle = failure.what();
        return nullptr;
    }
}

PacketPair::~PacketPair() {
    close(near_);
    close(far_);
}

bool PacketPair::pass(const std::vector<std::uint8_t>& frame) {
    if (::send(near_, frame.data(), frame.size(), 0) < 0) return false;
    return recv(far_, received_.data(), received_.size(), 0) == static_cast<ssize_t>(frame.size());
}

} // namespace orvo::bench
