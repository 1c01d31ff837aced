// SPDX-License-Identifier: MIT
// What a port is plugged to: the interface of all wires.
#pragma once

#include "wire/WireFrame.h"
#include "wire/WireSpec.h"

#include <memory>

namespace orvo::sim {

/// What became of a frame that reached a port.
enum class Arrival { Queued, Ignored, Broken, Overflow };

/// A port's receiver, as wires see it. Any thread.
class FrameSink {
public:
    virtual Arrival deliver(WireBytes frame) noexcept = 0;
    /// A frame whose check sequence is known to be right and was left out, as padding may be: where nobody
    /// needs the sequence, nobody computes it.
    virtual Arrival deliverUnsealed(WireBytes content) noexcept = 0;
    /// Frames of unknown length came, but were lost before they could be delivered.
    virtual void countLost(std::uint64_t frames) noexcept = 0;
    /// True while there is room for a frame of any size.
    virtual bool hasRoom() const noexcept = 0;

protected:
    ~FrameSink() = default;
};

/// A port, as a wire whose far end comes and goes sees it.
class LinkListener {
public:
    /// Has the port's link follow what `Wire::hasCarrier` says now. False, and to be tried again, while
    /// somebody is at work on the bench, who may be waiting for the caller.
    virtual bool farEndChanged() noexcept = 0;

protected:
    ~LinkListener() = default;
};

/// Made when the port is cabled, destroyed when it is unplugged. A wire with a life of its own (a thread that
/// delivers into the port) begins it in `plugged` and ends it in its destructor.
class Wire {
public:
    Wire() = default;
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;
    virtual ~Wire() = default;

    /// Called once, when the wire before this one is gone and before anything is transmitted.
    /// The listener outlives the wire.
    virtual void plugged(LinkListener&) noexcept {}

    /// The port sends a frame, which may be one that no receiver accepts. False when it could not leave. The
    /// port's sender thread.
    virtual bool transmit(WireBytes frame) noexcept = 0;
    /// The same for a padded frame whose check sequence is right and was left out.
    virtual bool transmitUnsealed(WireBytes content) noexcept = 0;

    /// Whether somebody is at the far end. Any thread.
    virtual bool hasCarrier() const noexcept { return true; }

    /// A wire that is played on demand is asked for frames when the host reads the port's empty receive
    /// queue. `play` delivers some, or none when there are no more. The port's receive thread.
    virtual bool isPlayedOnDemand() const noexcept { return false; }
    virtual void play() noexcept {}

    /// Lets go on what the wire holds back. Any thread.
    virtual void release() noexcept {}

    /// Brings what was recorded to the file; false when the file could not take it. Any thread.
    virtual bool flush() noexcept { return true; }
};

/// Makes the wire of a port; null for a port with none. `own` is the port's receiver, `far` that of the
/// cable's other end (null if there is none). Throws WireError; no file has been changed then, though an
/// empty output file may have been made. A TAP that is not there is made.
std::unique_ptr<Wire> makeWire(const WireSpec& spec, FrameSink& own, FrameSink* far);

} // namespace orvo::sim
