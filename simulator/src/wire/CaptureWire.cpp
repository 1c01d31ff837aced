// SPDX-License-Identifier: MIT
// Playing and recording of captures.
#include "wire/CaptureWire.h"

#include "base/Clock.h"

#include <algorithm>

namespace orvo::sim {

namespace {

// Frames played per read of an empty queue: enough for speed, few enough that a host that clears the queue
// loses little of the file.
constexpr int framesAtOnce = 16;

} // namespace

CaptureWire::CaptureWire(const WireSpec& spec, FrameSink& port) : port_(port), reader_(spec.input) {
    if (spec.output.empty()) return;
    std::error_code absent;
    if (std::filesystem::equivalent(spec.input, spec.output, absent))
        throw WireError("capture file '" + spec.output.string() +
                        "' cannot be played and written at once; name another file to write");
    writer_.emplace(spec.output);
}

CaptureWire::~CaptureWire() {
    flush(); // reports an incomplete file here at the latest
}

bool CaptureWire::transmit(WireBytes frame) noexcept {
    return transmitUnsealed(withoutFcs(frame)); // captures hold no check sequences, right or wrong
}

bool CaptureWire::transmitUnsealed(WireBytes content) noexcept {
    if (!writer_) return true;
    const std::lock_guard lock(recording_);
    writer_->write(content, simClock.wallTime());
    return true;
}

void CaptureWire::play() noexcept {
    for (int i = 0; i < framesAtOnce && (i == 0 || port_.hasRoom()); ++i) {
        const auto frame = reader_.next();
        if (!frame) return;
        if (frame->isWhole)
            port_.deliverUnsealed(frame->bytes);
        else
            port_.deliver(frame->bytes.first(std::min(frame->bytes.size(), minWireBytes - 1))); // a fragment
    }
}

bool CaptureWire::flush() noexcept {
    if (!writer_) return true;
    const std::lock_guard lock(recording_);
    return writer_->flush();
}

} // namespace orvo::sim
