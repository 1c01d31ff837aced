// SPDX-License-Identifier: MIT
// Carries one program's frames for one port from its ring into the port's transmitter.
#pragma once

#include "board/Board.h"
#include "share/Channel.h"

#include <atomic>
#include <thread>

namespace orvo::sim {

/// The server's end of a ring: takes frames as they are, whatever the program writes. Threads: one.
class RingReader {
public:
    RingReader(Board& board, unsigned port, TransmitRing& ring) noexcept
        : board_(board), port_(port), ring_(ring) {}

    /// Sends what was published.
    void carry() noexcept;
    /// Leaves a frame that was begun in the port's transmit buffer.
    void leave() noexcept;
    bool hasFrames() const noexcept { return ring_.published.load(std::memory_order_seq_cst) != consumed_; }
    std::uint32_t consumed() const noexcept { return consumed_; }

private:
    Board& board_;
    const unsigned port_;
    TransmitRing& ring_;
    std::uint32_t consumed_ = 0; // the ring's copy of it is the program's to read, and may lie
};

/// A thread of its own, so that programs and ports do not wait for each other. Whatever the program writes
/// into the ring, it can only send wrong frames of its own.
class TransmitPump {
public:
    TransmitPump(Board& board, unsigned port, TransmitRing& ring);
    /// Sends what was published, and leaves a frame that was begun in the port's transmit buffer.
    ~TransmitPump();
    TransmitPump(const TransmitPump&) = delete;
    TransmitPump& operator=(const TransmitPump&) = delete;

private:
    void run() noexcept;
    void awaitFrames() noexcept;
    bool hasWork() const noexcept;

    TransmitRing& ring_;
    RingReader reader_; // the thread's
    bool framesKeepComing_ = true;
    std::atomic<bool> isEnding_{false};
    std::atomic<bool> hasEnded_{false};
    std::thread thread_;
};

/// What a slot holds, each number read once and in its bounds.
struct SlotContent {
    explicit SlotContent(const TransmitSlot& slot) noexcept;
    bool begins;
    std::size_t units;
    std::array<std::uint8_t, Transmitter::bufferBytes> bytes; ///< a copy that the program cannot change
    std::size_t count = 0;                                    ///< of bytes
    std::span<const std::uint8_t> content() const noexcept { return std::span(bytes).first(count); }
};

} // namespace orvo::sim
