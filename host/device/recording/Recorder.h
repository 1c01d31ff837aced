// SPDX-License-Identifier: MIT
// Writes every board call of this process into a file.
#pragma once

#include "device/recording/CallCollector.h"
#include "device/recording/CallConverter.h"
#include "device/recording/RecordingFile.h"

#include <condition_variable>
#include <stop_token>
#include <thread>

namespace orvo::host {

/// Records until `finish`. A thread of its own compresses and writes; threads that call the board never wait
/// for it. What could not be kept is counted.
class Recorder {
public:
    /// `header` becomes the file's first block; this adds the entries. `name` stands for the path in
    /// messages, unless it is empty. Errors: Failure when the file cannot be written.
    Recorder(const std::string& path, const EntryTable& originals, nlohmann::json header,
             const std::string& name = {});
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Completes the file. Other threads may go on calling the board; see CallCollector::awaitQuiet. Returns
    /// one line on what the file lacks, empty when it is complete.
    std::string finish();

    /// In a forked child, which has none of the threads: leaves the file to the parent. Only `this` must not
    /// be destroyed then. Calls nothing that is unsafe in such a child.
    void leaveToParent() noexcept;

private:
    void write(const std::stop_token& stop);
    std::uint64_t drain();
    void writeBlock();
    void complete();
    std::string lackText() const;

    const std::string name_;
    RecordingWriter file_;
    CallCollector collector_;
    CallConverter converter_;
    std::uint64_t kept_ = 0, lost_ = 0;
    std::string failure_; // why nothing more is written
    std::mutex mutex_;
    std::condition_variable_any ended_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
