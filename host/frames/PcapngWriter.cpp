// SPDX-License-Identifier: MIT
#include "frames/PcapngWriter.h"

#include "base/Failure.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <numeric>
#include <utility>

namespace orvo::host {
namespace {

pcapng::Timestamp systemTime() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<pcapng::Timestamp>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count());
}

std::size_t closingBlockBytes() {
    pcapng::InterfaceStatistics statistics;
    statistics.droppedFrames = 0;
    return pcapng::interfaceStatistics(statistics).size();
}

} // namespace

PcapngWriter::PcapngWriter(std::string path, BlockFile::Target target,
                           std::vector<pcapng::Interface> interfaces)
    : path_(std::move(path)), clock_(systemTime), interfaces_(std::move(interfaces)),
      file_(path_, interfaces_.size() * closingBlockBytes(), target), frames_(interfaces_.size()) {
    if (!file_.replacesFile()) writeHeader(); // a full disk or device fails before anything else happens
}

// A failure here would be the second one; the first is being reported.
PcapngWriter::~PcapngWriter() {
    if (!open_) return;
    try {
        close(std::vector<DroppedFrames>{});
    } catch (const Failure&) {
    }
}

void PcapngWriter::writeHeader() {
    file_.add(pcapng::sectionHeader("orvo-gige " ORVO_VERSION));
    for (const auto& interface : interfaces_) file_.add(pcapng::interfaceDescription(interface));
    file_.flush();
    headerWritten_ = true;
}

void PcapngWriter::begin() {
    file_.keep();
    if (!headerWritten_) {
        file_.empty();
        writeHeader();
    }
    open_ = true;
    begin_ = clock_();
}

void PcapngWriter::write(const OutputFrame& frame) {
    auto* block = file_.add(pcapng::enhancedPacketBytes(frame));
    pcapng::putEnhancedPacket(block, frame, frame.time ? *frame.time : clock_());
    ++frames_[frame.interface];
}

std::uint64_t PcapngWriter::closedBytesWith(const OutputFrame& frame) const noexcept {
    return file_.size() + pcapng::enhancedPacketBytes(frame) + interfaces_.size() * closingBlockBytes();
}

std::uint64_t PcapngWriter::close(const std::vector<DroppedFrames>& dropped) {
    open_ = false;
    std::exception_ptr failure;
    try {
        file_.flush(); // the statistics count the frames that reached the file
    } catch (const Failure&) {
        failure = std::current_exception();
    }
    const auto frames = std::accumulate(frames_.begin(), frames_.end(), std::uint64_t{0});
    framesInFile_ = frames - std::min(frames, file_.lostBlocks());
    addStatistics(dropped);
    file_.close();
    if (failure) std::rethrow_exception(failure);
    return framesInFile_;
}

/// Which interface lost frames is not known, so with several of them only complete numbers are written.
void PcapngWriter::addStatistics(const std::vector<DroppedFrames>& dropped) {
    const auto end = std::max(begin_, clock_());
    const auto droppedBy = [&](std::size_t i) { return i < dropped.size() ? dropped[i] : DroppedFrames(); };
    if (interfaces_.size() == 1)
        file_.add(pcapng::interfaceStatistics({0, begin_, end, framesInFile_, droppedBy(0)}));
    else if (file_.lostBlocks() == 0)
        for (std::uint32_t i = 0; i < interfaces_.size(); ++i)
            file_.add(pcapng::interfaceStatistics({i, begin_, end, frames_[i], droppedBy(i)}));
}

} // namespace orvo::host
