// SPDX-License-Identifier: MIT
#include "frames/FrameReport.h"

#include "base/Output.h"

#include <fmt/format.h>

namespace orvo::host {

std::string reportLine(const std::string& name, const std::string& value) {
    return fmt::format("{:<10}{}\n", name, value);
}

std::string framesLine(const std::string& name, std::uint64_t frames, const std::string& what) {
    return reportLine(name, counted(frames, "frame") + (what.empty() ? "" : " " + what));
}

std::string countLine(const std::string& name, const FrameCount& count, const std::string& where) {
    return reportLine(name,
                      counted(count.frames, "frame") + ", " + counted(count.bytes, "byte") + " " + where);
}

nlohmann::ordered_json countJson(const FrameCount& count) {
    return {{"frames", count.frames}, {"bytes", count.bytes}};
}

std::string durationLine(std::chrono::duration<double> time) {
    return reportLine("duration", fmt::format("{:.3f} s", time.count()));
}

void Drops::add(const std::string& reason, std::uint64_t frames) {
    if (frames == 0) return;
    entries_.push_back({reason, frames});
    frames_ += frames;
}

std::string Drops::lines(const std::string& name) const {
    if (entries_.empty()) return framesLine(name, 0);
    std::string text;
    for (const auto& [reason, frames] : entries_) text += framesLine(name, frames, reason);
    return text;
}

nlohmann::ordered_json Drops::json() const {
    auto reasons = nlohmann::ordered_json::array();
    for (const auto& [reason, frames] : entries_) reasons.push_back({{"reason", reason}, {"frames", frames}});
    return {{"frames", frames_}, {"reasons", std::move(reasons)}};
}

} // namespace orvo::host
