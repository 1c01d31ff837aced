// SPDX-License-Identifier: MIT
// Reading and writing of capture files, by libpcap.
#pragma once

#include "wire/WireFrame.h"

#include <pcap/pcap.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

namespace orvo::sim {

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); } // nothing was written through it
    void operator()(pcap_t* file) const noexcept { pcap_close(file); }
    void operator()(pcap_dumper_t* file) const noexcept { pcap_dump_close(file); }
};

/// A pcap or pcapng file of Ethernet frames, read once from the start to the end. One thread at a time.
class CaptureReader {
public:
    /// Throws WireError when there is no such file, or it holds no Ethernet frames.
    explicit CaptureReader(const std::filesystem::path& path);

    struct Frame {
        WireBytes bytes; ///< as recorded, without frame check sequence; valid until the next call
        bool isWhole;    ///< false when the recording cut the frame off
    };
    /// The next frame; none at the end, and none after a damaged record, which a line on standard error
    /// reports.
    std::optional<Frame> next() noexcept;

private:
    std::filesystem::path path_;
    std::unique_ptr<pcap_t, CloseFile> file_;
};

/// A pcap file of Ethernet frames with time stamps in nanoseconds. One thread at a time.
class CaptureWriter {
public:
    /// Opens the file without changing its content yet. Throws WireError.
    explicit CaptureWriter(const std::filesystem::path& path);

    /// The first frame replaces what the file held before.
    void write(WireBytes frame, std::chrono::nanoseconds sinceEpoch) noexcept;
    /// Writes everything to the file; where no frame was written, an empty file becomes a capture without
    /// frames. False when something could not be written: the file then ends with its last whole frame, and a
    /// line on standard error says so once.
    bool flush() noexcept;

private:
    bool begin() noexcept;
    bool isEmpty() const noexcept;
    bool finish(bool ok) noexcept;

    std::filesystem::path path_;
    std::unique_ptr<std::FILE, CloseFile> opened_; // until begin
    std::unique_ptr<pcap_t, CloseFile> format_;
    std::unique_ptr<pcap_dumper_t, CloseFile> file_; // from begin on
    std::size_t unflushedBytes_ = 0;
    long wholeBytes_ = 0; // of the file, up to the end of a frame
    bool failed_ = false;
};

} // namespace orvo::sim
