// SPDX-License-Identifier: MIT
// The road of a port's events to the framework.
#pragma once

#include <orvo/core/zume/PhysicalNetworkInterfaceEvent.h>
#include <orvo/templates/platform/SynchronizedQueue.h>

#include <boost/shared_ptr.hpp>

#include <atomic>

namespace orvo::core::zume {

/// Events of one port, oldest first, at most 64.
///
/// The port posts, the framework takes from `queue` on threads of its own. A full queue holds the posting
/// thread until an event is taken or the port is stopped, which interrupts `queue` for good.
class ORVO_EXPORT PhysicalNetworkInterfaceEventQueue {
public:
    /// What carries them; the framework is its consumer.
    using Queue = templates::platform::SynchronizedQueue<boost::shared_ptr<PhysicalNetworkInterfaceEvent>>;
    static constexpr std::uint64_t capacity = 64; ///< events that wait at most

    PhysicalNetworkInterfaceEventQueue();
    virtual ~PhysicalNetworkInterfaceEventQueue();
    PhysicalNetworkInterfaceEventQueue(const PhysicalNetworkInterfaceEventQueue&) = delete;
    PhysicalNetworkInterfaceEventQueue& operator=(const PhysicalNetworkInterfaceEventQueue&) = delete;

    /// Posts a PniActionCommandTimeout; waits while the queue is full. Without `enabled`, after an
    /// interruption, or without memory the event is dropped. Never throws. Defined by the plug-in, which
    /// alone posts.
    ORVO_INTERNAL void notifyActionCommandTimeout(unsigned short count) noexcept;

    std::atomic<bool> enabled{false}; ///< the framework's switch: false drops every event
    boost::shared_ptr<Queue> queue;   ///< never null
};

} // namespace orvo::core::zume
