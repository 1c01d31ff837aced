// SPDX-License-Identifier: MIT
#include "wire/WireTap.h"

#include "base/Clock.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <thread>

namespace orvo::sim {

/// Sequentially consistent with the destructor of the tap: either it sees this user, or this user sees that
/// the tap is gone.
WireTap* TapSeat::enter() noexcept {
    if (!tap_.load(std::memory_order_relaxed)) return nullptr;
    users_.fetch_add(1, std::memory_order_seq_cst);
    WireTap* const tap = tap_.load(std::memory_order_seq_cst);
    if (!tap) leave();
    return tap;
}

void TapPlace::countMissed(std::uint64_t frames) noexcept {
    if (!isTapped()) return;
    for (auto& seat : seats_)
        if (WireTap* const tap = seat.enter()) {
            tap->countMissed(TapDirection::Received, frames);
            seat.leave();
        }
}

WireTap::WireTap(TapPlace& place)
    : place_(place),
      memory_(MappedMemory::shareable("orvo-tap", sizeof(TapRing), MappedMemory::Access::ReadWrite)) {
    new (memory_.data()) TapRing{}; // touches every page now, which frames would have to wait for later
}

std::unique_ptr<WireTap> WireTap::at(TapPlace& place) {
    if (place.listeners_.load(std::memory_order_relaxed) == TapPlace::seats) return nullptr; // saves memory
    std::unique_ptr<WireTap> made(new WireTap(place));
    return made->sit() ? std::move(made) : nullptr;
}

/// False where all seats are taken.
bool WireTap::sit() noexcept {
    for (auto& seat : place_.seats_) {
        WireTap* none = nullptr;
        if (!seat.tap_.compare_exchange_strong(none, this, std::memory_order_seq_cst)) continue;
        seat_ = &seat;
        place_.listeners_.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    return false;
}

WireTap::~WireTap() {
    if (!seat_) return;
    place_.listeners_.fetch_sub(1, std::memory_order_relaxed);
    seat_->tap_.store(nullptr, std::memory_order_seq_cst);
    while (seat_->users_.load(std::memory_order_seq_cst) != 0) std::this_thread::yield();
}

WireTap::Open WireTap::open(TapDirection direction, WireBytes frame, std::size_t bytes,
                            bool isSealed) noexcept {
    const auto kept = frame.first(std::min(frame.size(), TapRing::mostKeptBytes));
    TapPosition at;
    std::int64_t time = 0;
    if (!reserve(TapRing::unitsOf(kept.size()), at, time)) {
        countMissed(direction, 1);
        return {};
    }
    copyIn(at.units, kept);
    TapSlot& slot = ring().slot[at.frames % TapRing::slots];
    slot.firstUnit = at.units;
    slot.time = time;
    slot.bytes = static_cast<std::uint32_t>(bytes);
    slot.keptBytes = static_cast<std::uint16_t>(kept.size());
    slot.direction = direction;
    slot.isSealed = isSealed ? 1 : 0;
    return {&slot, at.frames + 1};
}

/// The time is read between the load and the exchange, so that times have the order of the records. There is
/// no room only where the position is still the last one: the listener may have passed an older one.
bool WireTap::reserve(std::uint32_t units, TapPosition& at, std::int64_t& time) noexcept {
    at = next_.load(std::memory_order_relaxed);
    bool hasRoom = false;
    do {
        hasRoom = this->hasRoom(at, units);
        if (hasRoom) time = simClock.wallTime().count();
    } while (!next_.compare_exchange_weak(at, hasRoom ? TapPosition{at.frames + 1, at.units + units} : at,
                                          std::memory_order_relaxed));
    return hasRoom;
}

bool WireTap::hasRoom(TapPosition at, std::uint32_t units) noexcept {
    const auto fits = [&](TapPosition taken) {
        return at.frames - taken.frames < TapRing::slots && at.units + units - taken.units <= TapRing::units;
    };
    if (fits(seenTaken_.load(std::memory_order_acquire))) return true;
    const auto taken = ring().taken.load(std::memory_order_acquire); // what is overwritten now was copied out
    seenTaken_.store(taken, std::memory_order_release);
    return fits(taken);
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the ring
void WireTap::copyIn(std::uint32_t unit, WireBytes frame) noexcept {
    auto& content = ring().content;
    const std::size_t at = unit % TapRing::units * TapRing::unitBytes;
    const std::size_t untilWrap = std::min(frame.size(), content.size() - at);
    std::memcpy(content.data() + at, frame.data(), untilWrap);
    if (untilWrap < frame.size())
        std::memcpy(content.data(), frame.data() + untilWrap, frame.size() - untilWrap);
}

void WireTap::close(const Open& record, OrvoSimFate fate) noexcept {
    if (!record.slot) return;
    record.slot->fate = static_cast<std::uint8_t>(fate);
    record.slot->number.store(record.number, std::memory_order_release);
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the ring
void WireTap::countMissed(TapDirection direction, std::uint64_t frames) noexcept {
    ring().missed[static_cast<std::size_t>(direction)].fetch_add(frames, std::memory_order_relaxed);
}

void TapRecord::begin(TapPlace& place, TapDirection direction, WireBytes frame, std::size_t bytes,
                      bool isSealed) noexcept {
    place_ = &place;
    for (std::size_t i = 0; i < entered_.size(); ++i) {
        TapSeat& seat = place.seats_[i];
        WireTap* const tap = seat.enter();
        entered_[i].seat = tap ? &seat : nullptr;
        if (tap) entered_[i].record = tap->open(direction, frame, bytes, isSealed);
    }
}

void TapRecord::finish(OrvoSimFate fate) noexcept {
    for (const auto& [seat, record] : entered_)
        if (seat) {
            WireTap::close(record, fate);
            seat->leave();
        }
}

} // namespace orvo::sim
