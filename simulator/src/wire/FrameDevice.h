// SPDX-License-Identifier: MIT
// Receives from and sends to a network interface.
#pragma once

#include "wire/Wire.h"

#include <cstdio>
#include <string>
#include <utility>

namespace orvo::sim {

/// Frames have no frame check sequence here. Threads: the port's sender calls `send`, the wire's own thread
/// everything else, at the same time.
class FrameDevice {
public:
    explicit FrameDevice(std::string interface) : interface_(std::move(interface)) {}
    FrameDevice(const FrameDevice&) = delete;
    FrameDevice& operator=(const FrameDevice&) = delete;
    virtual ~FrameDevice() = default;

    /// Readable when frames have arrived. Never changes; never blocks.
    virtual int descriptor() const noexcept = 0;
    /// Attaches to the interface of this index, which has the device's name; does nothing when attached
    /// already. 0 or an errno.
    virtual int attach(int index) noexcept = 0;
    /// Clears an error that the descriptor shows.
    virtual void clearError() noexcept {}
    /// Delivers what has arrived; returns now and then even if more keeps arriving.
    virtual void receive(FrameSink& port) noexcept = 0;
    /// Tries once. 0 or an errno.
    virtual int send(WireBytes frame) noexcept = 0;

protected:
    /// A frame, or its beginning, is too long for a wire: the receiver counts an error. The first time, a
    /// line on standard error says what to do.
    void refuseGiant(FrameSink& port, WireBytes frame, bool isOffload) noexcept {
        const bool isShort = frame.size() <= maxFrameBytes; // segments that are few bytes together
        const auto fate = isShort ? port.deliver({}) : port.deliverUnsealed(frame);
        if ((fate != OrvoSimTooLong && fate != OrvoSimTooShort) || std::exchange(saidGiant_, true)) return;
        constexpr auto offload =
            "simulated board: interface '%s' delivers segments that offload joined, which count as receive "
            "errors; switch offload off there (ethtool -K %s gro off lro off) and at the other end of a veth "
            "pair (ethtool -K PEER tso off gso off)\n";
        const char* const name = interface_.c_str();
        if (isOffload)
            std::fprintf(stderr, offload, name, name);
        else
            std::fprintf(stderr,
                         "simulated board: interface '%s' delivers frames longer than the %zu bytes that a "
                         "port takes; they count as receive errors (their sender needs an MTU of 1500)\n",
                         name, maxFrameBytes);
    }

private:
    const std::string interface_;
    bool saidGiant_ = false;
};

} // namespace orvo::sim
