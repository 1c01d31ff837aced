// SPDX-License-Identifier: MIT
// What other processes see of a board without asking: memory that they can only read.
#pragma once

#include "base/Counter.h"
#include "config/Configuration.h"
#include "mac/QueueWindow.h"
#include "mac/Transmitter.h"

#include <orvo/sim/orvo_sim.h>

#include <array>
#include <atomic>
#include <cstdint>

namespace orvo::sim {

inline constexpr unsigned firstActionQueue = 8;
inline constexpr unsigned queuesPerPort = 2; // of received frames, and of action command reports

struct PortPage {
    std::uint32_t registers = 0;            ///< register bits of the port
    std::atomic<std::uint32_t> isPlayed{0}; ///< the wire delivers when the empty queue is read
    Transmitter::Shown transmitter;
    std::atomic<std::uint32_t> lineMbit{0}; ///< frames take the time on the wire of this speed; 0: none
    SharedCounter receiveErrors;            ///< GigeRecvErrCnt, which a host may read with every frame
    std::array<std::uint64_t, queuesPerPort> windows{}; ///< of the queues, in bytes from the page; 0: none
};

struct BoardPage {
    alignas(64) std::atomic<std::uint32_t> troubles{0}; ///< as in the board's condition
    std::atomic<int> clock{OrvoSimRealTime};
    std::uint32_t ports = 0;
    std::uint64_t bytes = 0; ///< of the page, with all queues
    std::array<PortPage, maxPorts> port{};

    /// Queues work as usual, so that a reader need not ask.
    bool isPlain() const noexcept {
        return troubles.load(std::memory_order_relaxed) == 0 &&
               clock.load(std::memory_order_relaxed) == OrvoSimRealTime;
    }
    QueueWindow* window(unsigned number, unsigned kind) noexcept {
        const auto offset = port[number].windows[kind];
        return offset != 0 ? reinterpret_cast<QueueWindow*>(reinterpret_cast<std::byte*>(this) + offset)
                           : nullptr;
    }
};

} // namespace orvo::sim
