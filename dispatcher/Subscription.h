// SPDX-License-Identifier: MIT
// One host program's wish to receive messages itself.
#pragma once

#include <orvo/tools/logging/DispatcherControl.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace orvo::dispatcher {

/// A subscription and the lock under which its callback runs. Shared by the dispatcher and by threads that
/// are delivering a message while it is being ended.
class Subscription {
public:
    /// `loggerName` null: every logger.
    Subscription(const char* loggerName, std::uint32_t level, OrvoLogCallback callback, void* context);

    std::uint32_t level() const noexcept { return level_; }
    bool covers(const std::string& loggerName) const;

    /// Calls the callback, unless the subscription was ended or the level is too low; returns whether the
    /// callback wants the message kept from the console.
    bool deliver(const std::string& loggerName, std::uint32_t level, const char* message);

    /// No callback begins after this; false when the subscription had ended before.
    bool end() noexcept { return !ended_.exchange(true); }
    bool hasEnded() const noexcept { return ended_; }

    /// Waits for a running callback, except when called from inside it.
    void awaitCallback();

private:
    const std::optional<std::string> loggerName_;
    const std::uint32_t level_;
    const OrvoLogCallback callback_;
    void* const context_;
    std::recursive_mutex running_; // recursive: a callback may end its own subscription
    std::atomic<bool> ended_{false};
};

} // namespace orvo::dispatcher
