// SPDX-License-Identifier: MIT
// Receiving the plug-in's log messages.
#pragma once

#include "device/Installation.h"
#include "device/PluginMessages.h"

#include <orvo/tools/logging/DispatcherControl.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace orvo::host {

/// The log dispatcher's levels.
enum LogLevel : std::uint32_t { DetailLevel = 2, InformationLevel, WarningLevel, ErrorLevel };

/// Access to the messages that the installation's log dispatcher distributes.
class PluginLog {
public:
    /// Without a dispatcher, or with one that offers no subscriptions, nothing is received.
    /// Errors: Failure when the dispatcher's library is unusable.
    explicit PluginLog(const Installation& installation);

    bool available() const noexcept { return subscribe_ != nullptr; }

private:
    friend class LogSubscription;

    decltype(&::orvoLogSubscribe) subscribe_ = nullptr;
    decltype(&::orvoLogUnsubscribe) unsubscribe_ = nullptr;
};

/// While it lives, passes the interfaces' messages of `level` and above to `callback`.
class LogSubscription {
public:
    LogSubscription(const PluginLog& log, LogLevel level, OrvoLogCallback callback, void* context);
    ~LogSubscription() { end(); }
    LogSubscription(const LogSubscription&) = delete;
    LogSubscription& operator=(const LogSubscription&) = delete;

    bool isOpen() const noexcept { return id_ != 0; } ///< false where nothing is received
    void end();                                       ///< waits for a callback that runs

private:
    const PluginLog& log_;
    std::uint64_t id_;
};

/// While it lives, collects the plug-in's messages of one level and keeps them from the console. Messages
/// that nobody took are written to standard error in the end.
class LogCollector {
public:
    LogCollector(const PluginLog& log, LogLevel level);
    ~LogCollector();

    /// Stops collecting and returns the messages about the interface `interfaceId`, without their prefix.
    std::vector<std::string> take(const std::string& interfaceId);

    /// Stops collecting and returns all messages as they were logged.
    std::vector<std::string> takeAll();

private:
    static int collect(void* context, const char* loggerName, std::uint32_t level, const char* message);

    const LogLevel level_;
    std::vector<std::string> messages_; // written by the callback, read after the subscription has ended
    LogSubscription subscription_;      // last: its callback uses the others
};

struct LoggedMessage {
    double seconds; ///< since the log began
    std::uint32_t level;
    std::string text;
};

/// "   1.234 s  warning  TEXT"
std::string messageText(const LoggedMessage& message);

/// While it lives, keeps every message of the interfaces. They still appear on the console.
class RunLog {
public:
    explicit RunLog(const PluginLog& log);

    /// Ends the subscription and returns the messages.
    std::vector<LoggedMessage> take();

private:
    static int keep(void* context, const char* loggerName, std::uint32_t level, const char* message);

    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::vector<LoggedMessage> messages_; // written in the callback, read after the subscription has ended
    LogSubscription subscription_;        // last
};

/// While it lives, counts the messages of CountedMessage, and keeps those that only faults cause from the
/// console. Any thread.
class MessageCounter {
public:
    MessageCounter(const PluginLog& log, const std::vector<PortAddress>& ports);

    bool available() const noexcept { return subscription_.isOpen(); }
    /// `port` is one of those given.
    std::uint64_t count(PortAddress port, CountedMessage message) const;

private:
    struct Port {
        explicit Port(PortAddress place) : address(place) {}

        const PortAddress address;
        std::array<std::atomic<std::uint64_t>, countedMessages> counts{};
    };
    static int take(void* context, const char* loggerName, std::uint32_t level, const char* message);

    std::deque<Port> ports_;       // atomics cannot move
    LogSubscription subscription_; // last
};

} // namespace orvo::host
