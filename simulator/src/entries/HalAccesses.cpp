// SPDX-License-Identifier: MIT
// Entries of the hardware access layer: firmware registers and data queues.
#include "entries/OwnEntries.h"
#include "process/Process.h"

#include <algorithm>
#include <limits>

using namespace orvo::sim;

namespace {

constexpr std::size_t wordBytes = sizeof(std::uint32_t);

/// The result of `answer(queue)`, or why the host cannot reach the queue.
template <class Answer> int ofQueue(void* device, uint32_t queue, Answer answer) {
    return withHandle(device, [&](Board& board) -> int {
        if (const int refused = board.refusal(); refused != 0) return refused;
        DataQueue* const found = board.queue(queue);
        return found ? answer(*found) : OrvoSimHalNoQueue;
    });
}

int asInt(std::uint64_t count) noexcept {
    return static_cast<int>(std::min<std::uint64_t>(count, std::numeric_limits<int>::max()));
}

/// Appends as many words as there is room for; does not wait for room.
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

namespace orvo::sim::own {

int OHalRegisterRead(void* device, uint32_t address, uint64_t* value) {
    return withHandle(device, [=](Board& board) -> int {
        return value ? board.readRegister(address, *value) : static_cast<int>(OrvoSimHalBadArgument);
    });
}

int OHalRegisterWrite(void* device, uint32_t address, uint64_t value) {
    return withHandle(device, [=](Board& board) { return board.writeRegister(address, value); });
}

int OHalDataQueueReadBufferLong(void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                                uint32_t timeoutMs) {
    return withHandle(device, [=](Board& board) -> int {
        if (!buffer) return OrvoSimHalBadArgument;
        return board.readQueue(queue, static_cast<std::uint32_t*>(buffer), lengthBytes / wordBytes,
                               timeoutMs);
    });
}

int readQueueBriefly(void* device, uint32_t queue, void* buffer, uint32_t lengthBytes, uint32_t timeoutMs) {
    return withHandle(device, [=](Board& board) -> int {
        if (!buffer) return OrvoSimHalBadArgument;
        return board.readQueueBriefly(queue, static_cast<std::uint32_t*>(buffer), lengthBytes / wordBytes,
                                      timeoutMs);
    });
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
    return withHandle(device, [queue](Board& board) { return board.clearQueue(queue); });
}

/// Words enter a queue at once, so there is nothing to flush.
int OHalDataQueueFlush(void* device, uint32_t queue) {
    return ofQueue(device, queue, [](DataQueue&) { return 0; });
}

} // namespace orvo::sim::own
