// SPDX-License-Identifier: MIT
#pragma once

#include "frames/FrameCount.h"
#include "frames/Interface.h"
#include "frames/TapDevice.h"

#include <cstdint>
#include <optional>

namespace orvo::host {

struct BridgeRequest;

/// The bridge's TAP, with its address and link, and the frames of the host that its queue had no room for.
class TapEnd {
public:
    /// `request` must outlive it. Errors: as TapDevice.
    explicit TapEnd(const BridgeRequest& request);
    ~TapEnd(); ///< removes the address if it added it
    TapEnd(const TapEnd&) = delete;
    TapEnd& operator=(const TapEnd&) = delete;

    TapDevice& device() noexcept { return device_; }

    /// Gives it its address, and sets its link up, as asked for. Errors: Failure.
    void setUp();
    /// After the TAP went and came back. A failure is told.
    void setUpAgain();

    /// Reads the kernel's count of frames without room. The count ends with the interface: what was added
    /// after the last reading is then unknown.
    void observe();
    /// Any thread.
    std::uint64_t lostFrames() const noexcept { return lost_.value(); }

private:
    const BridgeRequest& request_;
    TapDevice device_;
    bool addressAdded_ = false; // and so to be removed in the end
    std::optional<UnsentFrames> seen_;
    LiveCounter lost_;
};

} // namespace orvo::host
