// SPDX-License-Identifier: MIT
// A file made of blocks that must never end inside one.
#pragma once

#include "base/EventDescriptor.h"
#include "base/Failure.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::host {

/// What cannot be written because whoever read from the pipe is gone, or did not read on when the end was
/// asked for.
class ReaderGone : public Failure {
public:
    using Failure::Failure;
};

/// Writes whole blocks through a large buffer. When the disk is full or fails, the file is cut back to the
/// end of the last block that leaves room for one closing block, so that what is there can be read. One
/// thread.
class BlockFile {
public:
    enum class Target { NamedFile, StandardOutput };

    /// Opens `path` for writing and makes it if need be, but neither empties it nor writes.
    /// Standard output is taken as it stands, and `path` is then only its name in messages.
    /// Errors: Failure when it cannot be written; Interruption when a signal ended the waiting for a pipe's
    /// reader.
    BlockFile(std::string path, std::size_t closingBlockBytes, Target target = Target::NamedFile);
    ~BlockFile(); ///< removes a file that it made and that was not `kept`; writes nothing
    BlockFile(const BlockFile&) = delete;
    BlockFile& operator=(const BlockFile&) = delete;

    /// Whether it is a regular file that was there before, so that `empty` destroys something.
    bool replacesFile() const noexcept { return regular_ && found_; }
    void empty();
    void keep() noexcept { kept_ = true; }

    /// Once `ending` is raised, a reader gets no more patience than when a signal asks for the end. It must
    /// outlive the file.
    void endOn(const EventDescriptor& ending) noexcept { ending_ = ending.descriptor(); }

    /// Room for one block of this size, to be filled before the next call. Errors: as `flush`.
    std::uint8_t* add(std::size_t blockBytes);
    void add(const std::vector<std::uint8_t>& block);

    /// Errors: Failure when the blocks cannot be written, see `lostBlocks`; ReaderGone.
    void flush();

    /// Flushes and closes the file. Errors: as `flush`; also what only closing brings to light.
    void close();

    /// Bytes of all blocks added, written or not.
    std::uint64_t size() const noexcept {
        return static_cast<std::uint64_t>(position_ - begin_) + buffer_.size();
    }

    /// Whether it is a pipe that nobody can read from any more.
    bool readerGone() const noexcept;

    /// Blocks that were added but are not in the file, because writing failed.
    std::uint64_t lostBlocks() const noexcept { return lostBlocks_; }

private:
    void openNamed();
    void takeStandardOutput();
    std::size_t writeBuffer() noexcept;
    bool awaitReader() noexcept;
    std::string name() const;
    void cutBack(std::size_t written) noexcept;
    [[noreturn]] void fail(int reason) const;

    const std::string path_;
    const Target target_;
    const std::size_t closingBlockBytes_;
    int descriptor_ = -1;
    int ending_ = -1;    // readable when there is little patience left
    bool found_ = false; // was there before
    bool made_ = false;
    bool kept_ = false;
    bool regular_ = false;
    bool readerGone_ = false;
    off_t begin_ = 0;    // where the blocks begin
    off_t position_ = 0; // in the file; always the end of a block
    std::vector<std::uint8_t> buffer_;
    std::vector<std::size_t> blockEnds_; // in the buffer
    std::uint64_t lostBlocks_ = 0;
};

} // namespace orvo::host
