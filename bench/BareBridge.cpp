// SPDX-License-Identifier: MIT
// Two threads, two descriptors.
#include "BareBridge.h"

#include <offload/FrameCut.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace orvo::bench {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

int openTap(const std::string& name) {
    const int tap = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (tap < 0 || ioctl(tap, TUNSETIFF, &request) != 0) fail(name);
    return tap;
}

int openPackets(const std::string& interface) {
    const int packets = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    packet_mreq all{};
    all.mr_ifindex = address.sll_ifindex;
    all.mr_type = PACKET_MR_PROMISC;
    const int on = 1;
    const int room = 8 << 20;
    if (packets < 0 || bind(packets, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        setsockopt(packets, SOL_PACKET, PACKET_VNET_HDR, &on, sizeof on) != 0 ||
        setsockopt(packets, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on) != 0 ||
        setsockopt(packets, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &all, sizeof all) != 0)
        fail(interface);
    setsockopt(packets, SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room);
    return packets;
}

/// Interfaces with their ordinary settings bring joined frames, and a TAP takes none.
void toHost(int wire, int host) {
    std::vector<std::uint8_t> room(offload::OffloadHeader::longestFrame);
    for (;;) {
        offload::OffloadHeader header;
        const iovec parts[] = {{&header, sizeof header}, {room.data(), room.size()}};
        const auto bytes = readv(wire, parts, 2) - ssize_t{sizeof header};
        if (bytes <= 0) continue;
        offload::FrameCut cut(header, std::span(room).first(static_cast<std::size_t>(bytes)));
        for (auto frame = cut.next(); !frame.empty(); frame = cut.next())
            if (write(host, frame.data(), frame.size()) < 0) continue; // that frame is gone
    }
}

void toWire(int host, int wire) {
    struct {
        offload::OffloadHeader nothingLeftToDo;
        char frame[2048];
    } packet;
    for (;;) {
        const auto bytes = read(host, packet.frame, sizeof packet.frame);
        if (bytes > 0 &&
            write(wire, &packet, sizeof packet.nothingLeftToDo + static_cast<std::size_t>(bytes)) < 0)
            continue; // that frame is gone
    }
}

} // namespace

void bridgeBare(const std::string& tap, const std::string& interface) {
    const int host = openTap(tap);
    const int wire = openPackets(interface);
    std::thread(toWire, host, wire).detach();
    std::thread(toHost, wire, host).detach();
}

} // namespace orvo::bench
