// SPDX-License-Identifier: MIT
// A wire that plays a capture file towards its port, and records what the port transmits.
#pragma once

#include "wire/CaptureFile.h"
#include "wire/Wire.h"

#include <mutex>

namespace orvo::sim {

class CaptureWire final : public Wire {
public:
    CaptureWire(const WireSpec& spec, FrameSink& port);
    ~CaptureWire() override;

    bool transmit(WireBytes frame) noexcept override;
    bool transmitUnsealed(WireBytes content) noexcept override;
    bool isPlayedOnDemand() const noexcept override { return true; }
    void play() noexcept override;
    bool flush() noexcept override;

private:
    FrameSink& port_;
    CaptureReader reader_; // the receive thread's
    std::mutex recording_; // the sender's thread writes, any thread flushes
    std::optional<CaptureWriter> writer_;
};

} // namespace orvo::sim
