// SPDX-License-Identifier: MIT
#include "frames/CaptureReader.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace orvo::host {
namespace {

constexpr std::size_t readBufferBytes = 1 << 20;

/// A file can hold any time. Times are limited to 32-bit seconds, so that they and their differences fit into
/// nanoseconds.
std::chrono::nanoseconds timeOf(const timeval& stamp) {
    constexpr std::int64_t lastSecond = 0xFFFF'FFFF;
    return std::chrono::seconds(std::clamp<std::int64_t>(stamp.tv_sec, 0, lastSecond)) +
           std::chrono::nanoseconds(std::clamp<std::int64_t>(stamp.tv_usec, 0, 999'999'999));
}

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

} // namespace

void CaptureReader::Close::operator()(pcap* capture) const noexcept {
    pcap_close(capture);
}

CaptureReader::CaptureReader(std::string path)
    : path_(std::move(path)), stream_(path_, [this](Bytes bytes) { notes_.feed(bytes); }) {
    open();
    checkLinkType();
    const int extension = pcap_datalink_ext(capture_.get());
    if (LT_FCS_LENGTH_PRESENT(extension)) // the file counts it in units of 16 bits
        fcsBytes_ = 2 * static_cast<std::size_t>(LT_FCS_LENGTH(static_cast<unsigned>(extension)));
}

CaptureReader::~CaptureReader() = default;

void CaptureReader::open() {
    std::unique_ptr<std::FILE, CloseFile> file(stream_.open());
    if (!file) throw Failure("cannot read " + name() + ": out of memory; free some and try again");
    std::setvbuf(file.get(), nullptr, _IOFBF, readBufferBytes);
    std::array<char, PCAP_ERRBUF_SIZE> reason = {};
    capture_.reset(
        pcap_fopen_offline_with_tstamp_precision(file.get(), PCAP_TSTAMP_PRECISION_NANO, reason.data()));
    throwIfEndRequested();
    if (!capture_)
        throw Failure("cannot read " + name() + ": " + reasonOr(reason.data()) +
                      "; name a pcap or pcapng file");
    static_cast<void>(file.release()); // the capture closes it
}

/// libpcap would call damaged compressed data an input/output error.
std::string CaptureReader::reasonOr(const char* reason) const {
    return stream_.damage().empty() ? reason : stream_.damage();
}

void CaptureReader::checkLinkType() const {
    const int type = pcap_datalink(capture_.get());
    if (type == DLT_EN10MB) return;
    const char* typeName = pcap_datalink_val_to_name(type);
    throw Failure(name() + " holds frames of link type " + (typeName ? typeName : std::to_string(type)) +
                  "; only captures of Ethernet frames (EN10MB) can be read");
}

bool CaptureReader::next(CapturedFrame& frame) {
    if (!fault_.empty()) return false;
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex(capture_.get(), &header, &bytes);
    if (result == PCAP_ERROR_BREAK) return false;
    if (result != 1) {
        throwIfEndRequested();
        fault_ = "cannot read " + name() + " beyond frame " + std::to_string(frames_) + ": " +
                 reasonOr(pcap_geterr(capture_.get()));
        if (frames_ == 0) throw Failure(fault_ + "; name another pcap or pcapng file");
        return false;
    }
    const auto note = notes_.next();
    const auto fcsBytes = note ? note->fcsBytes : fcsBytes_;
    const std::size_t originalLength = std::max(header->len, header->caplen);
    frame.originalLength = originalLength - std::min(fcsBytes, originalLength);
    frame.diedAt = note ? note->diedAt : std::nullopt;
    frame.length = std::min<std::size_t>(header->caplen, frame.originalLength);
    frame.bytes = bytes;
    frame.number = ++frames_;
    frame.recordedAt = timeOf(header->ts);
    return true;
}

bool isReadWhole(const std::string& fault) {
    if (!fault.empty()) notice(fault + "; the frames up to there were used");
    return fault.empty();
}

} // namespace orvo::host
