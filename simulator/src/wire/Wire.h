// SPDX-License-Identifier: MIT
// The interface of all wires, and what they need of a port.
#pragma once

#include "wire/WireFrame.h"
#include "wire/WireSpec.h"

#include <orvo/sim/orvo_sim.h>

#include <chrono>
#include <memory>

namespace orvo::sim {

/// A port's receiver. Any thread. Deliveries return what became of the frame.
class FrameSink {
public:
    virtual OrvoSimFate deliver(WireBytes frame) noexcept = 0;
    /// A frame without its check sequence, which is known to be right, and perhaps without its padding. Saves
    /// computing a sequence that is not needed.
    virtual OrvoSimFate deliverUnsealed(WireBytes content) noexcept = 0;
    /// Frames of unknown length were lost before they could be delivered.
    virtual void countLost(std::uint64_t frames) noexcept = 0;
    /// True while there is room for a frame of any size.
    virtual bool hasRoom() const noexcept = 0;

protected:
    ~FrameSink() = default;
};

/// A port at the end of a wire.
class LinkListener {
public:
    /// Frames that the wire took by `post` have left, or could not. A thread of the wire's, until it is
    /// destroyed; bytes include check sequences.
    virtual void framesLeft(std::uint64_t frames, std::uint64_t bytes) noexcept = 0;
    virtual void framesDidNotLeave(std::uint64_t frames) noexcept = 0;

    /// Renegotiates the link after `Wire::hasCarrier` changed. False while another thread holds the bench
    /// mutex and may be waiting for the caller; try again then.
    virtual bool farEndChanged() noexcept = 0;

protected:
    ~LinkListener() = default;
};

/// Made when the port is cabled, destroyed when it is unplugged. A wire with a thread of its own starts it in
/// `plugged` and ends it in its destructor.
class Wire {
public:
    Wire() = default;
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;
    virtual ~Wire() = default;

    /// Called once, after the wire before is gone and before anything is transmitted. The listener must
    /// outlive the wire.
    virtual void plugged(LinkListener&) noexcept {}

    /// Sends a frame of the port, good or bad. False when it could not leave. The port's sender thread.
    virtual bool transmit(WireBytes frame) noexcept = 0;
    /// The same for a padded frame without its check sequence, which is right.
    virtual bool transmitUnsealed(WireBytes content) noexcept = 0;

    /// Takes a copy of such a frame that it sends soon, together with others, and tells the port later.
    /// False, with nothing done: it is to be transmitted. The port's sender thread.
    virtual bool post(WireBytes) noexcept { return false; }
    /// Waits, but not longer than this, until the frames that were posted are told. Any thread.
    virtual void settle(std::chrono::milliseconds) const noexcept {}

    /// Whether the far end is up. Any thread.
    virtual bool hasCarrier() const noexcept { return true; }

    /// A wire played on demand delivers some frames by `play` whenever the host reads the port's empty
    /// receive queue, as long as it has any. The port's receive thread.
    virtual bool isPlayedOnDemand() const noexcept { return false; }
    virtual void play() noexcept {}

    /// Lets frames go on that the wire holds back. Any thread.
    virtual void release() noexcept {}

    /// Writes what was recorded to the file; false when that failed. Any thread.
    virtual bool flush() noexcept { return true; }
};

/// Makes the wire of a port; null for kind None. `own` is the port's receiver, `far` that of the cable's
/// other end (null if there is none). Makes a TAP that does not exist. Throws WireError; no file is changed
/// then, but an empty output file may have been made.
std::unique_ptr<Wire> makeWire(const WireSpec& spec, FrameSink& own, FrameSink* far);

} // namespace orvo::sim
