// SPDX-License-Identifier: MIT
#include "frames/FrameReport.h"

#include "base/Output.h"

#include <fmt/format.h>

namespace orvo::host {

std::string reportLine(const std::string& name, const std::string& value) {
    return fmt::format("{:<10}{}\n", name, value);
}

std::string countLine(const std::string& name, const FrameCount& count, const std::string& where) {
    return reportLine(name,
                      counted(count.frames, "frame") + ", " + counted(count.bytes, "byte") + " " + where);
}

nlohmann::ordered_json jsonOf(const FrameCount& count) {
    return {{"frames", count.frames}, {"bytes", count.bytes}};
}

void Drops::add(const std::string& reason, std::uint64_t frames) {
    if (frames == 0) return;
    entries_.push_back({reason, frames});
    frames_ += frames;
}

std::string Drops::lines() const {
    if (entries_.empty()) return reportLine("dropped", counted(0, "frame"));
    std::string text;
    for (const auto& [reason, frames] : entries_)
        text += reportLine("dropped", counted(frames, "frame") + " " + reason);
    return text;
}

nlohmann::ordered_json Drops::json() const {
    auto reasons = nlohmann::ordered_json::array();
    for (const auto& [reason, frames] : entries_) reasons.push_back({{"reason", reason}, {"frames", frames}});
    return {{"frames", frames_}, {"reasons", std::move(reasons)}};
}

} // namespace orvo::host
