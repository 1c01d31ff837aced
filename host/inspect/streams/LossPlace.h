// SPDX-License-Identifier: MIT
// Where packets of streams were lost, concluded from the port's own counters of the same time.
#pragma once

#include "frames/streams/StreamAccount.h"
#include "inspect/watch/PortHistory.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

/// By how much a port's counters rose while the streams were followed; nothing: unknown.
struct PortTroubles {
    std::optional<std::uint64_t> overflowFrames; ///< the receive queue had no room for them
    std::optional<std::uint64_t> lostWords;      ///< of that queue; real boards know only these
    std::optional<std::uint64_t> receiveErrors;  ///< damaged, mostly by the cable
    std::optional<std::uint64_t> ignoredFrames;  ///< while there was no link
    // Known where the fate of each frame is
    std::uint64_t receiverOffFrames = 0;
    std::uint64_t unsentFrames = 0;
    std::uint64_t damagedOthers = 0; ///< as of StreamsReport
    std::uint64_t unseenFrames = 0;  ///< that passed, but were not read

    bool areKnown() const noexcept { return receiveErrors && (overflowFrames || lostWords); }
};
PortTroubles troublesOf(const PortHistory& history);
/// The same, exactly, of streams whose frames' fates are known, but for `unseenFrames`.
PortTroubles troublesOf(const StreamsReport& report, std::uint64_t unseenFrames);

/// One sentence, without a full stop.
std::string lossSentence(const StreamsReport& report, const PortTroubles& troubles);

/// The part of a report about streams, with the sentence at its end; empty without streams.
std::string streamsSection(const StreamsReport& report, const PortTroubles& troubles);
nlohmann::ordered_json streamsSectionJson(const StreamsReport& report, const PortTroubles& troubles);

} // namespace orvo::host
