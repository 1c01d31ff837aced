// SPDX-License-Identifier: MIT
#include "device/PortStatistics.h"

#include <fmt/format.h>

namespace orvo::host {

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
    for (const auto& entry : statistics)
        list.push_back({{"port", entry.port.text()}, {"lines", entry.lines}});
    return list;
}

CaptureOutput::Interface captureInterface(PortAddress port) {
    return {"orvo-gige " + port.text(),
            fmt::format("frames received at port {} of board {}", port.port, port.board)};
}

} // namespace orvo::host
