// SPDX-License-Identifier: MIT
// Lets frames from outside the simulation arrive no faster than the link carries them.
#pragma once

#include "mac/Line.h"
#include "wire/Wire.h"

namespace orvo::sim {

/// Threads: the wire's.
template <class Port> class PacedSink final : public FrameSink {
public:
    explicit PacedSink(Port& port) noexcept : port_(port) {}

    void setMbit(unsigned mbit) noexcept { line_.setMbit(mbit); }

    OrvoSimFate deliver(WireBytes frame) noexcept override {
        pass(frame.size());
        return port_.sink().deliver(frame);
    }
    OrvoSimFate deliverUnsealed(WireBytes content) noexcept override {
        pass(content.size() + fcsBytes);
        return port_.sink().deliverUnsealed(content);
    }
    void countLost(std::uint64_t frames) noexcept override { port_.sink().countLost(frames); }
    bool hasRoom() const noexcept override { return !line_.isBusy() && port_.sink().hasRoom(); }

private:
    void pass(std::size_t wireBytes) noexcept {
        if (!line_.hasRate()) return;
        line_.await();
        line_.occupy(wireBytes);
    }
    Port& port_; // whose sink changes with its faults
    std::atomic<std::int64_t> until_{0};
    Line line_{until_};
};

} // namespace orvo::sim
