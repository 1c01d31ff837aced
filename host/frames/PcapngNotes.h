// SPDX-License-Identifier: MIT
#pragma once

#include "frames/OutputFrame.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace orvo::host {

/// What a pcapng file says about its packets and libpcap does not hand over: check sequences, errors, and the
/// comments of captures at the wire. Follows the bytes that libpcap reads, and keeps what was read ahead of
/// it. A file of another format, or a damaged one, which libpcap refuses, has no notes from there on. One
/// thread.
class PcapngNotes {
public:
    struct Note {
        std::size_t fcsBytes = 0; ///< at the end of the frame
        std::optional<DeathPlace> diedAt;
    };

    /// The next bytes of the file. Throws std::bad_alloc.
    void feed(Bytes bytes);
    /// Of the next packet.
    std::optional<Note> next();

    /// Whether a packet so far had a comment that tells how it died.
    bool tellsDeaths() const noexcept { return tellsDeaths_; }
    /// Frames that the capture missed, according to its end.
    std::uint64_t missed() const noexcept { return missed_; }

private:
    std::size_t blockBytes(Bytes rest);
    void readBlock(Bytes block);
    void readInterface(Bytes body);
    void readPacket(Bytes body, std::size_t interface);
    void readStatistics(Bytes body);
    template <class Take> void eachOption(Bytes options, const Take& take) const;

    std::uint16_t number16(Bytes bytes, std::size_t at) const noexcept;
    std::uint32_t number32(Bytes bytes, std::size_t at) const noexcept;

    std::vector<std::uint8_t> held_; // from the beginning of a block
    bool hasBegun_ = false;
    bool hasEnded_ = false;
    bool isBigEndian_ = false;
    std::vector<std::uint8_t> fcsBytes_; // by interface
    std::deque<Note> notes_;
    bool tellsDeaths_ = false;
    std::uint64_t missed_ = 0;
};

} // namespace orvo::host
