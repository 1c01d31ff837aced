// SPDX-License-Identifier: MIT
// Requests to the kernel's network code.
#pragma once

#include <linux/netlink.h>

#include <array>
#include <cstdint>
#include <string>

namespace orvo::host {

/// One request under construction: what it is about comes first, then attributes, which nest. Everything that
/// is put into one here fits.
class NetlinkRequest {
public:
    NetlinkRequest(std::uint16_t type, unsigned flags);

    template <typename T> void put(const T& value) { append(&value, sizeof value); }

    void add(std::uint16_t attribute, const void* value, std::size_t bytes);
    void add(std::uint16_t attribute, const std::string& text) {
        add(attribute, text.c_str(), text.size() + 1);
    }

    /// Between the two, attributes go into this one.
    std::uint32_t begin(std::uint16_t attribute);
    void end(std::uint32_t attribute);

    /// Has it done in the calling thread's network namespace. Returns 0, or what the kernel has against it,
    /// as an errno value.
    int send();

private:
    nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(message_.data()); }
    void append(const void* value, std::size_t bytes);

    alignas(nlmsghdr) std::array<std::uint8_t, 1024> message_{};
};

} // namespace orvo::host
