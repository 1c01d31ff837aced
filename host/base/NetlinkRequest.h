// SPDX-License-Identifier: MIT
// Requests to the kernel's network configuration (rtnetlink).
#pragma once

#include <linux/netlink.h>

#include <array>
#include <cstdint>
#include <string>

namespace orvo::host {

/// One request: its fixed header is put first, then attributes are added, which may nest. The buffer is
/// larger than any request of this program.
class NetlinkRequest {
public:
    NetlinkRequest(std::uint16_t type, unsigned flags);

    template <typename T> void put(const T& value) { append(&value, sizeof value); }

    void add(std::uint16_t attribute, const void* value, std::size_t bytes);
    void add(std::uint16_t attribute, const std::string& text) {
        add(attribute, text.c_str(), text.size() + 1);
    }

    /// Attributes that are added between the two nest in this one.
    std::uint32_t begin(std::uint16_t attribute);
    void end(std::uint32_t attribute);

    /// Sends it in the calling thread's network namespace and waits for the answer. Returns 0, or the
    /// kernel's reason to refuse as an errno value.
    int send();

private:
    nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(message_.data()); }
    void append(const void* value, std::size_t bytes);

    alignas(nlmsghdr) std::array<std::uint8_t, 1024> message_{};
};

} // namespace orvo::host
