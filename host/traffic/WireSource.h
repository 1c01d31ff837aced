// SPDX-License-Identifier: MIT
// The frames of a port's cable, in both directions, as a capture takes them.
#pragma once

#include "device/CableTap.h"
#include "frames/CaptureOutput.h"
#include "frames/FrameReport.h"
#include "traffic/Capture.h"

#include <array>

namespace orvo::host {

/// What passed a cable during a capture.
struct WireCounts {
    FrameCount received, sent; ///< check sequences included; with those that died in the board
    CableTap::Missed missed;   ///< not among them
    Drops died;
};

class WireSource final : public FrameSource {
public:
    /// `tap` must outlive it.
    explicit WireSource(const CableTap& tap) : tap_(tap) {}

    /// The interfaces of a file with such frames.
    static std::vector<CaptureOutput::Interface> interfaces(PortAddress port);

    std::optional<OutputFrame> next() override;
    std::optional<OutputFrame> left() override;
    void end(FrameOutput& output) override;

    /// After the end.
    const WireCounts& counts() const noexcept { return counts_; }

private:
    std::optional<OutputFrame> take(std::chrono::milliseconds limit);
    void count(const OrvoSimTapFrame& frame);

    const CableTap& tap_;
    std::array<std::uint8_t, 2052> bytes_{}; // the longest that a tap hands over
    WireCounts counts_;
    std::array<std::array<std::uint64_t, OrvoSimNotTaken + 1>, 2> byFate_{}; // received, sent
    bool hasYielded_ = false;
    unsigned leftFrames_ = 0;
};

} // namespace orvo::host
