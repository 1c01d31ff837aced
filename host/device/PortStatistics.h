// SPDX-License-Identifier: MIT
#pragma once

#include "device/PluginMessages.h"
#include "device/PortAddress.h"
#include "frames/CaptureOutput.h"
#include "frames/FrameCount.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// What the plug-in counted at one port.
struct PortStatistics {
    PortAddress port;
    std::vector<std::string> lines; ///< as the plug-in logged them; none when they are not available

    /// Its frames and bytes; `direction` is "Send" or "Recv".
    std::optional<FrameCount> count(const std::string& direction) const;
    /// Its number of frames.
    std::optional<std::uint64_t> frames(const std::string& direction) const {
        return numberBehind(direction + " - ", lines);
    }
    /// The number behind "NAME : ".
    std::optional<std::uint64_t> figure(const std::string& name) const {
        return numberBehind(" " + name + " : ", lines);
    }
};

std::string statisticsText(const std::vector<PortStatistics>& statistics);
nlohmann::ordered_json statisticsJson(const std::vector<PortStatistics>& statistics);

/// How a capture file describes the interface of a port.
CaptureOutput::Interface captureInterface(PortAddress port);

} // namespace orvo::host
