// SPDX-License-Identifier: MIT
// Receives from and sends to a network interface.
#pragma once

#include "wire/Wire.h"

#include <offload/FrameHeaders.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
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
    /// Says how many joined frames could not be cut, by reason.
    virtual ~FrameDevice();

    /// Readable when frames have arrived. Never changes; never blocks.
    virtual int descriptor() const noexcept = 0;
    /// Attaches to the interface of this index, which has the device's name; does nothing when attached
    /// already. 0 or an errno.
    virtual int attach(int index) noexcept = 0;
    /// Clears an error that the descriptor shows.
    virtual void clearError() noexcept {}
    /// Delivers what has arrived; returns within a Turn, and one frame, even if more keeps arriving.
    virtual void receive(FrameSink& port) noexcept = 0;
    /// Tries once. `offload` is what the system has to do on the frame: nothing, unless `takesJoined`. 0 or
    /// an errno.
    virtual int send(const offload::OffloadHeader& offload, WireBytes frame) noexcept = 0;
    virtual bool takesJoined() const noexcept { return false; }

protected:
    /// The time of one call of `receive`. A port without room, or a slow line, must not keep the wire's
    /// thread from its other events, such as its end.
    class Turn {
    public:
        bool isOver() const noexcept { return now() >= end_; }

    private:
        /// To some milliseconds, at a fraction of the usual clock's cost for each frame.
        static std::chrono::nanoseconds now() noexcept {
            timespec time{};
            clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
            return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
        }
        const std::chrono::nanoseconds end_ = now() + std::chrono::milliseconds(50);
    };

    const std::string& interface() const noexcept { return interface_; }
    /// A frame, or its beginning, is too long for a wire: the receiver counts an error. The first time, a
    /// line on standard error says what to do.
    void refuseGiant(FrameSink& port, WireBytes frame) noexcept;
    /// The same for a joined frame that cannot be cut, for each reason.
    void refuseJoined(FrameSink& port, WireBytes frame, offload::Uncuttable reason) noexcept;

private:
    const std::string interface_;
    bool saidGiant_ = false;
    std::array<std::uint64_t, offload::uncuttableCount> uncut_{};
};

} // namespace orvo::sim
