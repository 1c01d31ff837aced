// SPDX-License-Identifier: MIT
// A board call as a recording holds it.
#pragma once

#include "device/recording/BlockCodec.h"
#include "device/recording/BoardEntries.h"

#include <map>
#include <string>
#include <vector>

namespace orvo::host {

struct RecordedCall {
    Entry entry;
    unsigned thread;       ///< in the order of the threads' first calls
    std::int64_t begin;    ///< nanoseconds since the recording began
    std::int64_t duration; ///< until the end of the last of `times`
    std::uint64_t times;   ///< identical calls in a row; of a run of writes, its words
    nlohmann::json result; ///< a number, a text, or null; a handle is a number that the recording gave it
    std::vector<nlohmann::json> arguments; ///< likewise; for a pointer, what the call wrote or read there,
                                           ///< null where it wrote nothing

    std::int64_t end() const noexcept { return begin + duration; }
    /// Writes to one register in a row; the last argument holds their values, 16 bits each.
    bool isRun() const { return entry == Entry::OHalRegisterWrite && arguments[2].is_binary(); }
    bool isQueueRead() const noexcept {
        return entry == Entry::OHalDataQueueReadBufferLong || entry == Entry::OHalDataQueueReadBuffer;
    }
    /// A read of a queue that had nothing.
    bool isEmptyRead() const;
    /// How many bytes a read of a queue delivered: as many as it was asked for where its result is 0.
    std::uint64_t deliveredBytes() const;
};

/// Registers by their address, as the applet runtime resolved them.
using RegisterNames = std::map<std::uint64_t, std::string>;

} // namespace orvo::host
