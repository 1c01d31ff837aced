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
    /// Throws WireError when the file is not there, or is not such a file.
    explicit CaptureReader(const std::filesystem::path& path);

    struct Frame {
        WireBytes bytes; ///< as recorded, without frame check sequence; valid until the next call
        bool isWhole;    ///< false when the recording cut the frame off
    };
    /// The next frame; none at the end, and none after a damaged record, which is reported to standard error.
    std::optional<Frame> next() noexcept;

private:
    std::filesystem::path path_;
    std::unique_ptr<pcap_t, CloseFile> file_;
};

/// A pcap file of Ethernet frames with time stamps in nanoseconds. One thread at a time.
class CaptureWriter {
public:
    /// Opens the file but leaves its content until `begin`. Throws WireError.
    explicit CaptureWriter(const std::filesystem::path& path);

    /// The first frame replaces what the file held before.
    void write(WireBytes frame, std::chrono::nanoseconds sinceEpoch) noexcept;
    /// Brings everything to the file; one that was empty is a capture without frames then, where none was
    /// written. False when the file did not take everything: the first time, standard error says so, and the
    /// file ends with its last whole frame.
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
