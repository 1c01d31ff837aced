// SPDX-License-Identifier: MIT
// A host program's subscription to messages.
#pragma once

#include <orvo/tools/logging/DispatcherControl.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace orvo::dispatcher {

/// A callback, the messages that it is for, and the lock under which it runs. The dispatcher shares it with
/// threads that may be delivering a message while the subscription ends.
class Subscription {
public:
    /// `loggerName` null: every logger.
    Subscription(const char* loggerName, std::uint32_t level, OrvoLogCallback callback, void* context);

    std::uint32_t level() const noexcept { return level_; }
    bool covers(const std::string& loggerName) const;

    /// Calls the callback unless the subscription has ended, the level is too low or the logger another.
    /// Returns whether the callback keeps the message from the console.
    bool deliver(const std::string& loggerName, std::uint32_t level, const char* message);

    /// No callback begins after this. False when the subscription had already ended.
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
