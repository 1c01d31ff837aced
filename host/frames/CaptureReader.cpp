// SPDX-License-Identifier: MIT
// Capture files through libpcap.
#include "frames/CaptureReader.h"

#include "base/Failure.h"
#include "base/Signals.h"

#include <pcap/pcap.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace orvo::host {
namespace {

constexpr std::size_t readBufferBytes = 1 << 20;

// Of a pipe, without waiting for whoever writes to it: its reads do.
int openDescriptor(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor >= 0) return descriptor;
    const int reason = errno;
    throw Failure("cannot read " + quoted(path) + ": " + systemError(reason) +
                  "; name a pcap or pcapng file");
}

// Refuses what libpcap has no good words for; returns whether it is a regular file.
bool checkFile(int descriptor, const std::string& path) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) return false;
    if (S_ISDIR(status.st_mode)) throw Failure(quoted(path) + " is a directory; name a pcap or pcapng file");
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        throw Failure(quoted(path) + " is empty; name a pcap or pcapng file with frames in it");
    return S_ISREG(status.st_mode);
}

/// A file can claim any time. What lies beyond the range of 32-bit seconds is cut to it, so that times and
/// their differences fit nanoseconds.
std::chrono::nanoseconds timeOf(const timeval& stamp) {
    constexpr std::int64_t lastSecond = 0xFFFF'FFFF;
    return std::chrono::seconds(std::clamp<std::int64_t>(stamp.tv_sec, 0, lastSecond)) +
           std::chrono::nanoseconds(std::clamp<std::int64_t>(stamp.tv_usec, 0, 999'999'999));
}

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

/// Waits for bytes, or for a signal that asks for the end, whenever that comes.
ssize_t readOrEnd(void* cookie, char* bytes, std::size_t room) noexcept {
    std::array<pollfd, 2> sources = {
        {{*static_cast<const int*>(cookie), POLLIN, 0}, {endDescriptor(), POLLIN, 0}}};
    while (endRequested() == 0) {
        if (poll(sources.data(), sources.size(), -1) < 0 || sources[0].revents == 0) continue;
        const auto result = ::read(sources[0].fd, bytes, room);
        if (result >= 0 || (errno != EAGAIN && errno != EINTR)) return result;
    }
    errno = EINTR;
    return -1;
}

int closeDescriptor(void* cookie) noexcept {
    return ::close(*static_cast<const int*>(cookie));
}

} // namespace

void CaptureReader::Close::operator()(pcap* capture) const noexcept {
    pcap_close(capture);
}

CaptureReader::CaptureReader(std::string path) : path_(std::move(path)) {
    open();
    checkLinkType();
    const int extension = pcap_datalink_ext(capture_.get());
    if (LT_FCS_LENGTH_PRESENT(extension)) // the file counts it in units of 16 bits
        fcsBytes_ = 2 * static_cast<std::size_t>(LT_FCS_LENGTH(static_cast<unsigned>(extension)));
}

CaptureReader::~CaptureReader() = default;

void CaptureReader::open() {
    descriptor_ = openDescriptor(path_);
    std::unique_ptr<std::FILE, CloseFile> file(
        fopencookie(&descriptor_, "rb", {readOrEnd, nullptr, nullptr, closeDescriptor}));
    if (!file) {
        close(descriptor_);
        throw Failure("cannot read " + quoted(path_) + ": out of memory; free some and try again");
    }
    regularFile_ = checkFile(descriptor_, path_);
    std::setvbuf(file.get(), nullptr, _IOFBF, readBufferBytes);
    std::array<char, PCAP_ERRBUF_SIZE> reason = {};
    capture_.reset(
        pcap_fopen_offline_with_tstamp_precision(file.get(), PCAP_TSTAMP_PRECISION_NANO, reason.data()));
    throwIfEndRequested();
    if (!capture_)
        throw Failure("cannot read " + quoted(path_) + ": " + reason.data() + "; name a pcap or pcapng file");
    static_cast<void>(file.release()); // it is the capture's now
}

void CaptureReader::checkLinkType() const {
    const int type = pcap_datalink(capture_.get());
    if (type == DLT_EN10MB) return;
    const char* name = pcap_datalink_val_to_name(type);
    throw Failure(quoted(path_) + " holds frames of link type " + (name ? name : std::to_string(type)) +
                  "; only captures of Ethernet frames (EN10MB) can be sent");
}

bool CaptureReader::next(CapturedFrame& frame) {
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex(capture_.get(), &header, &bytes);
    if (result == PCAP_ERROR_BREAK) return false;
    if (result != 1) {
        throwIfEndRequested();
        const std::string advice = frames_ == 0 ? "name another pcap or pcapng file"
                                                : "save the frames before it with a capture editor";
        throw Failure("cannot read " + quoted(path_) + " beyond frame " + std::to_string(frames_) + ": " +
                      pcap_geterr(capture_.get()) + "; " + advice);
    }
    const std::size_t originalLength = std::max(header->len, header->caplen);
    frame.originalLength = originalLength - std::min(fcsBytes_, originalLength);
    frame.length = std::min<std::size_t>(header->caplen, frame.originalLength);
    frame.bytes = bytes;
    frame.number = ++frames_;
    frame.recordedAt = timeOf(header->ts);
    return true;
}

} // namespace orvo::host
