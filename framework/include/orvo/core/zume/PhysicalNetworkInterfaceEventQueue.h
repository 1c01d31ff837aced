// SPDX-License-Identifier: MIT
// The queue from a port to the framework.
#pragma once

#include <orvo/core/zume/PhysicalNetworkInterfaceEvent.h>
#include <orvo/templates/platform/SynchronizedQueue.h>

#include <boost/shared_ptr.hpp>

#include <atomic>

namespace orvo::core::zume {

/// Events of one port, oldest first.
///
/// The port posts events, and the framework takes them from `queue` on its own threads. When the queue is
/// full, the posting thread waits until an event is taken or the port is stopped, which interrupts `queue`
/// for good.
class ORVO_EXPORT PhysicalNetworkInterfaceEventQueue {
public:
    using Queue = templates::platform::SynchronizedQueue<boost::shared_ptr<PhysicalNetworkInterfaceEvent>>;
    static constexpr std::uint64_t capacity = 64; ///< largest number of waiting events

    PhysicalNetworkInterfaceEventQueue();
    virtual ~PhysicalNetworkInterfaceEventQueue();
    PhysicalNetworkInterfaceEventQueue(const PhysicalNetworkInterfaceEventQueue&) = delete;
    PhysicalNetworkInterfaceEventQueue& operator=(const PhysicalNetworkInterfaceEventQueue&) = delete;

    /// Posts a PniActionCommandTimeout; waits while the queue is full. Drops the event while `enabled` is
    /// false, after an interruption, and without memory. Defined in the plug-in, because only the plug-in
    /// posts.
    ORVO_INTERNAL void notifyActionCommandTimeout(unsigned short count) noexcept;

    std::atomic<bool> enabled{false}; ///< the framework's switch: false drops every event
    boost::shared_ptr<Queue> queue;   ///< never null
};

} // namespace orvo::core::zume
