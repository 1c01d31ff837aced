// SPDX-License-Identifier: MIT
// The streams of GigE Vision among the frames of a port or a capture, and the control traffic that belongs to
// them.
#pragma once

#include "frames/streams/ControlChannel.h"
#include "frames/streams/Stream.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvo::host {

/// Whether a frame is a datagram for a camera's control port.
bool isToGigeControlPort(Bytes frame) noexcept;

/// The account of one stream, as a copy.
struct StreamReport {
    StreamEnds ends;
    bool isAnnounced = false; ///< by control traffic; otherwise it has the form of a stream
    StreamFigures figures;
    std::vector<EndedImage> damaged; ///< the newest images that lack packets, oldest first
};

/// What was not followed, because there is room for so many only.
struct GivenUp {
    std::uint64_t streams = 0; ///< replaced by others: they had no whole image
    std::uint64_t packets = 0; ///< leaders of streams without a place
    std::uint64_t control =
        0; ///< datagrams of control channels without a place, and those too fast to follow
};

struct StreamsReport {
    std::vector<StreamReport> streams;
    std::vector<ControlFigures> control;
    GivenUp givenUp;
    std::uint64_t damagedOthers = 0; ///< damaged frames that belong to no known packet of a stream
};

/// Takes frames in the order of their times. Memory is taken when a stream or control channel begins, at most
/// 35 MB in all, and 84 MB for packets that are seen to die. One thread.
class StreamAccount {
public:
    static constexpr std::size_t mostStreams = 64;
    static constexpr std::size_t mostControls = 64;

    using Take = std::function<void(const StreamEnds&, const EndedImage&)>;

    /// `take` receives every image as it ends; it may be empty.
    explicit StreamAccount(Take take = {});
    ~StreamAccount();

    void add(Bytes frame, StreamTime time);
    /// A frame that died on its way: a packet in it is lost, a command did not reach its camera.
    void addDead(Bytes frame, DeathPlace place, StreamTime time);
    /// Nothing follows.
    void finish();

    StreamsReport report() const;

private:
    struct Entry {
        StreamEnds ends;
        std::optional<std::uint16_t> channel; // while it is open, by the commands
        bool isAnnounced = false;
        Stream stream;

        Entry(const StreamEnds& between, Stream::Take take) : ends(between), stream(std::move(take)) {}
    };

    void addControl(const StreamEnds& ends, bool toCamera, Bytes datagram, StreamTime time);
    void apply(const ControlChannel::Opening& opening);
    void ask(const StreamEnds& ends, const GigeResend& request) noexcept;
    void addStream(const StreamEnds& ends, Bytes datagram, StreamTime time);
    ControlChannel* controlOf(std::uint32_t camera, std::uint32_t client);

    static std::size_t hashOf(const StreamEnds& ends) noexcept;
    Entry* find(const StreamEnds& ends) noexcept;
    Entry* make(const StreamEnds& ends, bool isAnnounced);
    bool makeRoom() noexcept;
    void index(Entry& entry) noexcept;

    static constexpr std::size_t slots = 256; // of a hash table with open addressing: a power of two

    const Take take_;
    std::vector<std::unique_ptr<Entry>> streams_;
    std::array<Entry*, slots> table_{};
    Entry* latest_ = nullptr; // packets of one stream come in a row
    std::vector<ControlChannel> controls_;
    GivenUp givenUp_;
    std::uint64_t damagedOthers_ = 0;
};

} // namespace orvo::host
