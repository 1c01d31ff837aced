// SPDX-License-Identifier: MIT
// Where captured frames go: a file, standard output, or files in turn.
#pragma once

#include "frames/PcapngWriter.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// A number of files of limited size, written in turn.
struct FileRing {
    unsigned files = 0;
    std::uint64_t fileBytes = 0;

    /// Reads "N:SIZE", where SIZE may end in k, M or G (powers of 1,000). Nothing for any other text, fewer
    /// than two files, or files too small for a frame.
    static std::optional<FileRing> parse(const std::string& text);

    /// The name of file `number`, from 1: `path` with the number before its suffix, all numbers of one width.
    std::string fileName(const std::string& path, unsigned number) const;
};

/// Writes frames as pcapng. Every file is complete and readable however the program ends. One thread at a
/// time.
class CaptureOutput {
public:
    static constexpr auto standardOutput = "-"; ///< as path

    using Interface = pcapng::Interface;

    /// Makes sure that the file, or the first of a ring, can be written. Errors: Failure, as in all that
    /// follow; OutputClosed when nobody reads standard output.
    CaptureOutput(std::string path, Interface interface, std::optional<FileRing> ring);

    /// Files that may be written; none for standard output.
    std::vector<std::string> paths() const;

    /// From now on files are replaced.
    void begin();

    /// Adds a frame with the present time; a full ring overwrites its oldest file.
    void write(const void* frame, std::size_t bytes);

    /// Makes everything visible to readers of the file.
    void flush() { writer_->flush(); }

    /// Whether the pipe's reader closed it.
    bool readerGone() const noexcept { return writer_->readerGone(); }

    /// From now on, a reader that stalls is no longer waited for. Any thread.
    void hurry() noexcept { ending_.raise(); }

    /// Completes the file as far as possible.
    void close();

    struct File {
        std::string path;
        std::uint64_t frames = 0; ///< known once the file is complete
    };
    /// After `close`: the files with the captured frames, oldest first.
    const std::deque<File>& files() const noexcept { return files_; }
    /// After `close`: frames that a ring overwrote.
    std::uint64_t overwrittenFrames() const noexcept { return overwrittenFrames_; }

private:
    void open();
    void closeFile();

    const std::string path_;
    const Interface interface_;
    const std::optional<FileRing> ring_;
    EventFd ending_;
    unsigned number_ = 1; // of the ring's file
    std::unique_ptr<PcapngWriter> writer_;
    std::deque<File> files_;
    std::uint64_t overwrittenFrames_ = 0;
};

} // namespace orvo::host
