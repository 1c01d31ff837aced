// SPDX-License-Identifier: MIT
// The bytes of a capture as libpcap reads them, from a file, a pipe or standard input, compressed or not.
#pragma once

#include "base/FileDescriptor.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>

struct z_stream_s;

namespace orvo::host {

/// Reads a capture from its beginning to its end, in constant memory. What begins like a gzip file (RFC 1952)
/// is decompressed, whatever its name. One thread.
class CaptureStream {
public:
    static constexpr auto standardInput = "-"; ///< as path

    /// Errors: Failure when the file is missing, unreadable, empty or a directory, or standard input is a
    /// terminal.
    /// `watch` sees all bytes that are read, decompressed; it may throw std::bad_alloc.
    using Watch = std::function<void(std::span<const std::uint8_t>)>;
    CaptureStream(const std::string& path, Watch watch);
    ~CaptureStream();

    /// For messages: the quoted path, or "standard input".
    const std::string& name() const noexcept { return name_; }

    /// The stream, which the caller closes while this object lives. Null when memory is short. A read waits
    /// for bytes or for a signal that asks for the end.
    std::FILE* open();

    /// What is wrong with the compressed data, once a read met it; the read after the last good bytes fails.
    const std::string& damage() const noexcept { return damage_; }

private:
    using Room = std::span<std::uint8_t>;
    struct EndInflate {
        void operator()(z_stream_s* stream) const noexcept;
    };

    void check() const;
    static ssize_t readInto(void* self, char* bytes, std::size_t room) noexcept;
    ssize_t read(Room room) noexcept;
    ssize_t begin() noexcept;
    ssize_t readRaw(Room room) const noexcept;
    ssize_t readPlain(Room room) noexcept;
    ssize_t readInflated(Room room) noexcept;
    const char* inflateInput() noexcept;
    bool refill() noexcept;
    ssize_t fail(const char* damage) noexcept;

    const std::string name_;
    const Watch watch_;
    FileDescriptor descriptor_;
    bool hasBegun_ = false;
    std::array<std::uint8_t, 65'536> buffer_{};
    std::span<const std::uint8_t> input_;               // in the buffer, read and not yet taken
    std::unique_ptr<z_stream_s, EndInflate> inflating_; // null: not compressed
    bool isInsideMember_ = false;                       // a gzip file is a series of members
    std::string damage_;
};

} // namespace orvo::host
