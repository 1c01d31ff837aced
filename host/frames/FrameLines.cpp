// SPDX-License-Identifier: MIT
#include "frames/FrameLines.h"

#include <chrono>
#include <cstring>
#include <exception>

namespace orvo::host {

void FrameLines::write(const void* frame, std::size_t bytes) {
    const auto line = clockText(std::chrono::system_clock::now()) + " " +
                      describer_.describe({static_cast<const std::uint8_t*>(frame), bytes}) + "\n";
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
