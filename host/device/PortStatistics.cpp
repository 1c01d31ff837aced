// SPDX-License-Identifier: MIT
#include "device/PortStatistics.h"

#include "frames/FrameReport.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

nlohmann::ordered_json portJson(const PortStatistics& statistics) {
    nlohmann::ordered_json entry = {{"port", statistics.port.text()}};
    for (const auto& [name, direction] : {std::pair("sent", "Send"), std::pair("received", "Recv")})
        if (const auto count = statistics.count(direction)) entry[name] = countJson(*count);
    for (const auto& [key, value] : figuresOf(statistics.lines)) entry[key] = value;
    return entry;
}

} // namespace

std::optional<FrameCount> PortStatistics::count(const std::string& direction) const {
    for (const auto& line : lines) {
        const auto frames = numberBehind(direction + " - ", {line});
        const auto bytes = numberBehind(" frames (", {line});
        if (frames && bytes) return FrameCount{*frames, *bytes};
    }
    return std::nullopt;
}

std::string statisticsText(const std::vector<PortStatistics>& statistics) {
    std::string text;
    for (const auto& entry : statistics) {
        text += fmt::format("\nport {}, as counted by the plug-in:\n", entry.port.text());
        if (entry.lines.empty())
            text += "  not available: this installation's log dispatcher does not provide it\n";
        for (const auto& line : entry.lines) text += "  " + line + "\n";
    }
    return text;
}

nlohmann::ordered_json statisticsJson(const std::vector<PortStatistics>& statistics) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& entry : statistics) list.push_back(portJson(entry));
    return list;
}

CaptureOutput::Interface captureInterface(PortAddress port) {
    return {"orvo-gige " + port.text(),
            fmt::format("frames received at port {} of board {}", port.port, port.board)};
}

} // namespace orvo::host
