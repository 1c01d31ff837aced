// SPDX-License-Identifier: MIT
// Netlink tells that some interface changed; ioctl requests tell how it is now.
#include "wire/InterfaceWatch.h"

#include "wire/WireSpec.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace orvo::sim {

namespace {

Descriptor openBell(const std::string& name) {
    Descriptor bell(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl links{};
    links.nl_family = AF_NETLINK;
    links.nl_groups = RTMGRP_LINK;
    if (bell.get() < 0 || bind(bell.get(), reinterpret_cast<const sockaddr*>(&links), sizeof links) != 0)
        throw WireError("interface '" + name + "' cannot be watched: " + std::strerror(errno));
    return bell;
}

/// Names fit: parseWire has checked them.
ifreq requestFor(const std::string& name) noexcept {
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    return request;
}

} // namespace

InterfaceWatch::InterfaceWatch(std::string name) : name_(std::move(name)), bell_(openBell(name_)) {}

/// Discards the messages: `look` asks the interface itself, so lost messages do no harm.
void InterfaceWatch::hush() noexcept {
    char message[64];
    while (recv(bell_.get(), message, sizeof message, 0) >= 0 || errno == ENOBUFS || errno == EINTR) {
    }
}

InterfaceWatch::View InterfaceWatch::look() noexcept {
    hush();
    ifreq request = requestFor(name_);
    if (ioctl(bell_.get(), SIOCGIFINDEX, &request) != 0) return {};
    View view{.index = request.ifr_ifindex};
    if (ioctl(bell_.get(), SIOCGIFMTU, &request) == 0) view.mtu = static_cast<std::size_t>(request.ifr_mtu);
    if (ioctl(bell_.get(), SIOCGIFFLAGS, &request) != 0) return {};
    const bool isRunning = (request.ifr_flags & IFF_RUNNING) != 0;
    view.state = (request.ifr_flags & IFF_UP) == 0 ? InterfaceState::Down
                 : isRunning                       ? InterfaceState::Up
                                                   : InterfaceState::NoCarrier;
    return view;
}

bool InterfaceWatch::isEthernet() const noexcept {
    ifreq request = requestFor(name_);
    if (ioctl(bell_.get(), SIOCGIFHWADDR, &request) != 0) return false;
    const auto type = request.ifr_hwaddr.sa_family;
    return type == ARPHRD_ETHER || type == ARPHRD_LOOPBACK;
}

} // namespace orvo::sim
