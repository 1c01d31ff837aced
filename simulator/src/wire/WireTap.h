// SPDX-License-Identifier: MIT
// The board's side of listening at a port's cable.
#pragma once

#include "base/MappedMemory.h"
#include "wire/TapRing.h"

#include <orvo/sim/orvo_sim.h>

#include <array>
#include <memory>

namespace orvo::sim {

class WireTap;

/// Where one listener attaches to a port.
class TapSeat {
public:
    /// The tap, which stays until `leave`; null when there is none, without a `leave` then. Any thread.
    WireTap* enter() noexcept;
    void leave() noexcept { users_.fetch_sub(1, std::memory_order_release); }

private:
    friend WireTap;
    std::atomic<WireTap*> tap_{nullptr};
    alignas(64) std::atomic<std::uint32_t> users_{0};
};

/// Where listeners attach to a port. Frames without a listener cost one relaxed load.
class TapPlace {
public:
    static constexpr std::size_t seats = 4; ///< each listener costs a copy of every frame

    bool isTapped() const noexcept { return listeners_.load(std::memory_order_relaxed) != 0; }
    /// Frames of unknown content were lost before the port. Any thread.
    void countMissed(std::uint64_t frames) noexcept;

private:
    friend WireTap;
    friend class TapRecord;
    std::atomic<std::uint32_t> listeners_{0};
    std::array<TapSeat, seats> seats_;
};

/// A listener's ring. Records are in the order in which frames began to pass, also where many threads carry
/// frames. Nothing waits for the listener: a frame that finds no room is counted as missed.
class WireTap {
public:
    /// Null where the place has no seat left. Throws std::system_error without memory.
    static std::unique_ptr<WireTap> at(TapPlace& place);
    /// Returns once no thread writes a record any more. Later frames see that nobody listens; each of those
    /// that are passing ends by itself, at the latest where an interface has had no room for a second.
    ~WireTap();
    WireTap(const WireTap&) = delete;
    WireTap& operator=(const WireTap&) = delete;

    int descriptor() const noexcept { return memory_.descriptor(); }
    TapRing& ring() const noexcept { return *reinterpret_cast<TapRing*>(memory_.data()); }

    /// A record of a frame whose fate is not known yet.
    struct Open {
        TapSlot* slot; ///< null: missed
        std::uint32_t number;
    };
    /// `bytes` is the frame's length, of which `frame` may be the beginning. Any thread, inside `enter`.
    Open open(TapDirection direction, WireBytes frame, std::size_t bytes, bool isSealed) noexcept;
    static void close(const Open& record, OrvoSimFate fate) noexcept;
    void countMissed(TapDirection direction, std::uint64_t frames) noexcept;

private:
    explicit WireTap(TapPlace& place);
    bool reserve(std::uint32_t units, TapPosition& at, std::int64_t& time) noexcept;
    bool hasRoom(TapPosition at, std::uint32_t units) noexcept;
    void copyIn(std::uint32_t unit, WireBytes frame) noexcept;
    bool sit() noexcept;

    TapPlace& place_;
    TapSeat* seat_ = nullptr; // null: there was none
    MappedMemory memory_;
    alignas(64) std::atomic<TapPosition> next_{TapPosition{}};
    std::atomic<TapPosition> seenTaken_{TapPosition{}}; // read anew only when it does not suffice
};

/// One frame's records, from its passing until its fate is known; nothing where nobody listens.
class TapRecord {
public:
    TapRecord(TapPlace& place, TapDirection direction, WireBytes frame, bool isSealed) noexcept
        : TapRecord(place, direction, frame, frame.size(), isSealed) {}
    TapRecord(TapPlace& place, TapDirection direction, WireBytes frame, std::size_t bytes,
              bool isSealed) noexcept {
        if (place.isTapped()) [[unlikely]]
            begin(place, direction, frame, bytes, isSealed);
    }
    TapRecord(const TapRecord&) = delete;
    TapRecord& operator=(const TapRecord&) = delete;

    bool isOpen() const noexcept { return place_ != nullptr; }

    /// To be called once. Returns `fate`.
    OrvoSimFate end(OrvoSimFate fate) noexcept {
        if (place_) [[unlikely]]
            finish(fate);
        return fate;
    }

private:
    [[gnu::noinline]] void begin(TapPlace& place, TapDirection direction, WireBytes frame, std::size_t bytes,
                                 bool isSealed) noexcept;
    [[gnu::noinline]] void finish(OrvoSimFate fate) noexcept;

    struct Entered {
        TapSeat* seat; // inside which this is; null: none listens there
        WireTap::Open record;
    };
    TapPlace* place_ = nullptr;
    std::array<Entered, TapPlace::seats> entered_; // filled where there is a place
};

} // namespace orvo::sim
