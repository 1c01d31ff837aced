// SPDX-License-Identifier: MIT
// Captured frames as lines for people, on standard output.
#pragma once

#include "frames/BlockFile.h"
#include "frames/FrameOutput.h"
#include "frames/FrameText.h"

namespace orvo::host {

/// Writes a line for each frame: its time in UTC, its direction where known, what FrameDescriber says, and
/// its comment in parentheses.
class FrameLines final : public FrameOutput {
public:
    /// Errors: Failure when standard output cannot be used.
    FrameLines() { file_.endOn(ending_); }

    std::vector<std::string> paths() const override { return {}; }
    void begin() override { files_.push_back({standardOutput}); }
    void write(const OutputFrame& frame) override;
    void flush() override { file_.flush(); }
    bool readerGone() const noexcept override { return file_.readerGone(); }
    void hurry() noexcept override { ending_.raise(); }
    void close() override;
    const std::deque<File>& files() const noexcept override { return files_; }

private:
    EventFd ending_;
    BlockFile file_{"", 0, BlockFile::Target::StandardOutput}; // a block is a line
    FrameDescriber describer_;
    std::uint64_t lines_ = 0;
    std::deque<File> files_;
};

} // namespace orvo::host
