// SPDX-License-Identifier: MIT
#include "frames/CaptureStream.h"

#include "base/Failure.h"
#include "base/Signals.h"

#include <zlib.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace orvo::host {
namespace {

constexpr int gzipFormat = 15 + 16; // zlib's code for the largest window, with gzip header and trailer

// O_NONBLOCK: opening a pipe does not wait for its writer; reading does.
int openDescriptor(const std::string& path) {
    return path == CaptureStream::standardInput ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                                : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

bool isGzip(std::span<const std::uint8_t> begin) noexcept {
    return begin.size() >= 2 && begin[0] == 0x1F && begin[1] == 0x8B;
}

} // namespace

void CaptureStream::EndInflate::operator()(z_stream_s* stream) const noexcept {
    inflateEnd(stream);
    delete stream;
}

CaptureStream::CaptureStream(const std::string& path, Watch watch)
    : name_(path == standardInput ? "standard input" : quoted(path)), watch_(std::move(watch)),
      descriptor_(openDescriptor(path)) {
    const int reason = errno;
    if (descriptor_.get() < 0)
        throw Failure("cannot read " + name_ + ": " + systemError(reason) +
                      (reason == EACCES || reason == EPERM ? "; get the permission to read it"
                                                           : "; name a pcap or pcapng file"));
    check();
}

CaptureStream::~CaptureStream() = default;

// Refuses what libpcap reports in unclear words.
void CaptureStream::check() const {
    if (isatty(descriptor_.get()))
        throw Failure(name_ + " is a terminal; lead a capture into it, or name a pcap or pcapng file");
    struct stat status = {};
    if (fstat(descriptor_.get(), &status) != 0) return;
    if (S_ISDIR(status.st_mode)) throw Failure(name_ + " is a directory; name a pcap or pcapng file");
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        throw Failure(name_ + " is empty; name a pcap or pcapng file with frames in it");
}

std::FILE* CaptureStream::open() {
    return fopencookie(this, "rb", {readInto, nullptr, nullptr, nullptr});
}

ssize_t CaptureStream::readInto(void* self, char* bytes, std::size_t room) noexcept {
    return static_cast<CaptureStream*>(self)->read({reinterpret_cast<std::uint8_t*>(bytes), room});
}

ssize_t CaptureStream::read(Room room) noexcept {
    if (!hasBegun_ && begin() < 0) return -1;
    const auto bytes = inflating_ ? readInflated(room) : readPlain(room);
    try {
        if (bytes > 0) watch_(room.first(static_cast<std::size_t>(bytes)));
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return -1;
    }
    return bytes;
}

// Reads as much as tells the formats apart; a pipe may bring less at once.
ssize_t CaptureStream::begin() noexcept {
    std::size_t held = 0;
    for (ssize_t count = 1; held < 2 && count > 0; held += static_cast<std::size_t>(count))
        if (count = readRaw(Room(buffer_).subspan(held)); count < 0) return count;
    input_ = std::span(buffer_).first(held);
    hasBegun_ = true;
    if (!isGzip(input_)) return 0;
    inflating_.reset(new (std::nothrow) z_stream{});
    if (inflating_ && inflateInit2(inflating_.get(), gzipFormat) == Z_OK) return 0;
    errno = ENOMEM;
    return -1;
}

ssize_t CaptureStream::readRaw(Room room) const noexcept {
    std::array<pollfd, 2> sources = {{{descriptor_.get(), POLLIN, 0}, {endDescriptor(), POLLIN, 0}}};
    while (endRequested() == 0) {
        if (poll(sources.data(), sources.size(), -1) < 0 || sources[0].revents == 0) continue;
        const auto result = ::read(descriptor_.get(), room.data(), room.size());
        if (result >= 0 || (errno != EAGAIN && errno != EINTR)) return result;
    }
    errno = EINTR;
    return -1;
}

ssize_t CaptureStream::readPlain(Room room) noexcept {
    if (input_.empty()) return readRaw(room);
    const auto bytes = std::min(room.size(), input_.size());
    std::copy_n(input_.begin(), bytes, room.begin());
    input_ = input_.subspan(bytes);
    return static_cast<ssize_t>(bytes);
}

ssize_t CaptureStream::readInflated(Room room) noexcept {
    if (!damage_.empty()) return -1;
    auto& stream = *inflating_;
    stream.next_out = room.data();
    stream.avail_out = static_cast<uInt>(room.size());
    while (stream.avail_out == room.size()) {
        if (input_.empty() && !refill()) return -1;
        if (input_.empty()) return isInsideMember_ ? fail("it ends early") : 0;
        if (const char* damage = inflateInput()) {
            fail(damage);
            break;
        }
    }
    const auto bytes = room.size() - stream.avail_out;
    return bytes == 0 ? -1 : static_cast<ssize_t>(bytes);
}

/// Returns what is wrong with the data; null where nothing is.
const char* CaptureStream::inflateInput() noexcept {
    auto& stream = *inflating_;
    stream.next_in = const_cast<Bytef*>(input_.data()); // zlib only reads it
    stream.avail_in = static_cast<uInt>(input_.size());
    const int result = inflate(&stream, Z_NO_FLUSH);
    input_ = input_.last(stream.avail_in);
    isInsideMember_ = result != Z_STREAM_END;
    if (!isInsideMember_) inflateReset(&stream);
    if (result == Z_OK || result == Z_STREAM_END) return nullptr;
    return stream.msg ? stream.msg : "no reason given";
}

/// Leaves the input empty at the end of the file.
bool CaptureStream::refill() noexcept {
    const auto count = readRaw(buffer_);
    input_ = std::span(buffer_).first(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count >= 0;
}

ssize_t CaptureStream::fail(const char* damage) noexcept {
    try {
        damage_ = std::string("its compressed data is damaged (") + damage + ")";
    } catch (const std::bad_alloc&) { // libpcap gives the reason then
    }
    errno = EIO;
    return -1;
}

} // namespace orvo::host
