// SPDX-License-Identifier: MIT
#include "wire/FrameDevice.h"

#include <algorithm>
#include <cstdio>

namespace orvo::sim {

namespace {

/// In the order of Uncuttable.
constexpr std::array<const char*, offload::uncuttableCount> reasonTexts = {
    "inside a tunnel", "with a header that no segment may repeat", "longer than 64 KiB",
    "with broken headers"};

/// A joined frame that is short enough for a cable gets a wrong check sequence, since it would pass as it is.
OrvoSimFate deliverUnfit(FrameSink& port, WireBytes frame) noexcept {
    if (frame.size() > maxFrameBytes) return port.deliverUnsealed(frame);
    std::array<std::uint8_t, maxWireBytes> damaged;
    std::copy(frame.begin(), frame.end(), damaged.begin());
    return port.deliver(WireBytes(damaged).first(sealFrame(damaged.data(), frame.size(), 1)));
}

/// Whether the receiver counted an error for a frame that no cable carries.
bool isCountedAsError(FrameSink& port, WireBytes frame) noexcept {
    const auto fate = deliverUnfit(port, frame);
    return fate == OrvoSimTooLong || fate == OrvoSimWrongFcs;
}

} // namespace

FrameDevice::~FrameDevice() {
    for (std::size_t i = 0; i < uncut_.size(); ++i)
        if (uncut_.at(i) > 1) // the first was told when it came
            std::fprintf(stderr, "simulated board: interface '%s' delivered %llu joined frames %s\n",
                         interface_.c_str(), static_cast<unsigned long long>(uncut_.at(i)),
                         reasonTexts.at(i));
}

void FrameDevice::refuseGiant(FrameSink& port, WireBytes frame) noexcept {
    if (!isCountedAsError(port, frame) || std::exchange(saidGiant_, true)) return;
    std::fprintf(stderr,
                 "simulated board: interface '%s' delivers frames longer than the %zu bytes that a "
                 "port takes; they count as receive errors (their sender needs an MTU of 1500)\n",
                 interface_.c_str(), maxFrameBytes);
}

void FrameDevice::refuseJoined(FrameSink& port, WireBytes frame, offload::Uncuttable reason) noexcept {
    const auto place = static_cast<std::size_t>(reason);
    if (!isCountedAsError(port, frame) || uncut_.at(place)++ != 0) return;
    const char* const name = interface_.c_str();
    std::fprintf(
        stderr,
        "simulated board: interface '%s' delivers joined frames %s, which count as receive errors; have "
        "them delivered singly: ip link set dev %s gro_max_size 1, and where a veth pair or a virtual "
        "machine sends them, at that end: ip link set dev PEER gso_max_segs 1\n",
        name, reasonTexts.at(place), name);
}

} // namespace orvo::sim
