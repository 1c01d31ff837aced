// SPDX-License-Identifier: MIT
// A named logger of the plug-in's logging facility.
#pragma once

#include <orvo/Export.h>

#include <atomic>
#include <cstdint>
#include <memory>

namespace orvo::tools::logging {

/// One named logger: answers whether a message would pass, and forwards the finished text to the dispatcher.
///
/// Levels and thresholds are those of LogLevel.h. Loggers belong to the logging facility and live until the
/// plug-in's last de-initialisation. Threads: every operation may be called from any thread.
class ORVO_EXPORT Logger {
public:
    Logger(std::uint64_t handle, std::uint32_t threshold); ///< both as the dispatcher gives them
    virtual ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// True when `level` passes and the calling thread is not muted.
    bool isEnabled(std::uint32_t level);

    /// Forwards `message` (NUL-terminated; the dispatcher copies it before the call returns) whatever its
    /// level is: callers ask `isEnabled` first. `a` and `b` are passed on unchanged; pass 0.
    void log(std::uint32_t level, const char* message, std::uint32_t a, std::uint64_t b);

    void setLevel(std::uint32_t threshold); ///< the lowest level that passes from now on

    /// Mutes (false) or unmutes (true) this logger for the calling thread; returns whether it was unmuted
    /// before.
    bool setThreadEnabled(bool enabled);

private:
    friend class LogLine;

    /// The first half of `isEnabled`, inline, because most lines are refused.
    bool passes(std::uint32_t level) const noexcept {
        // Relaxed: no other memory changes together with the threshold.
        return threshold_.load(std::memory_order_relaxed) <= level;
    }

    struct D;
    std::atomic<std::uint32_t> threshold_;
    std::unique_ptr<D> d_;
};

} // namespace orvo::tools::logging
