// SPDX-License-Identifier: MIT
// Reading of capture files.
#pragma once

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
        0; ///< bytes that were on the wire; more than `length` when the capture cut it short
    std::uint64_t number = 0;               ///< position in the file, from 1, as capture tools count
    std::chrono::nanoseconds recordedAt{0}; ///< since the epoch
};

/// Reads the frames of a pcap or pcapng file (or pipe) of Ethernet frames, one after the other, in constant
/// memory.
class CaptureReader {
public:
    /// Errors: Failure when the file is missing, unreadable, empty, no capture, or one of another link type.
    explicit CaptureReader(std::string path);
    ~CaptureReader();
    CaptureReader(const CaptureReader&) = delete;
    CaptureReader& operator=(const CaptureReader&) = delete;

    /// False at the end of the file. Errors: Failure when the file is damaged or ends in the middle of a
    /// frame; Interruption when a signal ended the waiting for a pipe.
    bool next(CapturedFrame& frame);

    const std::string& path() const noexcept { return path_; }

    /// Whether it is a regular file, which can be read twice.
    bool isRegularFile() const noexcept { return regularFile_; }

private:
    struct Close {
        void operator()(pcap* capture) const noexcept;
    };

    void open();
    void checkLinkType() const;

    const std::string path_;
    bool regularFile_ = false;
    int descriptor_ = -1; // the capture's, which closes it
    std::unique_ptr<pcap, Close> capture_;
    std::size_t fcsBytes_ = 0; // that the file says every frame ends with
    std::uint64_t frames_ = 0;
};

} // namespace orvo::host
