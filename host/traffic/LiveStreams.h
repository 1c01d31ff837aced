// SPDX-License-Identifier: MIT
#pragma once

#include "frames/FrameCount.h"
#include "frames/streams/StreamAccount.h"

#include <QByteArray>
#include <boost/lockfree/spsc_queue.hpp>

#include <mutex>
#include <optional>

namespace orvo::host {

/// The account of streams among frames in motion: one thread takes frames from the port, another may send
/// some to it, and any may ask for a report. Neither of the two waits for anyone.
class LiveStreams {
public:
    /// The report is at most `interval` old.
    explicit LiveStreams(StreamAccount::Take take = {},
                         std::chrono::nanoseconds interval = std::chrono::seconds(1));

    /// A frame from the port, or of its cable; `time` where it is known better than now. Receiving thread.
    void addReceived(Bytes frame, std::optional<StreamTime> time = {});
    /// A frame of the cable that died in the board; receiving thread.
    void addDead(Bytes frame, DeathPlace place, StreamTime time);
    /// No frame has come for some time; receiving thread.
    void noteSilence();
    /// A frame to the port, of which only commands to cameras are kept; sending thread.
    void addSent(const QByteArray& frame);
    /// Ends the account when both threads have ended.
    void finish();

    /// Complete after `finish`. Any thread.
    StreamsReport report() const;

private:
    struct Sent {
        StreamTime time;
        QByteArray frame;
    };

    void takeSent();
    void publish(StreamTime now);

    StreamAccount account_; // the receiving thread's
    const StreamTime interval_;
    StreamTime publishedAt_ = 0;
    boost::lockfree::spsc_queue<Sent, boost::lockfree::capacity<256>> sent_;
    LiveCounter omitted_;      // commands that were sent faster than they could be followed
    mutable std::mutex mutex_; // guards the report; the receiving thread only tries
    StreamsReport report_;
};

} // namespace orvo::host
