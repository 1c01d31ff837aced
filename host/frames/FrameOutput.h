// SPDX-License-Identifier: MIT
#pragma once

#include "frames/OutputFrame.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace orvo::host {

/// Where captured frames go. One thread at a time, but for `hurry`. Errors: Failure; ReaderGone where the
/// reader of a pipe closed it.
class FrameOutput {
public:
    static constexpr auto standardOutput = "-"; ///< as the name of a file
    /// The file's name as a report has it.
    static std::string nameText(const std::string& file) {
        return file == standardOutput ? "standard output" : file;
    }

    virtual ~FrameOutput() = default;

    /// Files that may be written; none for standard output.
    virtual std::vector<std::string> paths() const = 0;

    /// From now on files are replaced.
    virtual void begin() = 0;

    virtual void write(const OutputFrame& frame) = 0;

    /// Frames of an interface that never came here, since the beginning.
    virtual void noteMissed(std::uint32_t /*interface*/, std::uint64_t /*frames*/) {}

    /// Makes everything visible to readers.
    virtual void flush() = 0;

    /// Whether the pipe's reader closed it.
    virtual bool readerGone() const noexcept = 0;

    /// From now on, a reader that stalls is no longer waited for. Any thread.
    virtual void hurry() noexcept = 0;

    /// Completes the output as far as possible.
    virtual void close() = 0;

    struct File {
        std::string path;
        std::uint64_t frames = 0; ///< known once the file is complete
    };
    /// After `close`: the files with the captured frames, oldest first.
    virtual const std::deque<File>& files() const noexcept = 0;
    /// After `close`: frames that newer ones replaced.
    virtual std::uint64_t overwrittenFrames() const noexcept { return 0; }
};

} // namespace orvo::host
