// SPDX-License-Identifier: MIT
// Entries of the hardware access layer: data queues.
#include "Simulation.h"

#include <orvo/hal/orvo_hal.h>

#include <algorithm>
#include <limits>

using namespace orvo::sim;

namespace {

constexpr std::size_t wordBytes = sizeof(std::uint32_t);

/// What a queue's figure is answered with, or why there is none.
template <class Answer> int ofQueue(void* device, uint32_t queue, Answer answer) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    if (const int refused = board->refusal(); refused != 0) return refused;
    DataQueue* const found = board->queue(queue);
    return found ? answer(*found) : OrvoSimHalNoQueue;
}

int asInt(std::uint64_t count) noexcept {
    return static_cast<int>(std::min<std::uint64_t>(count, std::numeric_limits<int>::max()));
}

/// Appends behind what the firmware queued, as many words as there is room for; does not wait for room.
int writeQueue(void* device, uint32_t queue, const void* buffer, std::size_t lengthBytes) {
    return ofQueue(device, queue, [&](DataQueue& target) -> int {
        if (!buffer) return OrvoSimHalBadArgument;
        const std::size_t words = std::min(lengthBytes / wordBytes, target.roomWords());
        if (words == 0) return lengthBytes < wordBytes ? 0 : static_cast<int>(HalTimeout);
        const bool fitted = target.push({static_cast<const std::uint32_t*>(buffer), words});
        return fitted ? asInt(words * wordBytes) : static_cast<int>(HalTimeout);
    });
}

} // namespace

int OHalDataQueueReadBufferLong(void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                                uint32_t timeoutMs) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    if (!buffer) return OrvoSimHalBadArgument;
    return board->readQueue(queue, static_cast<std::uint32_t*>(buffer), lengthBytes / wordBytes, timeoutMs);
}

int OHalDataQueueReadBuffer(void* device, uint32_t queue, void* buffer, uint32_t lengthBytes,
                            uint32_t timeoutMs) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    if (!buffer) return OrvoSimHalBadArgument;
    return board->readQueue(queue, static_cast<std::uint32_t*>(buffer), lengthBytes / wordBytes, timeoutMs);
}

int OHalDataQueueWriteBufferLong(void* device, uint32_t queue, const void* buffer, uint32_t lengthBytes,
                                 uint32_t) {
    return writeQueue(device, queue, buffer, lengthBytes);
}

int OHalDataQueueWriteBuffer(void* device, uint32_t queue, const void* buffer, uint32_t lengthBytes,
                             uint32_t) {
    return writeQueue(device, queue, buffer, lengthBytes);
}

int OHalDataQueueGetNrOfWords(void* device, uint32_t queue) {
    return ofQueue(device, queue, [](DataQueue& found) { return asInt(found.words()); });
}

int OHalDataQueueGetNrOfLostWords(void* device, uint32_t queue) {
    return ofQueue(device, queue, [](DataQueue& found) { return asInt(found.lostWords()); });
}

/// Transmissions that entered the queue since the board was powered up.
int OHalDataQueueGetNrOfTransfers(void* device, uint32_t queue) {
    return ofQueue(device, queue, [](DataQueue& found) { return asInt(found.transfers()); });
}

/// Bit 0: the queue holds words. Bit 1: it lost some.
int OHalDataQueueGetStatus(void* device, uint32_t queue) {
    return ofQueue(device, queue, [](DataQueue& found) {
        return (found.words() != 0 ? 1 : 0) | (found.lostWords() != 0 ? 2 : 0);
    });
}

int OHalDataQueueClear(void* device, uint32_t queue) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    const int refused = board->refusal();
    return refused != 0 ? refused : board->clearQueue(queue);
}

/// Nothing is held back on the way into a queue, so there is nothing to flush.
int OHalDataQueueFlush(void* device, uint32_t queue) {
    return ofQueue(device, queue, [](DataQueue&) { return 0; });
}
