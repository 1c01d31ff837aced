// SPDX-License-Identifier: MIT
// Writing of received frames as a pcapng file.
#pragma once

#include "frames/BlockFile.h"
#include "frames/PcapngBlocks.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvo::host {

/// One file, usually with one interface. Its last blocks, the statistics, are written by `close` or else by
/// the destructor, so that the file is complete however the program ends. One thread at a time.
class PcapngWriter {
public:
    /// Makes sure that `path` can be written. An existing file keeps its content until `begin`; a new one is
    /// removed again when `begin` is never called. Errors: Failure when it cannot be written.
    PcapngWriter(std::string path, pcapng::Interface interface,
                 BlockFile::Target target = BlockFile::Target::NamedFile)
        : PcapngWriter(std::move(path), target, {std::move(interface)}) {}
    /// With interfaces that are numbered from 0.
    PcapngWriter(std::string path, BlockFile::Target target, std::vector<pcapng::Interface> interfaces);
    ~PcapngWriter();

    const std::string& path() const noexcept { return path_; }

    /// Replaces the system's clock as the source of the frames' times.
    void setClock(std::function<pcapng::Timestamp()> clock) { clock_ = std::move(clock); }

    /// From now on the file is replaced. Errors: Failure, as in all that follow, when the disk is full or
    /// fails; nothing may be written afterwards.
    void begin();

    void write(const OutputFrame& frame);
    /// Adds a frame with the present time.
    void write(const void* frame, std::size_t bytes) { write(frame, bytes, clock_(), 0); }
    void write(const void* frame, std::size_t bytes, pcapng::Timestamp time, std::uint32_t interface) {
        write({{static_cast<const std::uint8_t*>(frame), bytes}, time, interface});
    }

    /// As in BlockFile.
    void endOn(const EventFd& ending) noexcept { file_.endOn(ending); }

    /// Makes everything visible to readers of the file.
    void flush() { file_.flush(); }

    /// Whether it is a pipe whose reader closed it.
    bool readerGone() const noexcept { return file_.readerGone(); }

    /// The file's size if it were closed after one more frame.
    std::uint64_t closedBytesWith(const OutputFrame& frame) const noexcept;

    /// Frames that an interface dropped; nothing where that is not known.
    using DroppedFrames = std::optional<std::uint64_t>;
    /// Closes the file and returns its number of frames. What was dropped, by interface, goes into the
    /// statistics.
    std::uint64_t close(const std::vector<DroppedFrames>& dropped);
    std::uint64_t close(DroppedFrames dropped) { return close(std::vector{dropped}); }

    /// After `close`, even if it failed.
    std::uint64_t framesInFile() const noexcept { return framesInFile_; }

private:
    void writeHeader();
    void addStatistics(const std::vector<DroppedFrames>& dropped);

    const std::string path_;
    std::function<pcapng::Timestamp()> clock_;
    const std::vector<pcapng::Interface> interfaces_;
    BlockFile file_;
    bool headerWritten_ = false;
    bool open_ = false; // between begin and close
    pcapng::Timestamp begin_ = 0;
    std::vector<std::uint64_t> frames_; // handed to the file, by interface
    std::uint64_t framesInFile_ = 0;
};

} // namespace orvo::host
