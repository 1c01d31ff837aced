// SPDX-License-Identifier: MIT
// What a program and the server of its boards say to each other over a Unix socket of ordered datagrams
// (SOCK_SEQPACKET): a greeting each, then requests, each answered by one reply.
#pragma once

#include "share/Message.h"

#include <array>
#include <chrono>
#include <cstdint>

namespace orvo::sim {

/// Changes with every change of the entries' list, of messages or of shared memory.
inline constexpr std::uint32_t protocolVersion = 5;
inline constexpr std::array<char, 8> protocolName = {'o', 'r', 'v', 'o', 's', 'i', 'm', '\n'};

/// How long a program waits for an answer before it counts the server as gone.
inline constexpr std::chrono::milliseconds replyLimit{5000};

/// A request: entry and number, then its arguments. A reply: the number, then result and what was written.
enum class EntryId : std::uint32_t {
#define ENTRY(Result, name, gone, parameters, arguments) name,
#define HAND_ENTRY ENTRY
#include "entries/Entries.def"
#undef HAND_ENTRY
#undef ENTRY
    attachBoard, ///< device handle; answer: 0, with the descriptors of the board's page and of a channel
    claimQueue,  ///< device handle, queue number; answer: 0 or an error
    openTap,     ///< board, port; answer: 0, with the descriptor of the listener's ring, or an error
    closeTap,    ///< board, port; answer: 0
};

/// The first message of each side.
struct Greeting {
    static constexpr std::uint32_t refused = 0; ///< the server is full

    std::array<char, 8> name = protocolName;
    std::uint32_t version = protocolVersion;
    std::uint32_t number = 0; ///< of the program, given by the server, or `refused`; 0 from a program

    bool isOurs() const noexcept { return name == protocolName && version == protocolVersion; }
};

} // namespace orvo::sim
