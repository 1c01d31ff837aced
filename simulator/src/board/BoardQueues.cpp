// SPDX-License-Identifier: MIT
// The host's side of a board's data queues.
#include "board/Board.h"

#include "base/Patience.h"
#include "board/BoardFaults.h"

#include <orvo/hal/orvo_hal.h>

#include <algorithm>

namespace orvo::sim {

namespace {

void awaitWords(DataQueue& queue, std::size_t words, std::chrono::milliseconds limit) {
    if (!simClock.isVirtual())
        queue.await(words, limit);
    else if (!queue.await(words, std::min(limit, virtualPatience)) && !simClock.isDriven())
        simClock.advance(limit);
}

int bytesOf(std::size_t words) noexcept {
    return static_cast<int>(words * sizeof(std::uint32_t));
}

} // namespace

DataQueue* Board::queue(unsigned number) noexcept {
    const bool isAction = number >= firstActionQueue;
    const unsigned port = isAction ? number - firstActionQueue : number;
    if (port >= configuration_.ports) return nullptr;
    return isAction ? &ports_[port].actionQueue() : &ports_[port].receiveQueue();
}

int Board::clearQueue(unsigned number) {
    if (const int refused = refusal(); refused != 0) return refused;
    DataQueue* const found = queue(number);
    if (!found) return OrvoSimHalNoQueue;
    BoardFaults* const rules = number < maxPorts ? script() : nullptr;
    if (rules) rules->catchUp(number);
    found->clear();
    if (rules) rules->noteClear(number);
    return 0;
}

std::size_t Board::fetchWords(DataQueue& source, unsigned number, std::uint32_t* out, std::size_t words,
                              std::uint32_t timeoutMs) {
    if (number < maxPorts && source.words() == 0) ports_[number].playWire();
    awaitWords(source, words, std::chrono::milliseconds(timeoutMs));
    return source.take(out, words);
}

/// The number of bytes that the read reports.
int Board::reported(unsigned number, int bytes) {
    if (bytes <= 0 || !condition_.has(Trouble::CalledFaults)) return bytes;
    const auto fault = accessFaults_.take(queueDeliveries + number);
    return fault ? bytes + fault->result : bytes;
}

int Board::readQueue(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs) {
    DataQueue* const source = queue(number);
    if (!source) return OrvoSimHalNoQueue;
    if (!condition_.isGood()) [[unlikely]]
        return readTroubled(*source, number, out, words, timeoutMs, Waiting::Here);
    if (words == 0) return 0;
    const std::size_t count = fetchWords(*source, number, out, words, timeoutMs);
    if (condition_.has(Trouble::Gone)) return OrvoSimHalBoardGone;
    return count != 0 ? reported(number, bytesOf(count)) : static_cast<int>(HalTimeout);
}

/// For a reader that waits elsewhere: whether to read now.
bool Board::isReady(const DataQueue& source, unsigned number, std::size_t words, std::uint32_t timeoutMs) {
    if (number < maxPorts && source.words() == 0) ports_[number].playWire();
    return timeoutMs == 0 || source.words() >= words;
}

int Board::readQueueBriefly(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs) {
    DataQueue* const source = queue(number);
    if (!source || words == 0) return readQueue(number, out, words, timeoutMs);
    if (!condition_.isGood()) return readTroubled(*source, number, out, words, timeoutMs, Waiting::Elsewhere);
    return isReady(*source, number, words, timeoutMs) ? readQueue(number, out, words, 0) : queueNotReady;
}

/// A read while the board is in trouble, or a script accounts for every word.
int Board::readTroubled(DataQueue& source, unsigned number, std::uint32_t* out, std::size_t words,
                        std::uint32_t timeoutMs, Waiting waiting) {
    passScript();
    BoardFaults* const rules = condition_.has(Trouble::Script) ? script() : nullptr;
    QueueFaults* const frames = rules && number < maxPorts ? &rules->queue(number) : nullptr;
    if (const int refused = refusal(); refused != 0) {
        if (frames) frames->refused(source);
        return refused;
    }
    if (const auto failure = accessFaults_.take(queueReads + number)) return failure->result;
    if (words == 0) return 0;
    if (frames)
        if (const auto result = frames->readStaged(out, words)) return *result;
    if (rules && !frames) rules->noteActionRead(number - firstActionQueue);
    if (waiting == Waiting::Elsewhere && !isReady(source, number, words, timeoutMs)) return queueNotReady;
    const std::size_t count =
        fetchWords(source, number, out, words, waiting == Waiting::Here ? timeoutMs : 0);
    if (count == 0) return condition_.has(Trouble::Gone) ? static_cast<int>(OrvoSimHalBoardGone) : HalTimeout;
    return reported(number, frames ? frames->delivered(source, out, words, count) : bytesOf(count));
}

} // namespace orvo::sim
