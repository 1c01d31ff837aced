// SPDX-License-Identifier: MIT
// Packets of a stream that were seen to die on their way.
#include "frames/streams/Stream.h"

#include <algorithm>

namespace orvo::host {

void Stream::Deaths::add(std::uint32_t packet, DeathPlace at) {
    auto& place = places.at(static_cast<std::size_t>(at));
    place.packets.reserve();
    areAny = true;
    if (place.packets.add(packet)) ++place.count;
}

bool Stream::Deaths::remove(std::uint32_t packet) noexcept {
    for (std::size_t i = 0; i < deathPlaces; ++i)
        if (places[i].packets.remove(packet)) {
            --places[i].count;
            return static_cast<DeathPlace>(i) == DeathPlace::DamagedFrame;
        }
    return false;
}

bool Stream::Deaths::has(std::uint32_t packet) const noexcept {
    return std::ranges::any_of(places, [&](const Place& place) { return place.packets.has(packet); });
}

void Stream::Deaths::clear() noexcept {
    for (auto& place : places) {
        place.packets.clear();
        place.count = 0;
    }
    areAny = false;
    highest = 0;
    trailer.reset();
}

/// The place of a loss is that of the first copy: later ones change nothing.
bool Stream::addDead(const GigeStreamPacket& packet, DeathPlace place, StreamTime time) {
    const bool isDamaged = place == DeathPlace::DamagedFrame;
    if (packet.isUnavailable() || packet.isResent()) return true;
    auto* const block = isDamaged ? blockOfDamaged(packet, time) : blockOf(packet, time);
    const auto id = packet.packet;
    if (!block || id >= PacketSet::capacity || (isDamaged && id > expectedTrailer(*block))) return false;
    if (!isDamaged) {
        block->deaths.highest = std::max(block->deaths.highest, id);
        if (packet.form == GigeForm::Trailer || packet.form == GigeForm::AllIn) block->deaths.trailer = id;
    }
    if (block->received.has(id)) return !isDamaged;
    if (!block->isEnded && !block->asked.has(id) && !block->deaths.has(id)) block->deaths.add(id, place);
    return true;
}

/// Without those behind the image's last packet, of which nothing is missing.
void Stream::countDeaths(const Deaths& deaths, std::uint32_t end) noexcept {
    constexpr auto most = PacketSet::capacity;
    for (std::size_t i = 0; i < deathPlaces; ++i) {
        const auto& [packets, count] = deaths.places[i];
        if (count == 0) continue;
        figures_.died[i] += count;
        for (auto id = packets.firstIn(end, most); id < most; id = packets.firstIn(id + 1, most))
            --figures_.died[i];
    }
}

} // namespace orvo::host
