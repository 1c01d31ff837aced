// SPDX-License-Identifier: MIT
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

    /// Whether it is an IPv4 address that one host of a network can have, and no loopback address.
    bool isOfHost() const;

    /// The address of all hosts in its network; nothing where there is none.
    std::optional<std::array<std::uint8_t, 4>> broadcast() const;
};

/// Gives the interface an address besides those it has; false when it has this one already.
/// Errors: Failure, as in `setLinkUp`, with the command that does it.
bool addAddress(const std::string& interface, const NetworkAddress& address, const std::string& text);
void removeAddress(const std::string& interface, const NetworkAddress& address) noexcept;
void setLinkUp(const std::string& interface);

/// What the kernel did not get rid of through an interface: of a TAP, frames for which its queue had no room.
struct UnsentFrames {
    int index = 0;            ///< of the interface; one of the same name that is made later has another
    std::uint32_t frames = 0; ///< since it exists, modulo 2^32
};

/// Nothing when there is no such interface.
std::optional<UnsentFrames> unsentFrames(const std::string& interface);

} // namespace orvo::host
