// SPDX-License-Identifier: MIT
// Waiting for another thread or process without giving the processor up at once, and sleeping in shared
// memory.
#pragma once

#include <chrono>
#include <cstdint>
#include <thread>

namespace orvo::sim {

inline constexpr std::chrono::microseconds soon{15};     // a full frame at line rate takes 12.3
inline constexpr std::chrono::microseconds wakeTime{15}; // from waking a sleeper until it runs
/// In virtual time, others get this much real time to fill a queue that is being read.
inline constexpr std::chrono::milliseconds virtualPatience{1};

/// Looks for `soon` whether `holds()`.
template <class Holds> bool comesSoon(Holds holds) {
    constexpr int looksAtOnce = 32;
    const auto end = std::chrono::steady_clock::now() + soon;
    do {
        for (int look = 0; look < looksAtOnce; ++look) {
            if (holds()) return true;
#if defined(__x86_64__)
            __builtin_ia32_pause(); // gives the processor core's other thread precedence
#endif
        }
        std::this_thread::yield(); // the thread waited for may need this processor
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

/// Sleeps until `wakeSleepers` while the 32-bit word at `word` is `value`, for at most `limit`; also between
/// processes that map the word, even where one can only read it. May return early.
void sleepOn(const void* word, std::uint32_t value, std::chrono::nanoseconds limit) noexcept;
void wakeSleepers(const void* word) noexcept;

} // namespace orvo::sim
