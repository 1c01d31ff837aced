// SPDX-License-Identifier: MIT
// How an image of a stream ended, and which packets it lacks.
#include "frames/streams/Stream.h"

#include <algorithm>

namespace orvo::host {

/// Where the trailer did not come: as with the image before, unless the leader announced another size.
std::uint32_t Stream::expectedTrailer(const Block& block) const noexcept {
    constexpr std::uint64_t most = PacketSet::capacity - 1;
    if (block.trailer) return *block.trailer;
    if (block.deaths.trailer) return *block.deaths.trailer;
    std::uint64_t expected = usualTrailer_;
    if (block.announcedBytes != usualBytes_ && block.announcedBytes != 0 && packetBytes_ != 0)
        expected = (block.announcedBytes + packetBytes_ - 1) / packetBytes_ + 1;
    const auto highest = std::max(block.highest, block.deaths.highest);
    const std::uint64_t least = block.count == 0 && highest == 0 ? 0 : highest + std::uint64_t{1};
    return static_cast<std::uint32_t>(std::min(std::max(expected, least), most));
}

/// `isLast`: nothing follows.
void Stream::end(Block& block, bool isLast) {
    if (block.sequence == 0 || block.isEnded) return;
    block.isEnded = true;
    const bool isCutOff = isLast && block.sequence == latest_ && !block.trailer && !block.deaths.trailer;
    const auto packets =
        (isCutOff ? std::max(block.highest, block.deaths.highest) : expectedTrailer(block)) + 1;
    EndedImage image;
    image.block = image.lastBlock = block.id;
    image.packets = packets;
    image.recovered = block.recovered;
    image.begin = block.begin;
    if (block.isTooLarge) {
        image.end = ImageEnd::TooLarge;
    } else {
        image.missing = packets - block.count;
        image.end = block.count == 0       ? ImageEnd::Absent
                    : !block.trailer       ? ImageEnd::NeverEnded
                    : image.missing != 0   ? ImageEnd::Incomplete
                    : block.recovered != 0 ? ImageEnd::Recovered
                                           : ImageEnd::Complete;
        nameMissing(block, packets, image);
        countDeaths(block.deaths, packets);
    }
    if (block.trailer) {
        usualTrailer_ = *block.trailer;
        if (block.announcedBytes != 0) usualBytes_ = block.announcedBytes;
    }
    figures_.neverAnswered += block.asksOpen;
    report(image);
}

void Stream::endAll(bool isLast) {
    for (auto sequence = latest_ - std::min<std::uint64_t>(latest_, openImages - 1); sequence <= latest_;
         ++sequence)
        if (auto& block = slotOf(sequence); block.sequence == sequence) {
            end(block, isLast);
            block.sequence = 0;
        }
}

void Stream::nameMissing(const Block& block, std::uint32_t end, EndedImage& image) const noexcept {
    auto unnamed = image.missing;
    for (std::uint32_t from = 0; unnamed != 0 && image.rangeCount < EndedImage::mostRanges;) {
        const auto first = block.received.firstOutside(from, end);
        from = block.received.firstIn(first, end);
        image.ranges[image.rangeCount++] = {first, from - 1};
        unnamed -= from - first;
    }
    image.unnamed = unnamed;
}

/// Of images that no packet came from, only the number is known; each should have as many packets as the
/// others.
void Stream::reportAbsent(std::uint64_t id, std::uint64_t images, StreamTime time) {
    EndedImage image;
    image.block = id;
    image.images = images;
    image.lastBlock = hasExtendedIds_ ? id + images - 1 : (id + images - 2) % shortIds + 1;
    image.end = ImageEnd::Absent;
    image.packets = std::uint64_t{usualTrailer_} + 1;
    image.missing = images * image.packets;
    image.ranges[0] = {0, usualTrailer_};
    image.rangeCount = 1;
    image.begin = time;
    report(image);
}

void Stream::report(const EndedImage& image) {
    figures_.images[static_cast<std::size_t>(image.end)] += image.images;
    figures_.missing += image.missing;
    figures_.recovered += image.recovered;
    if (image.missing + image.recovered != 0) figures_.lossyImages += image.images;
    if (!image.isWhole()) {
        if (damaged_.size() < keptImages) {
            damaged_.push_back(image);
        } else {
            damaged_[oldest_] = image;
            oldest_ = (oldest_ + 1) % keptImages;
        }
    }
    if (take_) take_(image);
}

} // namespace orvo::host
