// SPDX-License-Identifier: MIT
// Counting of the plug-in's messages that a fault brings forth, or that tell of a frame dropped.
#pragma once

#include "device/PluginLog.h"
#include "device/PortAddress.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <vector>

namespace orvo::host {

enum class CountedMessage {
    TooLarge,
    UnexpectedValue,
    StillBusy,
    Released,
    KeptBusy,
    ActionReport,
    StillInReset,
};
inline constexpr std::size_t countedMessages = 7;

/// Counts while it lives. Messages that faults alone bring forth stay away from the console. Any thread.
class MessageCounter {
public:
    MessageCounter(const PluginLog& log, const std::vector<PortAddress>& ports);
    ~MessageCounter();
    MessageCounter(const MessageCounter&) = delete;
    MessageCounter& operator=(const MessageCounter&) = delete;

    bool available() const noexcept { return subscription_ != 0; }
    /// Of one of the ports.
    std::uint64_t count(PortAddress port, CountedMessage message) const;

private:
    struct Port {
        PortAddress address;
        std::string id;
        std::string phy; // as messages of the reset call it
        std::array<std::atomic<std::uint64_t>, countedMessages> counts{};
    };
    static int take(void* context, const char* loggerName, std::uint32_t level, const char* message);

    const PluginLog& log_;
    std::deque<Port> ports_; // do not move
    std::uint64_t subscription_ = 0;
};

} // namespace orvo::host
