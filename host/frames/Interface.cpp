// SPDX-License-Identifier: MIT
// Addresses, counters and virtual cables go through netlink, links through ioctl.
#include "frames/Interface.h"

#include "base/Failure.h"
#include "base/FileDescriptor.h"
#include "base/NetlinkRequest.h"
#include "base/Numbers.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <linux/if_packet.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <linux/veth.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

namespace orvo::host {
namespace {

ifreq requestFor(const std::string& interface) {
    ifreq request = {};
    std::memcpy(request.ifr_name, interface.data(), std::min(interface.size(), sizeof request.ifr_name - 1));
    return request;
}

[[noreturn]] void fail(const std::string& what, int reason, const std::string& command) {
    throw Failure(what + ": " + systemError(reason) + "; do it with '" + command +
                  "' and leave the option out");
}

/// An IPv4 address as a number, and the bits of it that number the hosts of a network.
std::uint32_t numberOf(const NetworkAddress& address) noexcept {
    std::uint32_t number = 0;
    std::memcpy(&number, address.bytes.data(), sizeof number);
    return ntohl(number);
}
std::uint32_t hostBitsOf(const NetworkAddress& address) noexcept {
    return address.prefixBits >= 32 ? 0 : ~std::uint32_t{0} >> address.prefixBits;
}

/// Adds or removes an address. Returns 0 or an errno value.
int changeAddress(std::uint16_t type, unsigned flags, const std::string& interface,
                  const NetworkAddress& address) {
    ifaddrmsg subject = {};
    subject.ifa_family = static_cast<std::uint8_t>(address.family);
    subject.ifa_prefixlen = static_cast<std::uint8_t>(address.prefixBits);
    subject.ifa_index = if_nametoindex(interface.c_str());
    if (subject.ifa_index == 0) return ENODEV;
    NetlinkRequest request(type, flags);
    request.put(subject);
    const std::size_t bytes = address.family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    request.add(IFA_LOCAL, address.bytes.data(), bytes);
    request.add(IFA_ADDRESS, address.bytes.data(), bytes);
    if (const auto broadcast = address.broadcast())
        request.add(IFA_BROADCAST, broadcast->data(), broadcast->size());
    return request.send();
}

} // namespace

std::optional<NetworkAddress> NetworkAddress::parse(const std::string& text) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) return std::nullopt;
    NetworkAddress address{.text = text, .family = text.find(':') == std::string::npos ? AF_INET : AF_INET6};
    const auto prefixBits = wholeNumber(std::string_view(text).substr(slash + 1));
    if (!prefixBits || *prefixBits > (address.family == AF_INET ? 32 : 128)) return std::nullopt;
    address.prefixBits = static_cast<unsigned>(*prefixBits);
    if (inet_pton(address.family, address.withoutPrefix().c_str(), address.bytes.data()) != 1)
        return std::nullopt;
    return address;
}

bool NetworkAddress::isOfHost() const {
    constexpr std::uint8_t loopback = 127, firstMulticast = 224;
    if (family != AF_INET || bytes[0] == 0 || bytes[0] == loopback || bytes[0] >= firstMulticast)
        return false;
    const auto hosts = hostBitsOf(*this);
    const auto number = numberOf(*this) & hosts;
    return hosts <= 1 || (number != 0 && number != hosts); // neither the network itself nor its broadcast
}

bool NetworkAddress::reaches(const NetworkAddress& other) const {
    return (numberOf(*this) | hostBitsOf(*this)) == (numberOf(other) | hostBitsOf(*this));
}

// Networks of one or two addresses have no broadcast address.
std::optional<std::array<std::uint8_t, 4>> NetworkAddress::broadcast() const {
    if (family != AF_INET || hostBitsOf(*this) <= 1) return std::nullopt;
    const std::uint32_t number = htonl(numberOf(*this) | hostBitsOf(*this));
    std::array<std::uint8_t, 4> found;
    std::memcpy(found.data(), &number, found.size());
    return found;
}

bool addAddress(const std::string& interface, const NetworkAddress& address) {
    const auto& text = address.text;
    const int reason = changeAddress(RTM_NEWADDR, NLM_F_CREATE | NLM_F_EXCL, interface, address);
    if (reason != 0 && reason != EEXIST)
        fail("cannot give " + quoted(interface) + " the address " + text, reason,
             "sudo ip address add " + text + " dev " + interface);
    return reason == 0;
}

void removeAddress(const std::string& interface, const NetworkAddress& address) noexcept {
    changeAddress(RTM_DELADDR, 0, interface, address); // address or interface may be gone already
}

void setLinkUp(const std::string& interface) {
    const Socket control(AF_INET, SOCK_DGRAM);
    auto request = requestFor(interface);
    const auto setUp = [&] {
        if (!control.ask(SIOCGIFFLAGS, &request)) return false;
        if ((request.ifr_flags & IFF_UP) != 0) return true;
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
        return control.ask(SIOCSIFFLAGS, &request);
    };
    if (!setUp())
        fail("cannot set the link of " + quoted(interface) + " up", errno,
             "sudo ip link set " + interface + " up");
}

std::optional<UnsentFrames> unsentFrames(const std::string& interface) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    for (const auto* entry = list; entry; entry = entry->ifa_next) {
        const bool isLink = entry->ifa_addr && entry->ifa_addr->sa_family == AF_PACKET && entry->ifa_data;
        if (!isLink || interface != entry->ifa_name) continue;
        sockaddr_ll link = {};
        std::memcpy(&link, entry->ifa_addr, sizeof link);
        return UnsentFrames{link.sll_ifindex,
                            static_cast<const rtnl_link_stats*>(entry->ifa_data)->tx_dropped};
    }
    return std::nullopt;
}

void makeVirtualCable(const std::string& near, const std::string& far, const NetworkNamespace& farNamespace) {
    NetlinkRequest request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
    request.put(ifinfomsg{});
    request.add(IFLA_IFNAME, near);
    const auto information = request.begin(IFLA_LINKINFO);
    request.add(IFLA_INFO_KIND, std::string("veth"));
    const auto data = request.begin(IFLA_INFO_DATA);
    const auto peer = request.begin(VETH_INFO_PEER);
    request.put(ifinfomsg{});
    request.add(IFLA_IFNAME, far);
    const int descriptor = farNamespace.descriptor();
    request.add(IFLA_NET_NS_FD, &descriptor, sizeof descriptor);
    for (const auto attribute : {peer, data, information}) request.end(attribute);
    if (const int reason = request.send())
        throw Failure("cannot make the interfaces " + quoted(near) + " and " + quoted(far) + ": " +
                      systemError(reason) + "; load the kernel's driver with 'sudo modprobe veth'");
}

} // namespace orvo::host
