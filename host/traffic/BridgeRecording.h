// SPDX-License-Identifier: MIT
// Recording of a bridge: both directions in one file, each as an interface of its own.
#pragma once

#include "base/FileDescriptor.h"
#include "frames/FrameCount.h"
#include "frames/PcapngWriter.h"

#include <QByteArray>

#include <boost/lockfree/spsc_queue.hpp>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace orvo::host {

/// Frames wait in a queue a direction, without a lock, for a thread that writes them. Where that is too slow,
/// frames are left out of the file, and counted; the bridge never waits. When the file fails, the bridge goes
/// on without it.
class BridgeRecording {
public:
    enum class Direction { ToPort, ToTap };
    static constexpr std::size_t directions = 2;

    /// As PcapngWriter. Errors: Failure when `path` cannot be written.
    BridgeRecording(const std::string& path, const std::string& port, const std::string& tap);

    /// Replaces the file, and starts the thread. Errors: Failure.
    void begin();

    /// Each direction from one thread.
    void add(Direction direction, const QByteArray& frame) noexcept;

    /// Once nothing is added any more: writes what waits, and closes the file.
    void finish() noexcept;

    const std::string& path() const noexcept { return file_.path(); }
    /// After `finish`.
    std::uint64_t recordedFrames() const noexcept { return file_.framesInFile(); }
    /// Any thread: frames that are not in the file because the queue was full.
    std::uint64_t omittedFrames() const noexcept;

private:
    struct Entry {
        pcapng::Timestamp time = 0;
        QByteArray frame;
    };
    struct alignas(64) Queue {
        boost::lockfree::spsc_queue<Entry, boost::lockfree::capacity<8192>> entries;
        LiveCounter omitted;
    };

    void writeAll(const std::stop_token& stop) noexcept;
    void drain();
    Queue* earlierQueue();
    void note(const char* failure) noexcept;

    const std::unique_ptr<std::array<Queue, directions>> queues_;
    EventFd ending_;    // raised once a stalled reader of a pipe is no longer waited for
    PcapngWriter file_; // the thread's, while there is one
    bool isOpen_ = false;
    bool failed_ = false; // the thread's, while there is one
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
