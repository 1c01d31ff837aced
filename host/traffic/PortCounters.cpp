// SPDX-License-Identifier: MIT
#include "traffic/PortCounters.h"

#include "base/Failure.h"

namespace orvo::host {

PortCounters::PortCounters(const BoardAccess& access, PortAddress port)
    : access_(access), port_(port), history_(port, 1) {
    read();
}

PortTroubles PortCounters::troubles() {
    const std::scoped_lock lock(mutex_);
    read();
    return troublesOf(history_);
}

void PortCounters::letGo() {
    const std::scoped_lock lock(mutex_);
    read();
    sampler_.reset();
}

void PortCounters::finish() {
    const std::scoped_lock lock(mutex_);
    read();
    sampler_.reset();
    isFinished_ = true;
}

/// A board that does not answer is tried again the next time.
void PortCounters::read() {
    if (isFinished_) return;
    try {
        if (!sampler_) sampler_.emplace(access_, SamplerOptions{.board = port_.board});
        for (const auto& [port, sample] : sampler_->take())
            if (port == port_) history_.add(sample);
    } catch (const Failure&) {
        sampler_.reset();
    }
}

} // namespace orvo::host
