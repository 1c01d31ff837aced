// SPDX-License-Identifier: MIT
// What the plug-in counted at a port, for reports and captures.
#pragma once

#include "device/PortAddress.h"
#include "frames/CaptureOutput.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// What a capture file says of frames received at a port.
CaptureOutput::Interface captureInterface(PortAddress port);

/// What the plug-in counted at one port.
struct PortStatistics {
    PortAddress port;
    std::vector<std::string> lines; ///< as the plug-in wrote them; none: it does not hand them out

    /// Its number of frames "Send" or "Recv"; nothing when there is none.
    std::optional<std::uint64_t> frames(const std::string& direction) const;
    /// The figure behind "NAME : ".
    std::optional<std::uint64_t> figure(const std::string& name) const;
};

std::string textOf(const std::vector<PortStatistics>& statistics);
nlohmann::ordered_json jsonOf(const std::vector<PortStatistics>& statistics);

} // namespace orvo::host
