// SPDX-License-Identifier: MIT
#include "exports/RemoteReads.h"

#include "base/Patience.h"
#include "board/Board.h"
#include "entries/OwnEntries.h"

#include <algorithm>

namespace orvo::sim {

namespace {

constexpr std::chrono::milliseconds goneInterval{500}; // at which a sleeper looks whether the server is there
constexpr std::chrono::milliseconds troubledInterval{5}; // at which it asks while faults may be due

int bytesOf(std::size_t words) noexcept {
    return static_cast<int>(words * sizeof(std::uint32_t));
}

} // namespace

int RemoteRead::read(void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs) {
    const std::size_t words = bytes / sizeof(std::uint32_t);
    if (queue_)
        if (const int refused = claim(); refused != 0) return refused;
    if (!queue_ || !buffer || words == 0) return ask(buffer, words, 0); // which says what is wrong
    auto* const out = static_cast<std::uint32_t*>(buffer);
    if (!server_.isGone() && board_.isPlain() && queue_->holds(words)) return take(out, words);
    return readPatiently(out, words, timeoutMs);
}

/// The program that claimed a queue last reads it. A handle that lost it so reads no more until the other
/// program leaves; other handles of the same program may be there for something else, such as MDIO.
int RemoteRead::claim() {
    if (queue_->reader() == server_.number()) return 0;
    if (queue_->claimant == device_ && queue_->reader() != 0) return OrvoSimHalQueueTaken;
    const int result = server_.claim(device_, number_);
    queue_->claimant = result == 0 ? device_ : nullptr;
    return result;
}

/// Waits here, so that no request does: a program has one at a time.
int RemoteRead::readPatiently(std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs) {
    const auto begin = Clock::now();
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(begin + patience(timeoutMs) - Clock::now());
        const auto leftMs = static_cast<std::uint32_t>(std::max<std::int64_t>(left.count(), 0));
        if (server_.findGone()) return OrvoSimHalBoardGone;
        if (const int refused = claim(); refused != 0) return refused; // another began to read meanwhile
        if (leftMs == 0 && !queue_->holds(words)) passVirtualTime(timeoutMs);
        const int result = readNow(out, words, leftMs);
        if (result != queueNotReady) return result;
        queue_->await(words, std::min(board_.isPlain() ? goneInterval : troubledInterval, left));
    }
}

std::chrono::milliseconds RemoteRead::patience(std::uint32_t timeoutMs) const noexcept {
    const std::chrono::milliseconds limit(timeoutMs);
    return board_.clock() == OrvoSimRealTime ? limit : std::min(limit, virtualPatience);
}

/// A wait in vain moves a virtual clock that is not driven.
void RemoteRead::passVirtualTime(std::uint32_t timeoutMs) {
    if (timeoutMs == 0 || board_.clock() != OrvoSimVirtualTime) return;
    server_.call(EntryId::orvoSimAdvanceTime, OrvoSimServerGone,
                 &own::orvoSimAdvanceTime)(std::uint64_t{timeoutMs} * 1000);
}

/// `queueNotReady` while there is time left to wait for words.
int RemoteRead::readNow(std::uint32_t* out, std::size_t words, std::uint32_t leftMs) {
    if (!board_.isPlain() || (board_.isPlayed(number_) && !queue_->holds(1))) return ask(out, words, leftMs);
    if (leftMs != 0 && !queue_->holds(words)) return queueNotReady;
    if (!queue_->holds(words)) board_.drain(replyLimit); // frames of this program may be on their way here
    return take(out, words);
}

/// Words that another program took at the same time may be overwritten already.
int RemoteRead::take(std::uint32_t* out, std::size_t words) {
    const std::size_t count = queue_->take(out, words);
    if (queue_->reader() != server_.number()) return OrvoSimHalQueueTaken;
    return count != 0 ? bytesOf(count) : static_cast<int>(HalTimeout);
}

int RemoteRead::ask(void* out, std::size_t words, std::uint32_t leftMs) {
    const auto bytes = std::min(words * sizeof(std::uint32_t), maxBlockBytes);
    return server_.call(EntryId::readQueueBriefly, OrvoSimHalBoardGone, &own::readQueueBriefly)(
        device_, number_, out, static_cast<std::uint32_t>(bytes), leftMs);
}

} // namespace orvo::sim
