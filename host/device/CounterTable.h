// SPDX-License-Identifier: MIT
// Everything that can be read of a port while others use it, as the one table that every output is made of.
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
    State,       ///< as it is now
    TroubleFlag, ///< the same, and not 0 when something went wrong
    Count,       ///< only grows
    TroubleCount ///< only grows, and should not
};

enum class CounterSource { HardwareAccess, Phy, FirmwareRegister, LostWordsOfQueue, SimulatedBoard };
const char* textOf(CounterSource source);

struct CounterRow {
    const char* name;   ///< to people
    const char* key;    ///< in JSON
    const char* metric; ///< of Prometheus
    const char* unit;   ///< "": a flag
    CounterKind kind;
    CounterSource source;
    const char* place; ///< where at its source; of a register, the name before the port's number, of a queue,
                       ///< "" or what is added to that
    const char* meaning;
    std::uint64_t OrvoSimPort::*field = nullptr; ///< of a simulated board's port
    unsigned firstQueue = 0;                     ///< of port 0; that of port p is p more

    bool isCount() const { return kind == CounterKind::Count || kind == CounterKind::TroubleCount; }
    bool isTrouble() const { return kind == CounterKind::TroubleFlag || kind == CounterKind::TroubleCount; }
    /// How many bits it counts with before it begins again at 0.
    unsigned bits() const;
    /// More than this does not pass a port in a second: what seems to have grown faster began anew.
    double mostPerSecond() const;
    /// Where it is read; `port` is the port's number, or a word that stands for it.
    std::string sourceOf(const std::string& port) const;
};

extern const std::array<CounterRow, counterCount> counterRows;

inline const CounterRow& rowOf(Counter counter) {
    return counterRows[static_cast<std::size_t>(counter)];
}

/// Calls `visit(Counter, const CounterRow&)` for all of them, in order.
template <class Visit> void forEachCounter(const Visit& visit) {
    for (std::size_t i = 0; i < counterCount; ++i) visit(static_cast<Counter>(i), counterRows[i]);
}

/// The table for people and for programs: names, units, meanings, sources.
std::string textOfCounterTable();
nlohmann::ordered_json jsonOfCounterTable();

} // namespace orvo::host
