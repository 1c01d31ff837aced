// SPDX-License-Identifier: MIT
// A recording that answers instead of a board.
#pragma once

#include "device/recording/PlayedThread.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

namespace orvo::host {

struct PlaybackOptions {
    bool isLenient = false;  ///< answers by entry and register, in recorded order, whatever else is called
    bool isRealTime = false; ///< answers when the board did, not at once
};

/// While it lives, the functions of `playbackEntries` are answered by a recording. One at a time in a
/// process.
///
/// Strict, each thread of the run repeats the calls of one recorded thread, which its first call tells, and
/// the threads take turns as recorded: a call waits until the others have made those of before. At the first
/// call that differs, one message tells both, and the process ends with DifferencesFound.
class Playback {
public:
    /// Errors: Failure when the recording cannot be used.
    Playback(const std::string& path, const PlaybackOptions& options);
    ~Playback();
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    const nlohmann::json& header() const noexcept { return header_; }
    bool isRealTime() const noexcept { return options_.isRealTime; }

    /// The recording's time, in seconds, after the calling thread's last call.
    static double seconds();
    /// The same, for code that waits; it goes on with the time if no call comes for a second.
    static std::chrono::nanoseconds clock() noexcept;

    /// How many different calls the calling thread has made; a wait counts as one.
    static std::size_t callsOfThisThread() noexcept;

    /// Waits, if a recording answers, until the other threads have made the calls of before the calling
    /// thread's next one, and done what they do in between. For a host that is about to stop them, or to
    /// change what they do.
    static void letOthersCatchUp();

    /// Whether the recording has nothing more to deliver, or the run has made none of its calls for seconds:
    /// a run that lasts until the user ends it ends then. Any thread.
    bool isOver() const;

    /// Calls that a run has left out, as one line; empty when there are none. For main, after the run.
    static const std::string& leftOut();

private:
    struct Lenient;
    std::uint64_t answer(const LiveCall& live);
    std::uint64_t answerEmpty(const LiveCall& live, std::unique_lock<std::mutex>& guard);
    using Lateness = bool (PlayedThread::*)(std::int64_t moment) const;
    void awaitOthers(const PlayedThread* thread, std::int64_t moment, Lateness lateness,
                     std::unique_lock<std::mutex>& guard);
    PlayedThread* threadFor(const LiveCall& live);
    bool isFurtherLook(const LiveCall& live) const;
    bool isDue(const PlayedThread& thread, const RecordedCall& call) const;
    void awaitMoment(std::int64_t moment) const;
    [[noreturn]] void endDifferent(const LiveCall& live, const PlayedThread* thread);
    void noteLeftOut() const;
    friend std::uint64_t answerFromRecording(const LiveCall& live);

    const std::string path_;
    const PlaybackOptions options_;
    nlohmann::json header_;
    RegisterNames registers_;
    std::deque<PlayedThread> threads_; // in recorded order
    std::unique_ptr<Lenient> lenient_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    mutable std::mutex mutex_;
    std::condition_variable progress_;
    std::chrono::steady_clock::time_point lastProgress_ = begin_;
    std::uint64_t epoch_;
};

/// The result's bits; also writes what the call wrote. Any thread.
std::uint64_t answerFromRecording(const LiveCall& live);

/// A function for each entry, which the recording answers.
extern const EntryTable playbackEntries;

} // namespace orvo::host
