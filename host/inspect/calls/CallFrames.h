// SPDX-License-Identifier: MIT
// The frames in a recording of board calls.
#pragma once

#include "device/recording/RecordedCall.h"
#include "frames/PcapngWriter.h"

#include <map>
#include <string>

namespace orvo::host {

/// Puts frames together from the register writes that send them and from the reads of receive queues, and
/// writes them as a capture. One thread.
class CallFrames {
public:
    /// `begin` is the recording's, in nanoseconds since 1970. Errors: Failure when the file cannot be
    /// written.
    CallFrames(const std::string& path, std::int64_t begin);

    /// The next call of its thread. Errors: as above.
    void add(const RecordedCall& call, const RegisterNames& registers);

    /// Completes the file; returns the number of frames.
    std::uint64_t close();

private:
    static constexpr unsigned ports = 4;
    enum Direction { Sent, Received };

    void addWrite(const RecordedCall& call, const RegisterNames& registers);
    void addRead(const RecordedCall& call);
    void write(const ByteString& frame, std::int64_t moment, unsigned port, Direction direction);

    const std::int64_t begin_;
    PcapngWriter file_;
    std::map<std::pair<unsigned, unsigned>, ByteString> unsent_; // by thread and port
};

} // namespace orvo::host
