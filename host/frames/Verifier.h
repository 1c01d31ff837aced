// SPDX-License-Identifier: MIT
// Comparison of what came back with what was sent.
#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace orvo::host {

/// A frame that was sent, with its number in the capture.
struct SentFrame {
    std::uint64_t number = 0;
    QByteArray bytes;
};

/// Demands that every frame comes back identical and in order, and finds its way back after a fault: a frame
/// that was sent later proves those before it missing, one that resembles the next is that one changed, and
/// one that resembles nothing is foreign. Memory is bounded whatever is lost. One thread.
class Verifier {
public:
    struct Report {
        std::uint64_t identical = 0;
        std::uint64_t changed = 0;            ///< came back with other bytes
        std::uint64_t lost = 0;               ///< did not come back
        std::uint64_t late = 0;               ///< came back unharmed, but behind a frame that was sent later
        std::uint64_t foreign = 0;            ///< came back and was never sent, or once already
        std::vector<std::string> differences; ///< the first few, one sentence each

        bool passed() const noexcept { return changed + lost + late + foreign == 0; }
    };

    static constexpr std::size_t maxExpected = 4096; ///< that many frames on, the oldest counts as lost
    static constexpr std::size_t maxDifferences = 10;

    /// A frame is being sent. Call it in the order of sending, and before the frame can be received.
    void expect(SentFrame frame);

    /// The next frame came back.
    void receive(const QByteArray& bytes);

    /// Nothing more comes: what is still expected is lost. Hands out the report.
    const Report& finish();

private:
    struct Missed {
        SentFrame frame;
        bool changed; // a frame like it came back; otherwise none did
    };

    bool skipTo(const QByteArray& bytes);
    bool wasMissed(const QByteArray& bytes);
    void lose();
    void change(const QByteArray& bytes);
    void rememberMissed(bool changed);
    void note(const std::string& difference);
    void noteLost(std::uint64_t number);

    std::deque<SentFrame> expected_; // oldest first
    std::deque<Missed> missed_;      // the last few frames that were given up, oldest first
    Report report_;
    std::uint64_t received_ = 0;
    std::uint64_t lastIdentical_ = 0; // highest number of a frame that came back unharmed
    std::uint64_t lostRunBegin_ =
        0; // first frame of the run of lost frames noted last; 0: something else was noted
};

} // namespace orvo::host
