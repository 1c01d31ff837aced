// SPDX-License-Identifier: MIT
// The lines that an exercise prints.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

namespace orvo::host {

/// Prints lines at once. Any thread: the plug-in's own one logs, too.
class ExerciseLines {
public:
    void add(const std::string& text);

    /// A sleep of the plug-in while a recording answers. Those of one length in a row become one line.
    void addSleep(std::uint64_t microseconds);

    /// From now on, short sleeps may wait for the plug-in's thread; they vary, and are left out.
    void noteThread() noexcept { isAlone_ = false; }
    /// Whether the plug-in has no thread.
    bool isAlone() const noexcept { return isAlone_; }

private:
    void putSleeps();

    std::mutex mutex_;
    std::atomic<bool> isAlone_{true};
    std::pair<std::uint64_t, std::size_t> sleep_{}; // the last one: its length, and the calls before it
    std::uint64_t sleeps_ = 0;                      // such in a row
};

} // namespace orvo::host
