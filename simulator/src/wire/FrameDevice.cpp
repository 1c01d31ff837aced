// SPDX-License-Identifier: MIT
// What is said about frames that are too long.
#include "wire/FrameDevice.h"

#include <cstdio>

namespace orvo::sim {

void FrameDevice::refuseGiant(FrameSink& port, bool isOffload) noexcept {
    if (port.deliver({}) != Arrival::Broken || saidGiant_) return;
    saidGiant_ = true;
    const char* const name = interface_.c_str();
    if (isOffload)
        std::fprintf(
            stderr,
            "simulated board: interface '%s' hands over segments that offload joined, which count as "
            "receive errors; switch offload off there (ethtool -K %s gro off lro off) and at the other "
            "end of a veth pair (ethtool -K PEER tso off gso off)\n",
            name, name);
    else
        std::fprintf(
            stderr,
            "simulated board: interface '%s' hands over a frame of more than the %zu bytes that a port "
            "takes; such frames count as receive errors (what sends them needs an MTU of 1500)\n",
            name, maxFrameBytes);
}

} // namespace orvo::sim
