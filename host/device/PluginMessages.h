// SPDX-License-Identifier: MIT
// What the plug-in's log messages say. Their texts are known here and nowhere else.
#pragma once

#include "device/PortAddress.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::host {

/// What follows the prefix "thread-id=N|PHY Id 'ID': " of a message about the interface `interfaceId`;
/// nothing when the message is about something else.
std::optional<std::string_view> textAbout(std::string_view interfaceId, std::string_view message);

/// Messages that faults cause, or that report a dropped frame.
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

/// Which of them a message about this port is; nothing for any other message.
std::optional<CountedMessage> countedMessage(PortAddress port, std::string_view message);

/// Whether only faults cause it: the account of faults then reports it instead of the console.
bool isCausedByFaultsOnly(CountedMessage message) noexcept;

/// Whether it is a line of the warning, at the opening of a port, that its queues in the firmware hold
/// frames.
bool isFilledQueueWarning(std::string_view message);

/// Whether such a line says that frames were lost there.
bool reportsOverflow(std::string_view message);

/// The number behind `words` in the first line of the plug-in's statistics that has them.
std::optional<std::uint64_t> numberBehind(const std::string& words, const std::vector<std::string>& lines);

struct NamedFigure {
    const char* key; ///< its name in JSON
    std::uint64_t value;
};

/// What the plug-in's statistics count besides the frames moved, in their order. A figure that is missing, or
/// that is no count, as the lost words of a queue that does not tell, is left out.
std::vector<NamedFigure> figuresOf(const std::vector<std::string>& lines);

/// What to do about the reason that the plug-in logged for a port that it could not open.
std::string openingAdvice(const std::string& reason);

} // namespace orvo::host
