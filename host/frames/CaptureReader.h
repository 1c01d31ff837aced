// SPDX-License-Identifier: MIT
// Reading of capture files through libpcap.
#pragma once

#include "frames/CaptureStream.h"
#include "frames/PcapngNotes.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct pcap;

namespace orvo::host {

/// One frame of a capture, without frame check sequence. The bytes are valid until the next frame is read.
struct CapturedFrame {
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0; ///< bytes that the capture holds
    std::size_t originalLength =
        0;                    ///< bytes on the wire; more than `length` when the capture cut the frame short
    std::uint64_t number = 0; ///< position in the file, from 1, as capture tools count
    std::chrono::nanoseconds recordedAt{0}; ///< since the epoch
    std::optional<DeathPlace> diedAt = {};  ///< according to a capture at the wire
};

/// Reads the frames of a pcap or pcapng file, pipe or standard input one by one, in constant memory, also
/// gzip-compressed ones. Ethernet only.
class CaptureReader {
public:
    /// CaptureStream::standardInput is allowed as path. Errors: Failure when the file is missing, unreadable,
    /// empty, not a capture, or of another link type.
    explicit CaptureReader(std::string path);
    ~CaptureReader();

    /// False at the end of the file, and where it is damaged or cut off behind its first frame. Errors:
    /// Failure when no frame can be read; Interruption when a signal ended the wait for a pipe.
    bool next(CapturedFrame& frame);

    /// Why frames may be missing at the end; empty when nothing is wrong.
    const std::string& fault() const noexcept { return fault_; }

    const std::string& path() const noexcept { return path_; }
    const PcapngNotes& notes() const noexcept { return notes_; }

private:
    struct Close {
        void operator()(pcap* capture) const noexcept;
    };

    void open();
    void checkLinkType() const;
    const std::string& name() const noexcept { return stream_.name(); }
    std::string reasonOr(const char* reason) const;

    const std::string path_;
    PcapngNotes notes_;
    CaptureStream stream_;
    std::unique_ptr<pcap, Close> capture_;
    std::size_t fcsBytes_ = 0; // frame check sequence at the end of every frame, according to the file
    std::uint64_t frames_ = 0;
    std::string fault_;
};

/// Whether `CaptureReader::fault` named none; if it did, says so on standard error.
bool isReadWhole(const std::string& fault);

} // namespace orvo::host
