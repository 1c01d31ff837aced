// SPDX-License-Identifier: MIT
// Every counter and state that can be read of a port while other programs use it. All outputs are made from
// this one table.
#pragma once

#include <orvo/sim/orvo_sim.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace orvo::host {

/// In the table's order.
enum class Counter {
    Present,
    LinkUp,
    LinkSpeed,
    ReceivedPackets,
    ReceiveErrors,
    ControlPacketsReceived,
    ControlPacketsQueued,
    StreamFifoOverflow,
    ControlFifoNotEmpty,
    LostWords,
    LostActionWords,
    IdleErrors,
    WireReceivedFrames,
    WireReceivedBytes,
    WireSentFrames,
    WireSentBytes,
    WireUnsentFrames,
    WireIgnoredFrames,
    WireOverflowFrames
};
inline constexpr std::size_t counterCount = 19;

enum class CounterKind {
    State,       ///< the present value
    TroubleFlag, ///< a state that is not 0 when something went wrong
    Count,       ///< only grows
    TroubleCount ///< only grows, and should stay as it is
};

enum class CounterSource { HardwareAccess, Phy, FirmwareRegister, LostWordsOfQueue, SimulatedBoard };

struct CounterRow {
    const char* name; ///< for people
    const char* key;  ///< in JSON
    const char* unit; ///< "": a flag
    CounterKind kind;
    CounterSource source;
    const char* place; ///< where at its source: of a register, its name without the port's number; of a
                       ///< queue, what is added to the port's number
    const char* meaning;
    std::uint64_t OrvoSimPort::*field = nullptr; ///< of a simulated board's port
    unsigned firstQueue = 0;                     ///< of port 0; that of port p is p more

    bool isCount() const { return kind == CounterKind::Count || kind == CounterKind::TroubleCount; }
    bool isTrouble() const { return kind == CounterKind::TroubleFlag || kind == CounterKind::TroubleCount; }
    /// Its name in Prometheus.
    std::string metric() const;
    /// The counter's width, after which it starts again at 0.
    unsigned bits() const { return source == CounterSource::FirmwareRegister ? 32 : 64; }
    /// The most that a port can count in a second: a counter that seems to have grown faster was reset.
    double mostPerSecond() const;
    /// Where it is read; `port` is the port's number or a placeholder.
    std::string sourceOf(const std::string& port) const;
};

extern const std::array<CounterRow, counterCount> counterRows;

inline const CounterRow& rowOf(Counter counter) {
    return counterRows[static_cast<std::size_t>(counter)];
}

/// Calls `visit(Counter, const CounterRow&)` for each counter, in order.
template <class Visit> void forEachCounter(const Visit& visit) {
    for (std::size_t i = 0; i < counterCount; ++i) visit(static_cast<Counter>(i), counterRows[i]);
}

/// The table itself, for people and for programs.
std::string counterTableText();
nlohmann::ordered_json counterTableJson();

} // namespace orvo::host
