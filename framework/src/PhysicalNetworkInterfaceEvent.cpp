// SPDX-License-Identifier: MIT
// Events of a port and the queue that carries them; only the posting side lives in the plug-in.
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

namespace orvo::core::zume {

PhysicalNetworkInterfaceEvent::~PhysicalNetworkInterfaceEvent() = default;

PniActionCommandTimeout::~PniActionCommandTimeout() = default;

PhysicalNetworkInterfaceEventQueue::PhysicalNetworkInterfaceEventQueue() : queue(new Queue(capacity)) {}

PhysicalNetworkInterfaceEventQueue::~PhysicalNetworkInterfaceEventQueue() = default;

} // namespace orvo::core::zume
