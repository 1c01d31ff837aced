// SPDX-License-Identifier: MIT
// Reading of a data queue of a server's board.
#pragma once

#include "share/Remote.h"

#include <chrono>

namespace orvo::sim {

/// One read. While the board works as usual, words come from shared memory, without a call; everything else
/// is the server's to answer.
class RemoteRead {
public:
    RemoteRead(Remote& server, RemoteBoard& board, void* device, unsigned queue) noexcept
        : server_(server), board_(board), device_(device), number_(queue), queue_(board.queue(queue)) {}

    /// As OHalDataQueueReadBufferLong.
    int read(void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs);

private:
    using Clock = std::chrono::steady_clock;

    int claim();
    int readPatiently(std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs);
    std::chrono::milliseconds patience(std::uint32_t timeoutMs) const noexcept;
    void passVirtualTime(std::uint32_t timeoutMs);
    int readNow(std::uint32_t* out, std::size_t words, std::uint32_t leftMs);
    int take(std::uint32_t* out, std::size_t words);
    int ask(void* out, std::size_t words, std::uint32_t leftMs);

    Remote& server_;
    RemoteBoard& board_;
    void* const device_;
    const unsigned number_;
    RemoteQueue* const queue_;
};

} // namespace orvo::sim
