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

/// So many files of a greatest size each, written in turn.
struct FileRing {
    unsigned files = 0;
    std::uint64_t fileBytes = 0;

    /// From "N:SIZE", where SIZE may end in k, M or G (powers of 1,000); nothing when it is something else,
    /// or less than a ring: two files at least, with room for a frame in each.
    static std::optional<FileRing> parse(const std::string& text);

    /// The name of file `number`, from 1: `path` with the number before its suffix, in as many digits as the
    /// last one takes.
    std::string fileName(const std::string& path, unsigned number) const;
};

/// Writes frames as pcapng. Every file is complete and readable however the program ends. One thread at a
/// time.
class CaptureOutput {
public:
    static constexpr auto standardOutput = "-"; ///< as path

    /// What the frames' interface is called in the files.
    struct Interface {
        std::string name;
        std::string description;
    };

    /// Makes sure that the file, of a ring the first, can be written. Errors: Failure, as all that follow.
    CaptureOutput(std::string path, Interface interface, std::optional<FileRing> ring);

    /// The files that it may write; none for standard output.
    std::vector<std::string> paths() const;

    /// From now on files are replaced.
    void begin();

    /// Adds a frame that came at this moment; the oldest file of a full ring makes room.
    void write(const void* frame, std::size_t bytes);

    /// Lets readers of the file see all that was written.
    void flush() { writer_->flush(); }

    /// True once whoever read from the pipe is gone.
    bool readerGone() const noexcept { return writer_->readerGone(); }

    /// From now on a reader that does not read on is not waited for. Any thread.
    void hurry() noexcept { ending_.raise(); }

    /// Completes the file, as far as it can be.
    void close();

    struct File {
        std::string path;
        std::uint64_t frames = 0; ///< when complete
    };
    /// After `close`: the files with the captured frames, oldest first.
    const std::deque<File>& files() const noexcept { return files_; }
    /// After `close`: frames in the files, and those that made room for them.
    std::uint64_t framesInFiles() const noexcept;
    std::uint64_t overwrittenFrames() const noexcept { return overwrittenFrames_; }

private:
    void open();
    void closeFile();

    const std::string path_;
    const Interface interface_;
    const std::optional<FileRing> ring_;
    EventDescriptor ending_;
    unsigned number_ = 1; // of the ring's file
    std::unique_ptr<PcapngWriter> writer_;
    std::deque<File> files_;
    std::uint64_t overwrittenFrames_ = 0;
};

} // namespace orvo::host
