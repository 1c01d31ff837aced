// SPDX-License-Identifier: MIT
// Comparison of received frames with those that were sent.
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

/// Checks that every frame comes back identical and in order, and goes on after a fault: when a later frame
/// comes, those before it are missing; a frame that resembles the next one counts as changed, and one that
/// resembles none as foreign. Memory is bounded however many frames are lost. One thread.
class Verifier {
public:
    struct Report {
        std::uint64_t identical = 0;
        std::uint64_t changed = 0;            ///< came back with other bytes
        std::uint64_t lost = 0;               ///< did not come back
        std::uint64_t late = 0;               ///< came back unchanged, after a frame that was sent later
        std::uint64_t foreign = 0;            ///< was never sent, or had come back before
        std::vector<std::string> differences; ///< the first few, one sentence each

        bool passed() const noexcept { return changed + lost + late + foreign == 0; }
    };

    static constexpr std::size_t maxExpected = 4096; ///< when more are outstanding, the oldest counts as lost
    static constexpr std::size_t maxDifferences = 10;

    /// Announces a frame. Call it in the order of sending, before the frame can be received.
    void expect(SentFrame frame);

    /// Matches the next received frame.
    void receive(const QByteArray& bytes);

    /// No more frames come: those still expected are lost. Returns the report.
    const Report& finish();

private:
    struct Missed {
        SentFrame frame;
        bool changed; // a similar frame came back
    };

    bool skipTo(const QByteArray& bytes);
    bool wasMissed(const QByteArray& bytes);
    void lose();
    void change(const QByteArray& bytes);
    void rememberMissed(bool changed);
    void note(const std::string& difference);
    void noteLost(std::uint64_t number);

    std::deque<SentFrame> expected_; // oldest first
    std::deque<Missed> missed_;      // the last frames that were given up, oldest first
    Report report_;
    std::uint64_t received_ = 0;
    std::uint64_t lastIdentical_ = 0; // highest number of a frame that came back unchanged
    std::uint64_t lostRunBegin_ =
        0; // first frame of the last noted run of lost frames; 0: the last note is another one
};

} // namespace orvo::host
