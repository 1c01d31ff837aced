// SPDX-License-Identifier: MIT
// The calls of all threads while a recording runs, and the functions that note them.
#pragma once

#include "device/recording/ThreadCalls.h"

#include <memory>
#include <mutex>
#include <vector>

namespace orvo::host {

/// While it lives, the functions of `recordingEntries` note what they pass on. One at a time in a process. No
/// other thread may be in one of them when it ends.
class CallCollector {
public:
    /// `originals`: what the functions call; null where the library lacks the entry.
    explicit CallCollector(const EntryTable& originals);
    ~CallCollector();
    CallCollector(const CallCollector&) = delete;
    CallCollector& operator=(const CallCollector&) = delete;

    /// Those of each thread that has made a call.
    std::vector<std::shared_ptr<ThreadCalls>> threads();

    /// Lets go of a thread that has ended and whose ring has been drained.
    void forget(const ThreadCalls& thread);

    /// The calling thread's, made at its first call. Null when nothing is recorded.
    static ThreadCalls* ofThisThread();

private:
    std::shared_ptr<ThreadCalls> addThread();

    std::mutex changing_; // of the list: a thread takes it once
    std::vector<std::shared_ptr<ThreadCalls>> threads_;
    unsigned added_ = 0;
};

/// A function for each entry, which calls the original and notes the call.
extern const EntryTable recordingEntries;

} // namespace orvo::host
