// SPDX-License-Identifier: MIT
#include "device/PortStatistics.h"

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
