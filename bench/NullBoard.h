// SPDX-License-Identifier: MIT
// A board that answers from memory, in the plug-in's entry tables: what is left is the plug-in's own cost.
#pragma once

#include <cstdint>

namespace orvo::bench {

/// Fills the entry tables. Reads of receive queue `receiveQueue` deliver the same frame of `frameBytes` bytes
/// (even) again and again; the transmitter is always idle; writes go nowhere.
void useNullBoard(std::uint32_t receiveQueue, std::uint32_t frameBytes);

} // namespace orvo::bench
