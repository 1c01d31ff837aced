// SPDX-License-Identifier: MIT
#pragma once

#include "device/PortAddress.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace orvo::host {

/// An event of the plug-in. The time is when this program took it from the port's queue.
struct PortEvent {
    std::chrono::system_clock::time_point time;
    PortAddress port;
    std::uint32_t type;  ///< 8: action command time-out
    std::uint16_t count; ///< of the firmware's report
};

/// "TIME port PORT: TYPE, count N"; the time is UTC, with microseconds.
std::string eventText(const PortEvent& event);
/// A line of its own, with the time in ISO 8601.
std::string eventJsonLine(const PortEvent& event);

/// Enables a port's event queue and takes its events on a thread of its own, so that a full queue never holds
/// the plug-in's thread up for long. It may be made before the port is started, so that no report is missed.
/// The queue is disabled, and nothing more is taken, when this is destroyed; events that were queued before
/// the port's `stop` are still taken by `finish`.
class PortEvents {
public:
    using Take = std::function<void(const PortEvent&)>; ///< on the thread of its own; must not throw

    /// `interface` must outlive it.
    PortEvents(core::zume::PhysicalNetworkInterface& interface, PortAddress port, Take take);
    /// Waits for the thread: 100 ms and the handling of one event at most while the port is running.
    ~PortEvents();
    PortEvents(const PortEvents&) = delete;
    PortEvents& operator=(const PortEvents&) = delete;

    PortAddress port() const noexcept { return port_; }

    /// Call it after the port's `stop`: waits until all events that were queued are taken.
    void finish();

    /// Any thread.
    std::uint64_t count() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
    void takeAll(const std::stop_token& stop) noexcept;

    const boost::shared_ptr<core::zume::PhysicalNetworkInterfaceEventQueue> queue_;
    const PortAddress port_;
    const Take take_;
    std::atomic<std::uint64_t> count_{0}; // written by the thread alone
    std::jthread thread_;
};

} // namespace orvo::host
