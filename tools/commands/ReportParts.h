// SPDX-License-Identifier: MIT
// Parts that the reports of several subcommands are made of, as text and as JSON.
#pragma once

#include "board/PortAddress.h"
#include "capture/CaptureOutput.h"
#include "traffic/FrameCount.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// "NAME      VALUE": a line of a report, with its values in one column.
std::string reportLine(const std::string& name, const std::string& value);

/// "NAME      N frames, N bytes WHERE".
std::string countLine(const std::string& name, const FrameCount& count, const std::string& where);
nlohmann::ordered_json jsonOf(const FrameCount& count);

/// Frames that went nowhere, by reason; only reasons that there were.
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
