// SPDX-License-Identifier: MIT
// A way into and out of a network interface.
#pragma once

#include "wire/Wire.h"

#include <string>

namespace orvo::sim {

/// Frames here have no frame check sequence. Threads: `send` is the port's sender's, everything else the
/// wire's own; both at once.
class FrameDevice {
public:
    explicit FrameDevice(std::string interface) : interface_(std::move(interface)) {}
    FrameDevice(const FrameDevice&) = delete;
    FrameDevice& operator=(const FrameDevice&) = delete;
    virtual ~FrameDevice() = default;

    /// Readable when frames have arrived; the same for good. Never blocks.
    virtual int descriptor() const noexcept = 0;
    /// Joins the interface of this index, which has the device's name; once more does no harm. 0 or an errno.
    virtual int attach(int index) noexcept = 0;
    /// Forgets an error that the descriptor shows.
    virtual void clearError() noexcept {}
    /// Hands on what has arrived; comes back now and then even if more keeps arriving.
    virtual void receive(FrameSink& port) noexcept = 0;
    /// One attempt. 0 or an errno.
    virtual int send(WireBytes frame) noexcept = 0;

protected:
    /// A frame that no wire would carry: the receiver counts an error, and standard error hears of the first.
    void refuseGiant(FrameSink& port, bool isOffload) noexcept;

private:
    const std::string interface_;
    bool saidGiant_ = false;
};

} // namespace orvo::sim
