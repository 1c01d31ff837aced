// SPDX-License-Identifier: MIT
// Network interfaces of Linux: addresses, links, counters, virtual cables.
#pragma once

#include "base/NetworkNamespace.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

/// An IP address with the length of its network prefix.
struct NetworkAddress {
    std::string text;                     ///< as given, such as "192.168.7.1/24"
    int family = 0;                       ///< AF_INET or AF_INET6
    std::array<std::uint8_t, 16> bytes{}; ///< in network order; of IPv4, the first four
    unsigned prefixBits = 0;

    /// Reads "192.168.7.1/24" or "fd00::1/64"; nothing for any other text.
    static std::optional<NetworkAddress> parse(const std::string& text);

    std::string withoutPrefix() const { return text.substr(0, text.find('/')); }

    /// Whether it is an IPv4 address that a host on a network can have; loopback is none.
    bool isOfHost() const;

    /// Whether another IPv4 address is in its network.
    bool reaches(const NetworkAddress& other) const;

    /// The broadcast address of its network; nothing where there is none.
    std::optional<std::array<std::uint8_t, 4>> broadcast() const;
};

/// Adds an address to the interface; false when the interface has it already.
/// Errors: Failure, as in `setLinkUp`, with the command that does the same by hand.
bool addAddress(const std::string& interface, const NetworkAddress& address);
void removeAddress(const std::string& interface, const NetworkAddress& address) noexcept;
void setLinkUp(const std::string& interface);

/// Frames that the kernel could not send through an interface; for a TAP, those its queue had no room for.
struct UnsentFrames {
    int index = 0;            ///< of the interface; a later one of the same name has another index
    std::uint32_t frames = 0; ///< since the interface exists, modulo 2^32
};

/// Nothing when the interface does not exist.
std::optional<UnsentFrames> unsentFrames(const std::string& interface);

/// Makes a pair of virtual interfaces (veth): `near` in the calling thread's namespace, `far` in the other
/// one. Errors: Failure.
void makeVirtualCable(const std::string& near, const std::string& far, const NetworkNamespace& farNamespace);

} // namespace orvo::host
