// SPDX-License-Identifier: MIT
// A port's transmitter: the buffer that the host writes, and the way onto the wire.
#pragma once

#include "base/Counter.h"
#include "mac/Line.h"
#include "mac/PortGate.h"
#include "wire/Wire.h"
#include "wire/WireTap.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace orvo::sim {

/// Threads: the buffer and `transmit` belong to the port's sender thread; everything else any. Without a line
/// rate a frame takes no time on the wire, and the transmitter is busy only while the far end receives it.
class Transmitter {
public:
    static constexpr std::size_t bufferBytes = 2048;

    /// What other programs see of it.
    struct Shown {
        std::atomic<std::int64_t> busyUntil{0};      ///< in nanoseconds of the steady clock
        std::atomic<std::uint32_t> crcGeneration{1}; ///< 0: frames bring their check sequence
    };
    /// `shown` outlives it.
    Transmitter(const PortGate& gate, Shown& shown, TapPlace& tap) noexcept
        : gate_(gate), shown_(shown), tap_(tap), line_(shown.busyUntil) {}

    void begin() noexcept {
        writesBefore_.add(units_.load(std::memory_order_relaxed) + 1);
        units_.store(0, std::memory_order_relaxed);
    }

    /// Appends 16 bits, first byte low. A frame with more than the buffer holds is not sent.
    void append(std::uint64_t unit) noexcept {
        const auto at = units_.load(std::memory_order_relaxed);
        const auto bytes = static_cast<std::uint16_t>(unit);
        if (at < bufferBytes / 2) std::memcpy(buffer_.data() + 2 * at, &bytes, sizeof bytes);
        units_.store(at + 1, std::memory_order_relaxed);
    }

    /// The same for many: `units` were appended, of which `bytes` are those that have room in an empty
    /// buffer.
    void load(bool begins, std::span<const std::uint8_t> bytes, std::size_t units) noexcept {
        if (begins) begin();
        const auto at = units_.load(std::memory_order_relaxed);
        const auto room = bufferBytes - 2 * std::min(at, bufferBytes / 2);
        std::memcpy(buffer_.data() + bufferBytes - room, bytes.data(), std::min(bytes.size(), room));
        units_.store(at + units, std::memory_order_relaxed);
    }

    /// Sends the frame in the buffer, which stays there.
    void transmit() noexcept;

    bool isBusy() const noexcept {
        return (turns_.load(std::memory_order_relaxed) & 1) != 0 || line_.isBusy();
    }
    void nap() const noexcept { line_.nap(); }
    Line& line() noexcept { return line_; }

    void setCrcGeneration(bool on) noexcept {
        shown_.crcGeneration.store(on ? 1 : 0, std::memory_order_relaxed);
    }
    bool crcGeneration() const noexcept { return shown_.crcGeneration.load(std::memory_order_relaxed) != 0; }

    /// Sends to `wire` from now on (null: nowhere); returns when the wire before carries no frame any more.
    /// One thread at a time.
    void setWire(Wire* wire) noexcept;

    /// Frames that the wire took before have left, or could not. The wire's thread.
    void countPosted(std::uint64_t frames, std::uint64_t bytes) noexcept {
        postedFrames_.add(frames);
        postedBytes_.add(bytes);
    }
    void countUnsent(std::uint64_t frames) noexcept { unsentFrames_.add(frames); }

    std::uint64_t sentFrames() const noexcept { return sentFrames_.value() + postedFrames_.value(); }
    std::uint64_t sentBytes() const noexcept { return sentBytes_.value() + postedBytes_.value(); }
    std::uint64_t unsentFrames() const noexcept { return unsentFrames_.value(); }
    void presetCounters(std::uint64_t value) noexcept {
        sentFrames_.set(value);
        sentBytes_.set(value);
        unsentFrames_.set(value);
        postedFrames_.set(0);
        postedBytes_.set(0);
    }
    /// Writes of the buffer's three registers.
    std::uint64_t writes() const noexcept {
        return writesBefore_.value() + units_.load(std::memory_order_relaxed);
    }

private:
    WireBytes padded(std::size_t bytes, std::size_t leastBytes) noexcept;
    bool send() noexcept;
    OrvoSimFate sendFrame(WireBytes frame, bool addsFcs, bool canPost) noexcept;

    const PortGate& gate_;
    Shown& shown_;
    TapPlace& tap_;
    Line line_;
    std::atomic<Wire*> wire_{nullptr};
    std::atomic<std::uint64_t> turns_{0}; // odd while a frame is being sent

    alignas(64) std::atomic<std::size_t> units_{0}; // written since the frame began; may exceed the buffer
    Counter writesBefore_;                          // register writes that units_ does not count
    Counter sentFrames_;
    Counter sentBytes_;
    SharedCounter unsentFrames_;
    Counter postedFrames_; // sent by the wire's own thread, which writes these two
    Counter postedBytes_;
    alignas(64) std::array<std::uint8_t, bufferBytes> buffer_{};
};

} // namespace orvo::sim
