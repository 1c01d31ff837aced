// A file made of blocks that must never end inside one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::host {

/// Writes whole blocks through a large buffer. When the disk is full or fails, the file is cut back to the
/// end of the last block that leaves room for one closing block, so that what is there can be read. One
/// thread.
class BlockFile {
public:
    /// Opens `path` for writing and makes it if need be, but neither empties it nor writes.
    /// Errors: Failure when it cannot be written; Interruption when a signal ended the waiting for a pipe's
    /// reader.
    BlockFile(const std::string& path, std::size_t closingBlockBytes);
    ~BlockFile(); ///< removes a file that it made and that was not `kept`; writes nothing
    BlockFile(const BlockFile&) = delete;
    BlockFile& operator=(const BlockFile&) = delete;

    /// Whether it is a regular file that was there before, so that `empty` destroys something.
    bool replacesFile() const noexcept { return regular_ && !made_; }
    void empty();
    void keep() noexcept { kept_ = true; }

    /// Room for one block of this size, to be filled before the next call. Errors: as `flush`.
    std::uint8_t* add(std::size_t blockBytes);
    void add(const std::vector<std::uint8_t>& block);

    /// Errors: Failure when the blocks cannot be written; see `lostBlocks`.
    void flush();

    /// Flushes and closes the file. Errors: as `flush`; also what only closing brings to light.
    void close();

    /// Blocks that were added but are not in the file, because writing failed.
    std::uint64_t lostBlocks() const noexcept { return lostBlocks_; }

private:
    std::size_t writeBuffer() const noexcept;
    void cutBack(std::size_t written) noexcept;
    [[noreturn]] void fail(int reason) const;

    const std::string path_;
    const std::size_t closingBlockBytes_;
    int descriptor_ = -1;
    bool made_ = false;
    bool kept_ = false;
    bool regular_ = false;
    off_t position_ = 0; // bytes in the file; always the end of a block
    std::vector<std::uint8_t> buffer_;
    std::vector<std::size_t> blockEnds_; // in the buffer
    std::uint64_t lostBlocks_ = 0;
};

} // namespace orvo::host
