// SPDX-License-Identifier: MIT
// The file of a recording: a head with the format's version, then blocks, each whole by itself.
// orvo-recording(5) describes it.
#pragma once

#include "base/FileDescriptor.h"
#include "device/recording/RecordedCall.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace orvo::host {

inline constexpr std::uint32_t recordingVersion = 1;

/// Appends blocks, whose content is given as CBOR. One thread.
class RecordingWriter {
public:
    /// Replaces the file. `name` stands for its path in messages. Errors: Failure when it cannot be written,
    /// or another recording goes on in it.
    RecordingWriter(const std::string& path, std::string name);

    /// Errors: Failure when the disk is full or fails; the file then ends with the block before.
    void add(std::span<const std::uint8_t> content);

    /// Only closes the file.
    void close() noexcept { file_.reset(); }

private:
    void put(std::span<const std::uint8_t> bytes);

    const std::string path_, name_;
    FileDescriptor file_;
    bool made_ = false; // did not exist before
    BlockEncoder encoder_;
    std::uint64_t bytes_ = 0;
};

/// What a block tells.
struct CallBlock {
    std::vector<RecordedCall> calls; ///< those of one thread in their order
    std::uint64_t lost = 0;          ///< calls that could not be kept
};

/// Reads a recording block by block. One thread.
class RecordingReader {
public:
    /// Errors: Failure when the file cannot be read, is no recording, or of another version.
    explicit RecordingReader(const std::string& path);

    const std::string& path() const noexcept { return path_; }
    /// The first block: "program", "host", "arguments", "begin" and others.
    const nlohmann::json& header() const noexcept { return header_; }
    /// When the recording began, in nanoseconds since 1970.
    std::int64_t begin() const noexcept { return begin_; }
    /// Those known so far.
    const RegisterNames& registers() const noexcept { return registers_; }

    /// The next whole block with calls; nothing at the end.
    std::optional<CallBlock> next();

    /// After the end: one line on why the recording is not complete; empty when it is.
    const std::string& fault() const noexcept { return fault_; }
    /// The last block of a complete recording, null otherwise.
    const nlohmann::json& closing() const noexcept { return closing_; }

private:
    void readHead();
    std::optional<nlohmann::json> nextContent();
    std::optional<nlohmann::json> damaged(const std::string& what);

    const std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    nlohmann::json header_, closing_;
    std::int64_t begin_ = 0;
    std::vector<Entry> entries_; // by their number in the file
    RegisterNames registers_;
    unsigned blocks_ = 0; // whole ones so far
    std::string fault_;
};

/// The calls of a block's content; adds to `registers`. Errors: std::exception for content that is no block.
CallBlock callsOf(const nlohmann::json& content, const std::vector<Entry>& entries, RegisterNames& registers);

} // namespace orvo::host
