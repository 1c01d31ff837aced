// SPDX-License-Identifier: MIT
#include "frames/FrameLines.h"

#include <chrono>
#include <cstring>
#include <exception>

namespace orvo::host {

namespace {

using Time = std::chrono::system_clock::time_point;

Time timeOf(const OutputFrame& frame) {
    if (!frame.time) return std::chrono::system_clock::now();
    return Time(std::chrono::duration_cast<Time::duration>(std::chrono::nanoseconds(*frame.time)));
}

const char* directionText(FrameDirection direction) noexcept {
    if (direction == FrameDirection::Unknown) return "";
    return direction == FrameDirection::Sent ? "sent     " : "received ";
}

} // namespace

void FrameLines::write(const OutputFrame& frame) {
    auto line = clockText(timeOf(frame)) + " " + directionText(frame.direction) +
                describer_.describe(frame.withoutFcs());
    if (!frame.comment.empty()) line += " (" + std::string(frame.comment) + ")";
    line += "\n";
    std::memcpy(file_.add(line.size()), line.data(), line.size());
    ++lines_;
}

void FrameLines::close() {
    std::exception_ptr failure;
    try {
        file_.close();
    } catch (...) {
        failure = std::current_exception();
    }
    for (auto& file : files_) file.frames = lines_ - file_.lostBlocks();
    if (failure) std::rethrow_exception(failure);
}

} // namespace orvo::host
