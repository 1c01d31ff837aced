// SPDX-License-Identifier: MIT
// Which image a packet belongs to, and what the image then is.
#include "frames/streams/Stream.h"

#include <algorithm>

namespace orvo::host {
namespace {

// Of numbers of 64 bits: a greater step is a new beginning. Numbers of 16 bits allow half of their range.
constexpr std::int64_t farthestStep = 1'000'000;
constexpr std::uint64_t firstSequence = 2 * Stream::openImages; // so that none before it is 0

} // namespace

Stream::Stream(Take take) : take_(std::move(take)) {
    damaged_.reserve(keptImages);
    for (auto& block : blocks_) {
        block.received.reserve();
        block.asked.reserve();
    }
}

void Stream::add(const GigeStreamPacket& packet, StreamTime time) {
    ++figures_.packets;
    lastTime_ = time;
    if (packet.isUnavailable()) {
        ++figures_.unavailable;
        auto* const block = find(packet.block);
        if (block && packet.packet < PacketSet::capacity && block->asked.remove(packet.packet))
            --block->asksOpen;
        return;
    }
    if (packet.isResent()) ++figures_.resent;
    if (auto* const block = blockOf(packet, time))
        take(*block, packet, time);
    else
        ++figures_.late;
}

/// From the latest image, in the shorter direction.
std::int64_t Stream::distanceTo(std::uint64_t id) const noexcept {
    if (hasExtendedIds_) return static_cast<std::int64_t>(id - latestId_);
    constexpr auto all = static_cast<std::int64_t>(shortIds);
    const auto forward = (static_cast<std::int64_t>(id) - static_cast<std::int64_t>(latestId_) + all) % all;
    return forward > all / 2 ? forward - all : forward;
}

Stream::Block* Stream::find(std::uint64_t id) noexcept {
    if (latest_ == 0 || (!hasExtendedIds_ && id > shortIds)) return nullptr;
    const auto distance = distanceTo(id);
    if (distance > 0 || distance <= -static_cast<std::int64_t>(openImages)) return nullptr;
    const auto sequence = latest_ + static_cast<std::uint64_t>(distance);
    auto& block = slotOf(sequence);
    return block.sequence == sequence ? &block : nullptr;
}

Stream::Block* Stream::blockOf(const GigeStreamPacket& packet, StreamTime time) {
    if (isRestOfClosed(packet)) return nullptr;
    if (latest_ == 0 || packet.hasExtendedIds != hasExtendedIds_) {
        if (latest_ != 0) ++figures_.restarts;
        endAll(false);
        hasExtendedIds_ = packet.hasExtendedIds;
        return &restart(packet.block, time);
    }
    if (packet.block == latestId_ && packet.form != GigeForm::Leader) return &slotOf(latest_);
    const auto distance = distanceTo(packet.block);
    const bool isFar = distance > farthestStep || distance < -farthestStep || isFirst(packet, distance);
    if (distance > 0 && !isFar) return &advance(distance, packet.block, time);
    auto* const block = find(packet.block);
    const bool isAnew =
        packet.form == GigeForm::Leader && !packet.isResent() && (block ? isNewLeader(*block, packet) : true);
    if (!isAnew && !isFar) return block;
    ++figures_.restarts;
    endAll(false);
    return &restart(packet.block, time);
}

/// The stream was closed in the middle of an image, and the camera sends the rest.
bool Stream::isRestOfClosed(const GigeStreamPacket& packet) const noexcept {
    return latest_ == 0 && figures_.begun != 0 && packet.form != GigeForm::Leader &&
           (packet.block == latestId_ || packet.isResent());
}

/// Streams begin with image 1, which also lies ahead of half of all 16-bit numbers. After an outage, an image
/// has it only once in 65,535 times.
bool Stream::isFirst(const GigeStreamPacket& packet, std::int64_t distance) const noexcept {
    return packet.block == 1 && packet.form == GigeForm::Leader && !packet.isResent() &&
           distance > static_cast<std::int64_t>(openImages);
}

/// The numbers may be wrong, and so begin the next image at most.
Stream::Block* Stream::blockOfDamaged(const GigeStreamPacket& packet, StreamTime time) {
    if (latest_ == 0 || packet.hasExtendedIds != hasExtendedIds_) return nullptr;
    return distanceTo(packet.block) == 1 ? &advance(1, packet.block, time) : find(packet.block);
}

/// The same number again, but another image: the camera has started anew.
bool Stream::isNewLeader(const Block& block, const GigeStreamPacket& packet) const noexcept {
    return block.timestamp && packet.payload.size() >= 12 && big64(packet.payload, 4) != *block.timestamp;
}

Stream::Block& Stream::restart(std::uint64_t id, StreamTime time) {
    latest_ = firstSequence;
    packetBytes_ = 0; // perhaps with another size of packets
    noteBegin(time);
    return begin(latest_, id, time);
}

/// Images between the latest one and the new one get places too: their packets may still come.
Stream::Block& Stream::advance(std::int64_t distance, std::uint64_t id, StreamTime time) {
    const auto target = latest_ + static_cast<std::uint64_t>(distance);
    auto next = latest_ + 1;
    if (static_cast<std::uint64_t>(distance) > openImages) {
        endAll(false);
        const auto images = static_cast<std::uint64_t>(distance) - openImages;
        reportAbsent(idBefore(id, static_cast<std::uint64_t>(distance) - 1), images, time);
        next += images;
    }
    for (; next < target; ++next) begin(next, idBefore(id, target - next), time);
    latest_ = target;
    noteBegin(time);
    return begin(target, id, time);
}

void Stream::noteBegin(StreamTime time) noexcept {
    if (figures_.begun == 0)
        figures_.firstBegin = time;
    else
        figures_.gaps.add(time - figures_.lastBegin);
    figures_.lastBegin = time;
    ++figures_.begun;
}

Stream::Block& Stream::begin(std::uint64_t sequence, std::uint64_t id, StreamTime time) {
    auto& block = slotOf(sequence);
    end(block, false);
    block.sequence = sequence;
    block.id = id;
    block.isEnded = block.isTooLarge = false;
    block.received.clear();
    block.asked.clear();
    block.deaths.clear();
    block.count = block.highest = block.asksOpen = block.recovered = 0;
    block.trailer.reset();
    block.timestamp.reset();
    block.announcedBytes = 0;
    block.begin = block.last = time;
    if (sequence == latest_) latestId_ = id;
    return block;
}

std::uint64_t Stream::idBefore(std::uint64_t id, std::uint64_t steps) const noexcept {
    if (hasExtendedIds_ || id > steps) return id - steps;
    return id + shortIds - steps; // 0 is passed over
}

void Stream::take(Block& block, const GigeStreamPacket& packet, StreamTime time) {
    if (packet.packet >= PacketSet::capacity) {
        ++figures_.beyond;
        block.isTooLarge = !block.isEnded;
    } else if (block.trailer && packet.packet > *block.trailer) {
        ++figures_.beyond;
    } else if (!block.received.add(packet.packet)) {
        ++figures_.doubled;
    } else {
        takeNew(block, packet, time);
    }
}

void Stream::takeNew(Block& block, const GigeStreamPacket& packet, StreamTime time) {
    const bool wasAsked = block.asksOpen != 0 && block.asked.remove(packet.packet);
    if (wasAsked) --block.asksOpen;
    if (wasAsked || packet.isResent()) {
        ++block.recovered;
    } else {
        if (packet.packet < block.highest || block.sequence != latest_) ++figures_.outOfOrder;
        if (block.deaths.areAny && block.deaths.remove(packet.packet)) ++figures_.misread;
        if (block.count != 0) figures_.longestPause = std::max(figures_.longestPause, time - block.last);
        block.last = time;
    }
    ++block.count;
    block.highest = std::max(block.highest, packet.packet);
    takeForm(block, packet);
    if (!block.trailer || block.count != *block.trailer + 1) return;
    figures_.longestImage = std::max(figures_.longestImage, time - block.begin);
    end(block, false);
}

void Stream::takeForm(Block& block, const GigeStreamPacket& packet) {
    switch (packet.form) {
    case GigeForm::Leader:
        block.timestamp = big64(packet.payload, 4);
        if (const auto image = readGigeImage(packet)) {
            block.announcedBytes = image->bytes();
            figures_.width = image->width;
            figures_.height = image->height;
        }
        break;
    case GigeForm::AllIn:
        figures_.bytes += packet.payload.size();
        [[fallthrough]];
    case GigeForm::Trailer:
        block.trailer = block.highest; // none comes behind it
        break;
    default:
        figures_.bytes += packet.payload.size();
        packetBytes_ = std::max(packetBytes_, packet.payload.size());
    }
}

void Stream::ask(const GigeResend& request) noexcept {
    ++figures_.requests;
    auto* const block = find(request.block);
    if (!block || block->isEnded) return;
    const auto last = std::min(request.last, expectedTrailer(*block));
    if (request.first > last) return;
    const auto added = block->asked.addRange(request.first, last, block->received);
    block->asksOpen += added;
    figures_.askedAgain += added;
}

void Stream::finish() {
    endAll(true);
    latest_ = 0;
}

std::vector<EndedImage> Stream::damaged() const {
    auto images = damaged_;
    std::rotate(images.begin(), images.begin() + static_cast<std::ptrdiff_t>(oldest_), images.end());
    return images;
}

} // namespace orvo::host
