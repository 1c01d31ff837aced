// SPDX-License-Identifier: MIT
// The life of a pcapng file.
#include "frames/PcapngWriter.h"

#include "base/Failure.h"

#include <algorithm>
#include <chrono>
#include <exception>
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

PcapngWriter::PcapngWriter(std::string path, std::string interfaceName, std::string description,
                           BlockFile::Target target)
    : path_(std::move(path)), clock_(systemTime), interfaceName_(std::move(interfaceName)),
      description_(std::move(description)), file_(path_, closingBlockBytes(), target) {
    if (!file_.replacesFile()) writeHeader(); // shows a full disk or device before anything else happens
}

// Not `close`: a failure on this road is the second one, and the first is being reported.
PcapngWriter::~PcapngWriter() {
    if (!open_) return;
    try {
        close(std::nullopt);
    } catch (const Failure&) {
    }
}

void PcapngWriter::writeHeader() {
    file_.add(pcapng::sectionHeader("orvo-gige " ORVO_VERSION));
    file_.add(pcapng::interfaceDescription(interfaceName_, description_));
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

void PcapngWriter::write(const void* frame, std::size_t bytes) {
    const auto time = clock_();
    auto* block = file_.add(pcapng::enhancedPacketBytes(bytes));
    pcapng::putEnhancedPacket(block, 0, time, frame, bytes);
    ++frames_;
}

std::uint64_t PcapngWriter::closedBytesWith(std::size_t frameBytes) const noexcept {
    return file_.size() + pcapng::enhancedPacketBytes(frameBytes) + closingBlockBytes();
}

std::uint64_t PcapngWriter::close(std::optional<std::uint64_t> droppedFrames) {
    open_ = false;
    std::exception_ptr failure;
    try {
        file_.flush(); // first: the statistics count the frames that are in the file
    } catch (const Failure&) {
        failure = std::current_exception();
    }
    framesInFile_ = frames_ - std::min(frames_, file_.lostBlocks());
    file_.add(statisticsBlock(framesInFile_, droppedFrames));
    file_.close();
    if (failure) std::rethrow_exception(failure);
    return framesInFile_;
}

std::vector<std::uint8_t> PcapngWriter::statisticsBlock(std::uint64_t frames,
                                                        std::optional<std::uint64_t> droppedFrames) const {
    return pcapng::interfaceStatistics({0, begin_, std::max(begin_, clock_()), frames, droppedFrames});
}

} // namespace orvo::host
