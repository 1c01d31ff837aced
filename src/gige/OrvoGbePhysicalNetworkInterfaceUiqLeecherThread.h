// SPDX-License-Identifier: MIT
#pragma once

#include "platform/SimpleThread.h"

#include <atomic>
#include <cstdint>

namespace orvo::core::zume {

class OrvoGbePhysicalNetworkInterface;

/// Drains an interface's action command queue: makes one pass after the other until it is asked to stop,
/// which it notices within 200 ms unless a pass waits on a full event queue. Names itself "UiqAct/" board "-"
/// port.
class OrvoGbePhysicalNetworkInterfaceUiqLeecherThread : public templates::platform::SimpleThread {
public:
    static constexpr std::uint32_t actionCommandQueueKind = 0; // the only kind there is

    /// `owner` is the interface whose queue is drained; it outlives the thread.
    OrvoGbePhysicalNetworkInterfaceUiqLeecherThread(OrvoGbePhysicalNetworkInterface* owner,
                                                    std::uint32_t queueKind, std::uint32_t boardId,
                                                    std::uint32_t portId);
    ~OrvoGbePhysicalNetworkInterfaceUiqLeecherThread() override;

    void run() override;

    /// Called by any thread; cannot be undone.
    void requestStop() { stopRequested_ = true; }

private:
    OrvoGbePhysicalNetworkInterface* owner_;
    std::uint32_t queueKind_;
    std::atomic<bool> stopRequested_{false};
    std::uint32_t boardId_;
    std::uint32_t portId_;
};

} // namespace orvo::core::zume
