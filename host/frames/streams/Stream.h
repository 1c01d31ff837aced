// SPDX-License-Identifier: MIT
#pragma once

#include "frames/GigeVision.h"
#include "frames/streams/PacketSet.h"
#include "frames/streams/StreamFigures.h"

#include <array>
#include <functional>
#include <optional>
#include <vector>

namespace orvo::host {

/// The account of one stream. An image ends when its last packet came, when `openImages` newer ones have
/// begun, or with `finish`. All memory is taken by the constructor, but that of packets which are seen to
/// die. Throws only what `take` throws. One thread.
class Stream {
public:
    static constexpr std::size_t openImages = 16;
    static constexpr std::size_t keptImages = 64; ///< damaged ones, the newest

    using Take = std::function<void(const EndedImage&)>;

    /// `take` receives every image as it ends; it may be empty.
    explicit Stream(Take take);

    void add(const GigeStreamPacket& packet, StreamTime time);
    /// A packet that did not arrive, and where it died. Of a damaged one, the numbers may be wrong. Returns
    /// whether it belongs to an image.
    bool addDead(const GigeStreamPacket& packet, DeathPlace place, StreamTime time);
    void addUnreadable() noexcept { ++figures_.unreadable; }
    /// The client asks for packets again.
    void ask(const GigeResend& request) noexcept;
    /// The stream was closed, or nothing follows: ends all open images. What is missing behind the last
    /// packet of the last image is unknown and not counted.
    void finish();

    const StreamFigures& figures() const noexcept { return figures_; }
    /// Images that lack packets, oldest first.
    std::vector<EndedImage> damaged() const;
    StreamTime lastTime() const noexcept { return lastTime_; }

private:
    static constexpr std::uint64_t shortIds = 0xFFFF; // numbers of 16 bits, without 0

    /// The packets of an image whose first copy was seen to die.
    struct Deaths {
        struct Place {
            PacketSet packets;
            std::uint32_t count = 0;
        };
        bool areAny = false;
        std::array<Place, deathPlaces> places;
        std::uint32_t highest = 0;            // undamaged
        std::optional<std::uint32_t> trailer; // its packet id

        void add(std::uint32_t packet, DeathPlace place);
        /// Another copy came unasked. Returns whether the one that died was damaged: its numbers were wrong.
        bool remove(std::uint32_t packet) noexcept;
        bool has(std::uint32_t packet) const noexcept;
        void clear() noexcept;
    };

    /// An image that has begun. It keeps its place after it ended, so that repeated packets are known.
    struct Block {
        std::uint64_t sequence = 0; // of its number, without wrap-around; 0: free
        std::uint64_t id = 0;
        bool isEnded = false;
        bool isTooLarge = false;
        PacketSet received, asked;
        Deaths deaths;
        std::uint32_t count = 0;    // received
        std::uint32_t highest = 0;  // received
        std::uint32_t asksOpen = 0; // missing packets that the client asked for
        std::uint32_t recovered = 0;
        std::optional<std::uint32_t> trailer;   // its packet id
        std::optional<std::uint64_t> timestamp; // of the leader
        std::uint64_t announcedBytes = 0;       // by the leader; 0: unknown
        StreamTime begin = 0, last = 0;
    };

    Block& slotOf(std::uint64_t sequence) noexcept { return blocks_[sequence % openImages]; }
    std::int64_t distanceTo(std::uint64_t id) const noexcept;
    Block* find(std::uint64_t id) noexcept;
    Block* blockOf(const GigeStreamPacket& packet, StreamTime time);
    bool isRestOfClosed(const GigeStreamPacket& packet) const noexcept;
    bool isFirst(const GigeStreamPacket& packet, std::int64_t distance) const noexcept;
    Block* blockOfDamaged(const GigeStreamPacket& packet, StreamTime time);
    bool isNewLeader(const Block& block, const GigeStreamPacket& packet) const noexcept;
    Block& restart(std::uint64_t id, StreamTime time);
    Block& advance(std::int64_t distance, std::uint64_t id, StreamTime time);
    Block& begin(std::uint64_t sequence, std::uint64_t id, StreamTime time);
    std::uint64_t idBefore(std::uint64_t id, std::uint64_t steps) const noexcept;
    void noteBegin(StreamTime time) noexcept;

    void take(Block& block, const GigeStreamPacket& packet, StreamTime time);
    void takeNew(Block& block, const GigeStreamPacket& packet, StreamTime time);
    void takeForm(Block& block, const GigeStreamPacket& packet);

    std::uint32_t expectedTrailer(const Block& block) const noexcept;
    void end(Block& block, bool isLast);
    void endAll(bool isLast);
    void countDeaths(const Deaths& deaths, std::uint32_t end) noexcept;
    void nameMissing(const Block& block, std::uint32_t end, EndedImage& image) const noexcept;
    void report(const EndedImage& image);
    void reportAbsent(std::uint64_t id, std::uint64_t images, StreamTime time);

    const Take take_;
    StreamFigures figures_;
    std::array<Block, openImages> blocks_;
    std::uint64_t latest_ = 0; // sequence; 0: none has begun
    std::uint64_t latestId_ = 0;
    bool hasExtendedIds_ = false;
    std::uint32_t usualTrailer_ = 0; // of the last image that had one
    std::uint64_t usualBytes_ = 0;   // that its leader announced
    std::size_t packetBytes_ = 0;    // payload of the largest packet
    StreamTime lastTime_ = 0;
    std::vector<EndedImage> damaged_; // a ring
    std::size_t oldest_ = 0;
};

} // namespace orvo::host
