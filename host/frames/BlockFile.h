// SPDX-License-Identifier: MIT
// A file made of blocks that must never end inside one.
#pragma once

#include "base/Failure.h"
#include "base/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::host {

/// The pipe's reader closed it, or did not read on when the end was asked for.
class ReaderGone : public Failure {
public:
    using Failure::Failure;
};

/// Writes whole blocks through a large buffer. When the disk is full or fails, the file is cut back to the
/// last block that leaves room for the closing block, so that the file stays readable. One thread.
class BlockFile {
public:
    enum class Target { NamedFile, StandardOutput };

    /// Opens `path` for writing, creating it if necessary; does not empty it yet. With standard output,
    /// `path` is not used. Errors: Failure when the file cannot be written; Interruption when a signal ended
    /// the wait for a pipe's reader.
    BlockFile(std::string path, std::size_t closingBlockBytes, Target target = Target::NamedFile);
    ~BlockFile(); ///< writes nothing; removes a file that it created unless `keep` was called
    BlockFile(const BlockFile&) = delete;
    BlockFile& operator=(const BlockFile&) = delete;

    /// Whether `empty` deletes the content of a file that existed before.
    bool replacesFile() const noexcept { return regular_ && found_; }
    void empty();
    void keep() noexcept { kept_ = true; }

    /// Once `ending` is raised, waits for a slow reader only as long as after a signal. `ending` must outlive
    /// the file.
    void endOn(const EventFd& ending) noexcept { ending_ = ending.descriptor(); }

    /// Returns room for one block of this size, to be filled before the next call. Errors: as `flush`.
    std::uint8_t* add(std::size_t blockBytes);
    void add(const std::vector<std::uint8_t>& block);

    /// Errors: Failure when the blocks cannot be written, see `lostBlocks`; ReaderGone.
    void flush();

    /// Flushes and closes the file. Errors: as `flush`, also those that the system reports only on closing.
    void close();

    /// Bytes of all blocks added, written or not.
    std::uint64_t size() const noexcept {
        return static_cast<std::uint64_t>(position_ - begin_) + buffer_.size();
    }

    /// Whether it is a pipe whose reader closed it.
    bool readerGone() const noexcept;

    /// Blocks that were added and are not in the file because writing failed.
    std::uint64_t lostBlocks() const noexcept { return lostBlocks_; }

private:
    void openNamed();
    void takeStandardOutput();
    std::size_t writeBuffer() noexcept;
    bool awaitReader() noexcept;
    void cutBack(std::size_t written) noexcept;
    [[noreturn]] void fail(int reason) const;

    const std::string path_;
    const Target target_;
    const std::size_t closingBlockBytes_;
    int descriptor_ = -1;
    int ending_ = -1;    // readable once a reader is no longer waited for
    bool found_ = false; // existed before
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
