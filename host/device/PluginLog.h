// SPDX-License-Identifier: MIT
// Receiving the plug-in's log messages.
#pragma once

#include "device/Installation.h"
#include "device/PluginMessages.h"

#include <orvo/tools/logging/DispatcherControl.h>

#include <array>
#include <atomic>
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

    /// Passes the interfaces' messages of `level` and above to `callback`. Returns the subscription, 0 when
    /// there is none.
    std::uint64_t subscribe(std::uint32_t level, OrvoLogCallback callback, void* context) const;
    void unsubscribe(std::uint64_t subscription) const; ///< 0: does nothing

private:
    decltype(&::orvoLogSubscribe) subscribe_ = nullptr;
    decltype(&::orvoLogUnsubscribe) unsubscribe_ = nullptr;
};

/// While it lives, collects the plug-in's messages of one level and keeps them from the console. Messages
/// that nobody took are written to standard error in the end.
class LogCollector {
public:
    LogCollector(const PluginLog& log, LogLevel level);
    ~LogCollector();
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// Stops collecting and returns the messages about the interface `interfaceId`, without their prefix.
    std::vector<std::string> take(const std::string& interfaceId);

    /// Stops collecting and returns all messages as they were logged.
    std::vector<std::string> takeAll();

private:
    static int collect(void* context, const char* loggerName, std::uint32_t level, const char* message);
    void end();

    const PluginLog& log_;
    const LogLevel level_;
    std::vector<std::string> messages_; // written by the callback; read after `end`, which waits for it
    std::uint64_t subscription_;
};

/// While it lives, counts the messages of CountedMessage, and keeps those that only faults cause from the
/// console. Any thread.
class MessageCounter {
public:
    MessageCounter(const PluginLog& log, const std::vector<PortAddress>& ports);
    ~MessageCounter();

    bool available() const noexcept { return subscription_ != 0; }
    /// `port` is one of those given.
    std::uint64_t count(PortAddress port, CountedMessage message) const;

private:
    struct Port {
        PortAddress address;
        std::array<std::atomic<std::uint64_t>, countedMessages> counts{};
    };
    static int take(void* context, const char* loggerName, std::uint32_t level, const char* message);

    const PluginLog& log_;
    std::deque<Port> ports_; // atomics cannot move
    std::uint64_t subscription_ = 0;
};

} // namespace orvo::host
