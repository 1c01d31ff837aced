// SPDX-License-Identifier: MIT
// The receiving side of a replay: a thread that takes frames from a port.
#pragma once

#include "frames/PcapngWriter.h"
#include "frames/SendWindow.h"
#include "frames/Verifier.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <boost/lockfree/spsc_queue.hpp>

#include <atomic>
#include <cstdint>
#include <exception>
#include <thread>

namespace orvo::host {

/// Takes frames from a port as they come, writes them to a file and has them verified. One thread, the
/// owner's, calls all operations; port, file and verifier belong to the receiving thread between `start` and
/// `stop`.
class FrameReceiver {
public:
    /// `file` and `verifier` may be null; what is given must outlive the receiver.
    FrameReceiver(core::zume::PhysicalNetworkInterface& port, PcapngWriter* file, Verifier* verifier);
    ~FrameReceiver();
    FrameReceiver(const FrameReceiver&) = delete;
    FrameReceiver& operator=(const FrameReceiver&) = delete;

    void start();

    /// Asks the port once, on the calling thread: for an owner that starts no thread.
    void poll();

    /// Ends the thread, if there is one, which takes as long as one empty `receive` of the port. Errors: what
    /// ended the thread early, such as a full disk.
    void stop();

    /// Announces a frame to the verifier, before it is sent. False when there is no room at this moment; the
    /// thread makes some within one `receive` of the port. Without verifier it does nothing.
    bool expect(const SentFrame& frame);

    bool failed() const noexcept { return failed_.load(std::memory_order_relaxed); }
    Returned returned() const noexcept;
    std::uint64_t receivedBytes() const noexcept { return counters_.bytes.load(std::memory_order_relaxed); }

private:
    // On cache lines of their own: the receiving thread writes them with every frame, the sending one seldom
    // reads.
    struct alignas(64) Counters {
        std::atomic<std::uint64_t> frames{0};
        std::atomic<std::uint64_t> bytes{0};
        std::atomic<std::uint64_t> words{0};
        std::atomic<std::uint64_t> quietPolls{0};
    };

    void run() noexcept;
    void take(const QByteArray& bytes);
    void passOnExpected();

    core::zume::PhysicalNetworkInterface& port_;
    PcapngWriter* const file_;
    Verifier* const verifier_;
    boost::lockfree::spsc_queue<SentFrame, boost::lockfree::capacity<8192>> expected_;
    Counters counters_; // written by the receiving thread alone
    std::atomic<bool> stopRequested_{false};
    std::atomic<bool> failed_{false};
    std::exception_ptr failure_; // written by the receiving thread, read after it has ended
    std::thread thread_;
};

} // namespace orvo::host
