// SPDX-License-Identifier: MIT
// Writing of received frames as a pcapng file.
#pragma once

#include "frames/BlockFile.h"
#include "frames/PcapngBlocks.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace orvo::host {

/// One file with one interface. Complete and readable however the program ends: the statistics block that
/// closes it is written by `close`, or else by the destructor. One thread at a time.
class PcapngWriter {
public:
    /// Makes sure that `path` can be written. A file that is there already keeps its content until `begin`; a
    /// new one is removed again when `begin` is never called. Errors: Failure when it cannot be written.
    PcapngWriter(std::string path, std::string interfaceName, std::string description,
                 BlockFile::Target target = BlockFile::Target::NamedFile);
    ~PcapngWriter();
    PcapngWriter(const PcapngWriter&) = delete;
    PcapngWriter& operator=(const PcapngWriter&) = delete;

    const std::string& path() const noexcept { return path_; }

    /// Takes the time of frames from here instead of the system's clock: nanoseconds since 1970.
    void setClock(std::function<pcapng::Timestamp()> clock) { clock_ = std::move(clock); }

    /// From now on the file is replaced. Errors: Failure, as all that follow, when the disk is full or fails;
    /// nothing may be written afterwards.
    void begin();

    /// Adds a frame that came at this moment.
    void write(const void* frame, std::size_t bytes);

    /// As of BlockFile.
    void endOn(const EventDescriptor& ending) noexcept { file_.endOn(ending); }

    /// Lets readers of the file see all that was written.
    void flush() { file_.flush(); }

    /// Whether it is a pipe that nobody can read from any more.
    bool readerGone() const noexcept { return file_.readerGone(); }

    /// The file's size if it were closed after one more frame of such a length.
    std::uint64_t closedBytesWith(std::size_t frameBytes) const noexcept;

    /// Closes the file and returns the number of frames in it; `droppedFrames` goes into its statistics when
    /// it is known.
    std::uint64_t close(std::optional<std::uint64_t> droppedFrames);

    /// After `close`, also a failed one.
    std::uint64_t framesInFile() const noexcept { return framesInFile_; }

private:
    void writeHeader();
    std::vector<std::uint8_t> statisticsBlock(std::uint64_t frames,
                                              std::optional<std::uint64_t> droppedFrames) const;

    const std::string path_;
    std::function<pcapng::Timestamp()> clock_;
    const std::string interfaceName_;
    const std::string description_;
    BlockFile file_;
    bool headerWritten_ = false;
    bool open_ = false; // between begin and close
    pcapng::Timestamp begin_ = 0;
    std::uint64_t frames_ = 0; // handed to the file
    std::uint64_t framesInFile_ = 0;
};

} // namespace orvo::host
