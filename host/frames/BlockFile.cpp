// SPDX-License-Identifier: MIT
// Writing, and cutting back, of a file of blocks.
#include "frames/BlockFile.h"

#include "base/OutputFile.h"
#include "base/Signals.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>
#include <utility>

namespace orvo::host {
namespace {

constexpr std::size_t bufferBytes = std::size_t{256} * 1024;
constexpr int lastPatienceMs = 50; // with a slow reader, once the end is asked for

} // namespace

BlockFile::BlockFile(std::string path, std::size_t closingBlockBytes, Target target)
    : path_(std::move(path)), target_(target), closingBlockBytes_(closingBlockBytes) {
    target == Target::NamedFile ? openNamed() : takeStandardOutput();
    struct stat status = {};
    regular_ = fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    buffer_.reserve(bufferBytes);
}

void BlockFile::openNamed() {
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_CREAT | O_EXCL, 0666);
    made_ = descriptor_ >= 0;
    found_ = !made_ && errno == EEXIST;
    if (found_) descriptor_ = openToWrite(path_);
    if (descriptor_ < 0) fail(errno);
}

// It may be a file that others wrote to before, and that the shell opened for appending.
void BlockFile::takeStandardOutput() {
    descriptor_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (descriptor_ < 0) fail(errno);
    const int flags = fcntl(descriptor_, F_GETFL);
    const auto origin = flags >= 0 && (flags & O_APPEND) != 0 ? SEEK_END : SEEK_CUR;
    begin_ = position_ = std::max<off_t>(0, lseek(descriptor_, 0, origin));
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

std::size_t BlockFile::writeBuffer() noexcept {
    std::size_t written = 0;
    while (written < buffer_.size()) {
        auto bytes = buffer_.size() - written;
        if (!regular_) {
            if (!awaitReader()) break;
            bytes = std::min<std::size_t>(bytes, PIPE_BUF); // so much goes without waiting
        }
        const auto result = write(descriptor_, buffer_.data() + written, bytes);
        if (result < 0 && errno != EINTR) break;
        if (result > 0) written += static_cast<std::size_t>(result);
    }
    return written;
}

// A reader that does not read must not keep the program from ending.
bool BlockFile::awaitReader() noexcept {
    std::array<pollfd, 3> sources = {
        {{descriptor_, POLLOUT, 0}, {endDescriptor(), POLLIN, 0}, {ending_, POLLIN, 0}}};
    for (bool ending = false; !readerGone_;) {
        const int ready = poll(sources.data(), ending ? 1 : sources.size(), ending ? lastPatienceMs : -1);
        if (ready > 0 && sources[0].revents != 0) return true;
        readerGone_ = ending && ready == 0;
        ending = ending || ready > 0;
    }
    errno = EPIPE;
    return false;
}

bool BlockFile::readerGone() const noexcept {
    pollfd pipe{descriptor_, 0, 0};
    return !regular_ && poll(&pipe, 1, 0) > 0 && (pipe.revents & POLLERR) != 0;
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
    if (reason == EPIPE) throw ReaderGone("nobody reads on from " + name() + "; what follows is lost");
    const bool full = reason == ENOSPC || reason == EDQUOT || reason == EFBIG;
    throw Failure("cannot write " + name() + ": " + systemError(reason) +
                  (full ? "; free some space or name another file with --write"
                   : target_ == Target::StandardOutput
                       ? "; lead it into a pipe or file, or name a file with --write"
                       : "; name another file with --write"));
}

std::string BlockFile::name() const {
    return target_ == Target::StandardOutput ? "to standard output" : quoted(path_);
}

} // namespace orvo::host
