// Playing and recording of captures.
#include "CaptureWire.h"

#include "Clock.h"

#include <algorithm>
#include <array>

namespace orvo::sim {

namespace {

// Frames per reading of an empty queue: enough to make it worth the while, few enough that the host can clear
// the queue without losing much of the file.
constexpr int framesAtOnce = 16;

} // namespace

CaptureWire::CaptureWire(const WireSpec& spec, FrameSink& port) : port_(port), reader_(spec.input) {
    if (spec.output.empty()) return;
    std::error_code absent;
    if (std::filesystem::equivalent(spec.input, spec.output, absent))
        throw WireError("capture file '" + spec.output.string() + "' cannot be played and written at once");
    writer_.emplace(spec.output);
}

CaptureWire::~CaptureWire() {
    flush(); // a file that is incomplete is reported here at the latest
}

void CaptureWire::plugged() noexcept {
    if (writer_) writer_->begin();
}

void CaptureWire::transmit(WireBytes frame) noexcept {
    if (!writer_) return;
    const std::lock_guard lock(recording_);
    writer_->write(withoutFcs(frame), simClock.wallTime());
}

void CaptureWire::play() noexcept {
    for (int i = 0; i < framesAtOnce && (i == 0 || port_.hasRoom()); ++i) {
        const auto frame = reader_.next();
        if (!frame) return;
        playFrame(*frame);
    }
}

void CaptureWire::playFrame(const CaptureReader::Frame& frame) noexcept {
    std::array<std::uint8_t, maxWireBytes + 1> buffer{};
    if (!frame.isWhole || frame.bytes.size() > maxFrameBytes) {
        port_.deliver(buffer); // longer than any good frame: the receiver counts an error
        return;
    }
    std::copy(frame.bytes.begin(), frame.bytes.end(), buffer.begin());
    const std::size_t wireBytes = sealFrame(buffer.data(), frame.bytes.size());
    port_.deliver(WireBytes(buffer).first(wireBytes));
}

bool CaptureWire::flush() noexcept {
    if (!writer_) return true;
    const std::lock_guard lock(recording_);
    return writer_->flush();
}

} // namespace orvo::sim
