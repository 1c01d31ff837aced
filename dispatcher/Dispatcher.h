// SPDX-License-Identifier: MIT
// Loggers by name, the facilities that log through them, and the readers of their messages.
#pragma once

#include "Outputs.h"
#include "Settings.h"
#include "Subscription.h"

#include <orvo/tools/logging/Dispatcher.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace orvo::dispatcher {

/// Connects any number of logging facilities to the outputs and to the host program's subscriptions.
///
/// A facility is told, for each logger, the lowest threshold among its readers. Outputs and subscriptions
/// then apply their own thresholds.
///
/// Threads: every operation from any thread. Two locks, the first before the second: `facilitiesLock_` orders
/// attach, detach and changes of thresholds, and is held while a facility's callback runs, so that none runs
/// after its detach; `stateLock_` guards loggers and subscriptions, is held for moments only, and never while
/// foreign code runs. Messages take only the second.
///
/// Errors: `attach`, `lookup`, `subscribe` and `emit` throw std::bad_alloc; nothing has changed then.
/// Detaching and unsubscribing need no memory.
class Dispatcher {
public:
    explicit Dispatcher(Settings settings);
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    void attach(tools::logging::Logging* facility, tools::logging::DispatcherDetached detached,
                tools::logging::SetLoggerLevel setLevel);
    void detach(tools::logging::Logging* facility);

    /// Tells every facility that the dispatcher is going away, and forgets them.
    void detachAll();

    struct Logger {
        std::uint64_t handle;
        std::uint32_t threshold;
    };
    Logger lookup(const char* name);

    /// An unknown handle counts as the root logger's.
    void emit(std::uint64_t handle, std::uint32_t level, const char* message);

    std::uint64_t subscribe(const char* loggerName, std::uint32_t level, OrvoLogCallback callback,
                            void* context);
    bool unsubscribe(std::uint64_t id);

private:
    struct Entry {
        std::string name;
        std::uint32_t outputThreshold; // of console and log file
        std::uint32_t threshold;       // lowest of all readers, which look-ups answer and facilities are told
        std::unique_ptr<Lines> lines;
    };
    struct Facility {
        tools::logging::DispatcherDetached detached;
        tools::logging::SetLoggerLevel setLevel;
    };
    using Subscriptions = std::map<std::uint64_t, std::shared_ptr<Subscription>>;

    void addEntry(const std::string& name);
    std::uint32_t wantedThreshold(const Entry& entry) const;
    std::optional<std::uint64_t> nextChange(std::uint64_t handle);
    std::uint32_t thresholdOf(std::uint64_t handle);
    void updateThresholds();
    std::shared_ptr<Subscriptions> openSubscriptions() const;
    void forgetEnded() noexcept;
    std::pair<const Entry*, std::shared_ptr<const Subscriptions>> audience(std::uint64_t handle);

    const Settings settings_;
    const Outputs outputs_;

    std::recursive_mutex facilitiesLock_; // recursive: a facility may call back from its callbacks
    std::map<tools::logging::Logging*, Facility> facilities_;

    std::mutex stateLock_;
    std::deque<Entry> entries_; // the handle is the index; entry 0 is the root logger
    std::map<std::string, std::uint64_t, std::less<>> handles_; // by name
    // Replaced as a whole, never changed: messages read it without a lock. May still hold ended ones.
    std::shared_ptr<const Subscriptions> audience_;
    std::uint64_t lastSubscription_ = 0;
};

} // namespace orvo::dispatcher
