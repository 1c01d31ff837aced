// SPDX-License-Identifier: MIT
// The calls of all threads while a recording runs, and the functions that note them.
#pragma once

#include "device/recording/ThreadCalls.h"

#include <memory>
#include <mutex>
#include <vector>

namespace orvo::host {

/// While it lives, the functions of `recordingEntries` note what they pass on. One at a time in a process.
class CallCollector {
public:
    /// `table`: what the functions call; null where the library lacks the entry.
    explicit CallCollector(const EntryTable& table);
    ~CallCollector();
    CallCollector(const CallCollector&) = delete;
    CallCollector& operator=(const CallCollector&) = delete;

    /// Those of each thread that has made a call.
    std::vector<std::shared_ptr<ThreadCalls>> threads();

    /// Lets go of a thread that has ended and whose ring has been drained.
    void forget(const ThreadCalls& thread);

    /// From now on calls are only passed on. Any thread, also a signal handler or a forked child.
    void retire() noexcept;

    /// After `retire`: has every thread hand over what it holds back. Waits for those that are in a call, but
    /// no longer than a quarter of a second; one that stays there loses what it holds back.
    void awaitQuiet();

    /// Whether there was no memory to note a thread's calls.
    bool hasRefusedThread() const noexcept { return refused_; }

    /// The calling thread's, made at its first call. Null when nothing is recorded.
    static ThreadCalls* ofThisThread() noexcept;

private:
    static std::shared_ptr<ThreadCalls> joined() noexcept;
    std::shared_ptr<ThreadCalls> addThread() noexcept;
    std::vector<std::shared_ptr<ThreadCalls>> others();

    std::mutex changing_; // of the list: a thread takes it once
    std::vector<std::shared_ptr<ThreadCalls>> threads_;
    unsigned added_ = 0;
    std::atomic<bool> refused_{false};
};

/// What the functions of `recordingEntries` call while there is no collector. Any thread.
void setOriginals(const EntryTable& table) noexcept;

/// A function for each entry, which calls the original and notes the call.
extern const EntryTable recordingEntries;

} // namespace orvo::host
