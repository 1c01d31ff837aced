// SPDX-License-Identifier: MIT
// One program's shared memory with one board, on the server's side.
#pragma once

#include "base/MappedMemory.h"
#include "share/Channel.h"
#include "share/TransmitPump.h"

#include <array>
#include <memory>

namespace orvo::sim {

/// Threads: the one that serves the program.
class Attachment {
public:
    /// Throws std::system_error when there is no memory or no thread.
    explicit Attachment(Board& board);
    /// Ends claims, and sends what the program has written.
    ~Attachment();
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;

    int pageDescriptor() const noexcept { return board_.memory().descriptor(); }
    int channelDescriptor() const noexcept { return memory_.descriptor(); }

    /// Makes program number `reader` the one that reads the queue. False where there is no such queue.
    bool claim(unsigned queue, std::uint32_t reader);
    void releaseQueues();

private:
    Channel& channel() noexcept { return *reinterpret_cast<Channel*>(memory_.data()); }
    ReaderPlace& place(unsigned queue) noexcept;

    Board& board_;
    MappedMemory memory_;
    std::array<std::unique_ptr<TransmitPump>, maxPorts> pumps_;
};

} // namespace orvo::sim
