// SPDX-License-Identifier: MIT
#pragma once

#include "device/WaitingFrames.h"
#include "frames/TapDevice.h"

#include <offload/FrameJoin.h>

#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace orvo::host {

/// Gives the host the frames of a port. Those of one TCP stream that wait already leave by one write, as one
/// joined frame; none is kept until another arrives. One thread.
class Delivery {
public:
    using Bytes = std::span<const std::uint8_t>;
    /// What became of frames of these bytes together; without a reason, the host has taken them.
    using Tell = std::function<void(std::optional<TapDrop> reason, std::size_t frames, std::size_t bytes)>;

    /// `tap` must outlive it. Without `waiting`, each frame is written by itself.
    Delivery(const TapDevice& tap, std::unique_ptr<WaitingFrames> waiting, Tell tell);

    /// Writes the frame, or keeps it where the next one waits in the port's queue.
    void take(Bytes frame);
    /// Writes what is kept: call it when the next frame did not come.
    void flush();
    /// Also releases the device.
    void pause();

private:
    bool keep(Bytes frame, bool anotherWaits) noexcept;
    void write(Bytes frame);

    const TapDevice& tap_;
    const std::unique_ptr<WaitingFrames> waiting_;
    const Tell tell_;
    const std::unique_ptr<offload::FrameJoin> kept_;
    std::size_t keptBytes_ = 0;
};

} // namespace orvo::host
