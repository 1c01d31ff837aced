// SPDX-License-Identifier: MIT
// Lines and JSON of reports on frames.
#pragma once

#include "frames/FrameCount.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// "NAME      VALUE": a line of a report, with its values in one column.
std::string reportLine(const std::string& name, const std::string& value);

/// "NAME      N frames, N bytes WHERE".
std::string countLine(const std::string& name, const FrameCount& count, const std::string& where);
nlohmann::ordered_json jsonOf(const FrameCount& count);

/// Dropped frames by reason. A reason without frames is left out.
class Drops {
public:
    void add(const std::string& reason, std::uint64_t frames);

    std::uint64_t frames() const noexcept { return frames_; }
    std::string lines() const;
    nlohmann::ordered_json json() const;

private:
    struct Entry {
        std::string reason;
        std::uint64_t frames;
    };
    std::vector<Entry> entries_;
    std::uint64_t frames_ = 0;
};

} // namespace orvo::host
