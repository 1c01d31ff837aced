// SPDX-License-Identifier: MIT
// Where captured frames go: a file, standard output, or files in turn.
#pragma once

#include "frames/FrameOutput.h"
#include "frames/PcapngWriter.h"

#include <cstdint>
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

/// Writes frames as pcapng. Every file is complete and readable however the program ends. A full ring
/// overwrites its oldest file.
class CaptureOutput final : public FrameOutput {
public:
    using Interface = pcapng::Interface;

    /// Makes sure that the file, or the first of a ring, can be written. `path` may be standardOutput.
    /// Errors: Failure, as in all that follow; OutputClosed when nobody reads standard output.
    CaptureOutput(std::string path, std::vector<Interface> interfaces, std::optional<FileRing> ring);

    std::vector<std::string> paths() const override;
    void begin() override;
    void write(const OutputFrame& frame) override;
    void noteMissed(std::uint32_t interface, std::uint64_t frames) override { missed_[interface] = frames; }
    void flush() override { writer_->flush(); }
    bool readerGone() const noexcept override { return writer_->readerGone(); }
    void hurry() noexcept override { ending_.raise(); }
    void close() override;
    const std::deque<File>& files() const noexcept override { return files_; }
    std::uint64_t overwrittenFrames() const noexcept override { return overwrittenFrames_; }

private:
    void open();
    void closeFile();

    const std::string path_;
    const std::vector<Interface> interfaces_;
    std::vector<std::optional<std::uint64_t>> missed_; // by interface; nothing: unknown
    const std::optional<FileRing> ring_;
    EventFd ending_;
    unsigned number_ = 1; // of the ring's file
    std::unique_ptr<PcapngWriter> writer_;
    std::deque<File> files_;
    std::uint64_t overwrittenFrames_ = 0;
};

} // namespace orvo::host
