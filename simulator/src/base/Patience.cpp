// SPDX-License-Identifier: MIT
#include "base/Patience.h"

#include <climits>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orvo::sim {

void sleepOn(const void* word, std::uint32_t value, std::chrono::nanoseconds limit) noexcept {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
    const timespec span{seconds.count(), (limit - seconds).count()};
    syscall(SYS_futex, word, FUTEX_WAIT, value, &span, nullptr, 0);
}

void wakeSleepers(const void* word) noexcept {
    syscall(SYS_futex, word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

} // namespace orvo::sim
