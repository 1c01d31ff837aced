// SPDX-License-Identifier: MIT
// Why a board may answer differently from usual: one word, so that the usual path makes one test.
#pragma once

#include <atomic>
#include <cstdint>

namespace orvo::sim {

enum class Trouble : std::uint32_t {
    Gone = 1,         // the board was removed
    NoApplet = 2,     // its FPGA holds no applet
    CalledFaults = 4, // single calls armed faults, and some are left
    Script = 8        // a fault script is at work
};

/// Any thread. A call that runs during a change sees the old or the new condition.
class BoardCondition {
public:
    /// `published` always has the same value, for other processes.
    explicit BoardCondition(std::atomic<std::uint32_t>& published) noexcept : published_(published) {}

    void set(Trouble trouble, bool on) noexcept {
        const auto bit = static_cast<std::uint32_t>(trouble);
        for (auto* const word : {&troubles_, &published_})
            on ? word->fetch_or(bit, std::memory_order_relaxed)
               : word->fetch_and(~bit, std::memory_order_relaxed);
    }
    bool isGood() const noexcept { return troubles_.load(std::memory_order_relaxed) == 0; }
    bool has(Trouble trouble) const noexcept {
        return (troubles_.load(std::memory_order_relaxed) & static_cast<std::uint32_t>(trouble)) != 0;
    }

private:
    std::atomic<std::uint32_t> troubles_{0}; // the board's own, on a cache line with what it reads anyway
    std::atomic<std::uint32_t>& published_;
};

} // namespace orvo::sim
