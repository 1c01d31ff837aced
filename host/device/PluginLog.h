// SPDX-License-Identifier: MIT
// Messages of the plug-in that the program shows in its own words or place.
#pragma once

#include "device/Installation.h"

#include <orvo/tools/logging/DispatcherControl.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::host {

/// The installation's log dispatcher, as far as it lets a host program read messages.
class PluginLog {
public:
    /// An installation without dispatcher, or with one that offers no subscriptions, is fine: nothing is
    /// collected then.
    explicit PluginLog(const Installation& installation);

    bool available() const noexcept { return subscribe_ != nullptr; }

    /// Has the interfaces' messages of `level` and above handed to `callback`; 0 when they are not to be had.
    std::uint64_t subscribe(std::uint32_t level, OrvoLogCallback callback, void* context) const;
    void unsubscribe(std::uint64_t subscription) const; ///< 0: does nothing

private:
    decltype(&::orvoLogSubscribe) subscribe_ = nullptr;
    decltype(&::orvoLogUnsubscribe) unsubscribe_ = nullptr;
};

/// While it lives, collects the plug-in's messages of one level and keeps them from the console; those of
/// higher levels go there as ever. What a collector has collected and nobody took is written to standard
/// error in the end.
class LogCollector {
public:
    /// `level`: 2 detail, 3 information, 4 warning, 5 error.
    LogCollector(const PluginLog& log, std::uint32_t level);
    ~LogCollector();
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// Ends the collecting and hands out the messages about the interface `interfaceId` without their prefix.
    std::vector<std::string> take(const std::string& interfaceId);

    /// Ends the collecting and hands everything out as it was logged.
    std::vector<std::string> takeAll();

private:
    static int collect(void* context, const char* loggerName, std::uint32_t level, const char* message);
    void end();

    const PluginLog& log_;
    const std::uint32_t level_;
    std::vector<std::string> messages_; // written in the callback; read after `end`, which waits for it
    std::uint64_t subscription_;
};

/// What follows the prefix "thread-id=N|PHY Id 'ID': " of a message about the interface `interfaceId`;
/// nothing when the message is about something else.
std::optional<std::string_view> textAbout(std::string_view interfaceId, std::string_view message);

} // namespace orvo::host
