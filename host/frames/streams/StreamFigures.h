// SPDX-License-Identifier: MIT
// What is known of a stream: its images one by one as they end, and its sums.
#pragma once

#include "frames/OutputFrame.h"
#include "frames/streams/GapSpread.h"

#include <array>
#include <compare>
#include <cstdint>

namespace orvo::host {

/// Nanoseconds from an arbitrary start.
using StreamTime = std::int64_t;

/// Where a stream goes from and to; IPv4.
struct StreamEnds {
    std::uint32_t camera = 0, host = 0;
    std::uint16_t port = 0; ///< UDP, at the host

    auto operator<=>(const StreamEnds&) const = default;
};

/// How an image ended. A block that is something else than an image counts as one, too.
enum class ImageEnd : std::uint8_t {
    Complete,   ///< every packet came
    Recovered,  ///< every packet came, some only after they were asked for again
    Incomplete, ///< it has a trailer, and lacks packets
    NeverEnded, ///< its trailer did not come
    Absent,     ///< its number was passed over: no packet came
    TooLarge    ///< it has more packets than are followed
};
inline constexpr std::size_t imageEnds = 6;
const char* imageEndText(ImageEnd end) noexcept;

struct PacketRange {
    std::uint32_t first, last;
    bool operator==(const PacketRange&) const = default;
};

struct EndedImage {
    std::uint64_t block = 0;
    std::uint64_t images = 1;    ///< of absent ones: how many in a row, from `block` on
    std::uint64_t lastBlock = 0; ///< of these; numbers may have wrapped around
    ImageEnd end{};
    std::uint64_t packets = 0;   ///< that it should have, leader and trailer included
    std::uint64_t missing = 0;   ///< of all `images`
    std::uint64_t recovered = 0; ///< lost, then sent again
    StreamTime begin = 0;        ///< its first packet; of an absent one, the one that showed its absence

    static constexpr std::size_t mostRanges = 32;
    std::array<PacketRange, mostRanges> ranges{}; ///< missing packets, in order
    std::size_t rangeCount = 0;
    std::uint64_t unnamed = 0; ///< missing packets behind these ranges

    bool isWhole() const noexcept { return end == ImageEnd::Complete || end == ImageEnd::Recovered; }
};

struct StreamFigures {
    std::array<std::uint64_t, imageEnds> images{}; ///< by ImageEnd
    std::uint64_t packets = 0;                     ///< that came, of every kind
    std::uint64_t bytes = 0;                       ///< of their payloads, without repetitions
    std::uint64_t missing = 0;                     ///< never came
    std::uint64_t recovered = 0;                   ///< came, marked as resent or after a request
    std::uint64_t lossyImages = 0;                 ///< images with packets of either kind
    std::array<std::uint64_t, deathPlaces> died{}; ///< of both kinds, where they were seen to die
    std::uint64_t doubled = 0;
    std::uint64_t outOfOrder = 0;
    std::uint64_t resent = 0;      ///< marked so by the camera
    std::uint64_t unavailable = 0; ///< answers that the camera no longer has a packet
    std::uint64_t requests = 0;    ///< to send packets again
    std::uint64_t askedAgain = 0;  ///< missing packets in these requests
    std::uint64_t neverAnswered = 0;
    std::uint64_t restarts = 0; ///< the numbers of images began anew
    // Given up
    std::uint64_t late = 0;       ///< packets of images that were closed before
    std::uint64_t unreadable = 0; ///< datagrams to the stream's port in another form
    std::uint64_t beyond = 0;     ///< packets with impossible numbers
    std::uint64_t misread = 0;    ///< damaged packets that bore the number of another one

    StreamTime firstBegin = 0, lastBegin = 0; ///< of images
    std::uint64_t begun = 0;                  ///< images whose begin was seen
    GapSpread gaps;                           ///< between the begins of images
    StreamTime longestPause = 0;              ///< between two packets of one image
    StreamTime longestImage = 0;              ///< from the first packet of a whole image to its last

    std::uint32_t width = 0, height = 0; ///< of the last image; 0: unknown

    std::uint64_t of(ImageEnd end) const noexcept { return images[static_cast<std::size_t>(end)]; }
    std::uint64_t whole() const noexcept { return of(ImageEnd::Complete) + of(ImageEnd::Recovered); }
    std::uint64_t damaged() const noexcept;
    double imagesPerSecond() const noexcept;
};

} // namespace orvo::host
