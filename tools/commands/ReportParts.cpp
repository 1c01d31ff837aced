// SPDX-License-Identifier: MIT
// Forms of the parts.
#include "commands/ReportParts.h"

#include "app/Output.h"

#include <fmt/format.h>

#include <charconv>

namespace orvo::host {
namespace {

std::optional<std::uint64_t> numberAt(const std::string& line, std::size_t place) {
    std::uint64_t value = 0;
    const auto read = std::from_chars(line.data() + place, line.data() + line.size(), value);
    return read.ec == std::errc{} ? std::optional(value) : std::nullopt;
}

} // namespace

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

CaptureOutput::Interface captureInterface(PortAddress port) {
    return {"orvo-gige " + port.text(),
            fmt::format("frames received at port {} of board {}", port.port, port.board)};
}

std::optional<std::uint64_t> PortStatistics::frames(const std::string& direction) const {
    const auto words = direction + " - ";
    for (const auto& line : lines)
        if (line.starts_with(words)) return numberAt(line, words.size());
    return std::nullopt;
}

std::optional<std::uint64_t> PortStatistics::figure(const std::string& name) const {
    const auto words = " " + name + " : ";
    for (const auto& line : lines)
        if (const auto found = line.find(words); found != std::string::npos)
            return numberAt(line, found + words.size());
    return std::nullopt;
}

std::string textOf(const std::vector<PortStatistics>& statistics) {
    std::string text;
    for (const auto& entry : statistics) {
        text += fmt::format("\nport {}, as counted by the plug-in:\n", entry.port.text());
        if (entry.lines.empty())
            text += "  not to be had: the installation has no log dispatcher that hands it out\n";
        for (const auto& line : entry.lines) text += "  " + line + "\n";
    }
    return text;
}

nlohmann::ordered_json jsonOf(const std::vector<PortStatistics>& statistics) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& entry : statistics)
        list.push_back({{"port", entry.port.text()}, {"lines", entry.lines}});
    return list;
}

} // namespace orvo::host
