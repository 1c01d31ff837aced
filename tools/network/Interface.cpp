// Interface settings by ioctl, counters by netlink (which getifaddrs speaks).
#include "network/Interface.h"

#include "app/Failure.h"
#include "app/Numbers.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <linux/if_packet.h>
#include <linux/ipv6.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

namespace orvo::host {
namespace {

/// A socket to talk to the kernel's network code through.
class ControlSocket {
public:
    explicit ControlSocket(int family) : descriptor_(socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    ~ControlSocket() { close(descriptor_); }
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    bool ask(unsigned long what, void* request) const noexcept {
        return ioctl(descriptor_, what, request) == 0;
    }

private:
    const int descriptor_;
};

ifreq requestFor(const std::string& interface) {
    ifreq request = {};
    std::memcpy(request.ifr_name, interface.data(), std::min(interface.size(), sizeof request.ifr_name - 1));
    return request;
}

[[noreturn]] void fail(const std::string& what, const std::string& command) {
    throw Failure(what + ": " + systemError(errno) + "; do it with '" + command +
                  "' and leave the option out");
}

void putInto(sockaddr& place, const void* bytes) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    std::memcpy(&address.sin_addr, bytes, sizeof address.sin_addr);
    std::memcpy(&place, &address, sizeof address);
}

bool setAddress4(const std::string& interface, const NetworkAddress& address) {
    const ControlSocket control(AF_INET);
    auto request = requestFor(interface);
    putInto(request.ifr_addr, address.bytes.data());
    if (!control.ask(SIOCSIFADDR, &request)) return false;
    const auto mask = htonl(address.prefixBits == 0 ? 0 : ~std::uint32_t{0} << (32 - address.prefixBits));
    putInto(request.ifr_netmask, &mask);
    return control.ask(SIOCSIFNETMASK, &request);
}

bool setAddress6(const std::string& interface, const NetworkAddress& address) {
    in6_ifreq request = {};
    std::memcpy(&request.ifr6_addr, address.bytes.data(), sizeof request.ifr6_addr);
    request.ifr6_prefixlen = address.prefixBits;
    request.ifr6_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    return ControlSocket(AF_INET6).ask(SIOCSIFADDR, &request) || errno == EEXIST;
}

} // namespace

std::optional<NetworkAddress> NetworkAddress::parse(const std::string& text) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) return std::nullopt;
    const auto host = text.substr(0, slash);
    NetworkAddress address{.family = host.find(':') == std::string::npos ? AF_INET : AF_INET6};
    const auto prefixBits = wholeNumber(std::string_view(text).substr(slash + 1));
    if (!prefixBits || *prefixBits > (address.family == AF_INET ? 32 : 128)) return std::nullopt;
    address.prefixBits = static_cast<unsigned>(*prefixBits);
    if (inet_pton(address.family, host.c_str(), address.bytes.data()) != 1) return std::nullopt;
    return address;
}

void setAddress(const std::string& interface, const NetworkAddress& address, const std::string& text) {
    const bool done =
        address.family == AF_INET ? setAddress4(interface, address) : setAddress6(interface, address);
    if (!done)
        fail("cannot give " + quoted(interface) + " the address " + text,
             "sudo ip address add " + text + " dev " + interface);
}

void setLinkUp(const std::string& interface) {
    const ControlSocket control(AF_INET);
    auto request = requestFor(interface);
    const auto setUp = [&] {
        if (!control.ask(SIOCGIFFLAGS, &request)) return false;
        if ((request.ifr_flags & IFF_UP) != 0) return true;
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
        return control.ask(SIOCSIFFLAGS, &request);
    };
    if (!setUp())
        fail("cannot set the link of " + quoted(interface) + " up", "sudo ip link set " + interface + " up");
}

std::optional<std::uint32_t> unsentFrames(const std::string& interface) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    for (const auto* entry = list; entry; entry = entry->ifa_next)
        if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_PACKET && entry->ifa_data &&
            interface == entry->ifa_name)
            return static_cast<const rtnl_link_stats*>(entry->ifa_data)->tx_dropped;
    return std::nullopt;
}

} // namespace orvo::host
