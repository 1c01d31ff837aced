// SPDX-License-Identifier: MIT
// Matching of received with sent frames.
#include "frames/Verifier.h"

#include <algorithm>
#include <string_view>

namespace orvo::host {
namespace {

constexpr std::size_t maxMissed = 64; // for frames that overtook each other a little

std::string number(std::uint64_t value) {
    return std::to_string(value);
}

std::size_t commonLength(const QByteArray& a, const QByteArray& b) {
    return static_cast<std::size_t>(std::min(a.size(), b.size()));
}

// A frame is taken for a changed form of another when at least half of the bytes that both have are the same.
bool resemble(const QByteArray& a, const QByteArray& b) {
    std::size_t same = 0;
    const auto bytes = commonLength(a, b);
    for (std::size_t i = 0; i < bytes; ++i) same += a.constData()[i] == b.constData()[i];
    return bytes > 0 && 2 * same >= bytes;
}

std::string hexByte(char byte) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {'0', 'x', digits[value >> 4], digits[value & 15]};
}

std::string differenceOf(const QByteArray& sent, const QByteArray& came) {
    const auto* end = sent.constData() + commonLength(sent, came);
    const auto offset = std::mismatch(sent.constData(), end, came.constData()).first - sent.constData();
    std::string text = offset < end - sent.constData()
                           ? "byte " + std::to_string(offset) + " was sent as " +
                                 hexByte(sent.constData()[offset]) + " and came back as " +
                                 hexByte(came.constData()[offset])
                           : "the first " + std::to_string(offset) + " bytes are the same";
    return text + " (" + std::to_string(sent.size()) + " bytes sent, " + std::to_string(came.size()) +
           " received)";
}

} // namespace

void Verifier::expect(SentFrame frame) {
    expected_.push_back(std::move(frame));
    if (expected_.size() > maxExpected) lose();
}

void Verifier::receive(const QByteArray& bytes) {
    ++received_;
    if (skipTo(bytes)) {
        lastIdentical_ = expected_.front().number;
        expected_.pop_front();
        ++report_.identical;
    } else if (!wasMissed(bytes)) {
        if (!expected_.empty() && resemble(expected_.front().bytes, bytes)) {
            change(bytes);
        } else {
            ++report_.foreign;
            note("received frame " + number(received_) + " (" + std::to_string(bytes.size()) +
                 " bytes) was not sent, or came back before");
        }
    }
}

// Makes the frame that was sent like this the next one expected, by giving up those before it.
bool Verifier::skipTo(const QByteArray& bytes) {
    const auto found = std::find_if(expected_.begin(), expected_.end(),
                                    [&](const SentFrame& frame) { return frame.bytes == bytes; });
    if (found == expected_.end()) return false;
    for (auto skipped = found - expected_.begin(); skipped > 0; --skipped) lose();
    return true;
}

// A frame that was given up comes after all. If another had been taken for it, that one was foreign.
bool Verifier::wasMissed(const QByteArray& bytes) {
    const auto found = std::find_if(missed_.begin(), missed_.end(),
                                    [&](const Missed& missed) { return missed.frame.bytes == bytes; });
    if (found == missed_.end()) return false;
    const bool inOrder = found->frame.number > lastIdentical_;
    if (found->changed) ++report_.foreign;
    --(found->changed ? report_.changed : report_.lost);
    ++(inOrder ? report_.identical : report_.late);
    note("frame " + number(found->frame.number) + (inOrder ? " came back after all" : " came back late"));
    lastIdentical_ = std::max(lastIdentical_, found->frame.number);
    missed_.erase(found);
    return true;
}

void Verifier::lose() {
    ++report_.lost;
    noteLost(expected_.front().number);
    rememberMissed(false);
}

void Verifier::change(const QByteArray& bytes) {
    ++report_.changed;
    note("frame " + number(expected_.front().number) + ": " + differenceOf(expected_.front().bytes, bytes));
    rememberMissed(true);
}

void Verifier::rememberMissed(bool changed) {
    missed_.push_back({std::move(expected_.front()), changed});
    expected_.pop_front();
    if (missed_.size() > maxMissed) missed_.pop_front();
}

void Verifier::note(const std::string& difference) {
    lostRunBegin_ = 0;
    if (report_.differences.size() < maxDifferences) report_.differences.push_back(difference);
}

// Frames that are lost one after the other share a line, so that it does not matter how many they are.
void Verifier::noteLost(std::uint64_t frameNumber) {
    if (lostRunBegin_ == 0) {
        const bool hasRoom = report_.differences.size() < maxDifferences;
        note("frame " + number(frameNumber) + " did not come back");
        if (hasRoom) lostRunBegin_ = frameNumber;
    } else {
        report_.differences.back() =
            "frames " + number(lostRunBegin_) + " to " + number(frameNumber) + " did not come back";
    }
}

const Verifier::Report& Verifier::finish() {
    while (!expected_.empty()) lose();
    return report_;
}

} // namespace orvo::host
