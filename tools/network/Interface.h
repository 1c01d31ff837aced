// Settings and counters of network interfaces, as the kernel keeps them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

/// An IP address and how much of it is the network's.
struct NetworkAddress {
    int family = 0;                       ///< AF_INET or AF_INET6
    std::array<std::uint8_t, 16> bytes{}; ///< in network order; of IPv4, the first four
    unsigned prefixBits = 0;

    /// From "192.168.7.1/24" or "fd00::1/64"; nothing when it is something else.
    static std::optional<NetworkAddress> parse(const std::string& text);
};

/// Gives the interface an address; an IPv4 one in place of the one it has.
/// Errors: Failure, as in `setLinkUp`, with the command that does it.
void setAddress(const std::string& interface, const NetworkAddress& address, const std::string& text);
void setLinkUp(const std::string& interface);

/// Frames that the kernel did not get rid of through the interface, since it exists, modulo 2^32: of a TAP,
/// those for which its queue had no room. Nothing when there is no such interface.
std::optional<std::uint32_t> unsentFrames(const std::string& interface);

} // namespace orvo::host
