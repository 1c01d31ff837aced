// Writing, and cutting back, of a file of blocks.
#include "capture/BlockFile.h"

#include "app/Failure.h"
#include "app/Signals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

namespace orvo::host {
namespace {

constexpr std::size_t bufferBytes = 256 * 1024;

} // namespace

BlockFile::BlockFile(const std::string& path, std::size_t closingBlockBytes)
    : path_(path), closingBlockBytes_(closingBlockBytes) {
    constexpr int flags = O_WRONLY | O_CLOEXEC;
    descriptor_ = open(path.c_str(), flags | O_CREAT | O_EXCL, 0666);
    made_ = descriptor_ >= 0;
    if (!made_ && errno == EEXIST) descriptor_ = open(path.c_str(), flags);
    if (descriptor_ < 0) {
        const int reason = errno;
        throwIfEndRequested();
        fail(reason);
    }
    struct stat status = {};
    regular_ = fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    buffer_.reserve(bufferBytes);
}

BlockFile::~BlockFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (made_ && !kept_) unlink(path_.c_str());
}

void BlockFile::empty() {
    if (regular_ && ftruncate(descriptor_, 0) != 0) fail(errno);
}

std::uint8_t* BlockFile::add(std::size_t blockBytes) {
    if (buffer_.size() + blockBytes > bufferBytes) flush();
    const auto begin = buffer_.size();
    buffer_.resize(begin + blockBytes);
    blockEnds_.push_back(buffer_.size());
    return buffer_.data() + begin;
}

void BlockFile::add(const std::vector<std::uint8_t>& block) {
    std::memcpy(add(block.size()), block.data(), block.size());
}

void BlockFile::flush() {
    const auto written = writeBuffer();
    const int reason = errno;
    if (written < buffer_.size()) {
        cutBack(written);
        fail(reason);
    }
    position_ += static_cast<off_t>(written);
    buffer_.clear();
    blockEnds_.clear();
}

std::size_t BlockFile::writeBuffer() const noexcept {
    std::size_t written = 0;
    while (written < buffer_.size()) {
        const auto result = write(descriptor_, buffer_.data() + written, buffer_.size() - written);
        if (result < 0 && errno != EINTR) break;
        if (result > 0) written += static_cast<std::size_t>(result);
    }
    return written;
}

// A pipe or device cannot be cut; what it took is all it gets.
void BlockFile::cutBack(std::size_t written) noexcept {
    const auto fits = [&](std::size_t end) { return end + closingBlockBytes_ <= written; };
    const auto firstLost = std::partition_point(blockEnds_.begin(), blockEnds_.end(), fits);
    position_ += static_cast<off_t>(firstLost == blockEnds_.begin() ? 0 : *std::prev(firstLost));
    lostBlocks_ += static_cast<std::uint64_t>(blockEnds_.end() - firstLost);
    buffer_.clear();
    blockEnds_.clear();
    if (!regular_ || ftruncate(descriptor_, position_) != 0) return;
    lseek(descriptor_, position_, SEEK_SET);
}

void BlockFile::close() {
    flush();
    const int descriptor = std::exchange(descriptor_, -1);
    if (::close(descriptor) != 0 && errno != EINTR) fail(errno);
}

void BlockFile::fail(int reason) const {
    const bool full = reason == ENOSPC || reason == EDQUOT || reason == EFBIG;
    throw Failure(
        "cannot write " + quoted(path_) + ": " + systemError(reason) +
        (full ? "; free some space or name another file with --write" : "; name another file with --write"));
}

} // namespace orvo::host
