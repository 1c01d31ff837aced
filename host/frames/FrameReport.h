// SPDX-License-Identifier: MIT
// Lines and JSON values that the reports on frames share.
#pragma once

#include "frames/FrameCount.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// "NAME      VALUE": one line of a report; values stand in one column.
std::string reportLine(const std::string& name, const std::string& value);

/// "NAME      N frames WHAT".
std::string framesLine(const std::string& name, std::uint64_t frames, const std::string& what = "");

/// "NAME      N frames, N bytes WHERE".
std::string countLine(const std::string& name, const FrameCount& count, const std::string& where);
nlohmann::ordered_json countJson(const FrameCount& count);

std::string durationLine(std::chrono::duration<double> time);

/// Dropped frames by reason; reasons without frames are left out.
class Drops {
public:
    void add(const std::string& reason, std::uint64_t frames);

    std::uint64_t frames() const noexcept { return frames_; }
    std::string lines(const std::string& name = "dropped") const;
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
