// SPDX-License-Identifier: MIT
// Load on a network: TCP as fast as it goes, and the time of a round trip.
#pragma once

#include <chrono>
#include <string>

namespace orvo::bench {

/// Answers loads at an address of the calling thread's network namespace, on threads of its own, for the rest
/// of the process's life. Errors: std::runtime_error.
void serveLoads(const std::string& address);

/// Loads from the calling thread's network namespace. Errors: std::runtime_error, also when the far end does
/// not answer within seconds.
enum class Direction { ToServer, FromServer };
double tcpBitsPerSecond(const std::string& address, Direction direction, std::chrono::seconds duration);

/// The median round trip of a small datagram.
std::chrono::nanoseconds roundTrip(const std::string& address, int rounds);

/// False when nobody answers within the limit.
bool answers(const std::string& address, std::chrono::seconds limit);

} // namespace orvo::bench
