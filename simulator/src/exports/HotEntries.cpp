// SPDX-License-Identifier: MIT
// The C entries of every frame. Own boards come first, and pay nothing for the others.
#include "board/Board.h"
#include "entries/OwnEntries.h"
#include "exports/Choice.h"

#include <algorithm>
#include <chrono>

#include <unistd.h>

using namespace orvo::sim;

namespace {

[[gnu::noinline]] int writeAnyRegister(void* device, uint32_t address, uint64_t value) {
    if (!openBoardOf(device))
        if (Remote* const server = remote())
            return server->call(EntryId::OHalRegisterWrite, OrvoSimHalBoardGone,
                                &own::OHalRegisterWrite)(device, address, value);
    return own::OHalRegisterWrite(device, address, value);
}

int readRemoteQueue(Remote& server, void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                    uint32_t timeoutMs) {
    const auto read = server.call(EntryId::readQueueBriefly, OrvoSimHalBoardGone, &own::readQueueBriefly);
    const auto bytes = static_cast<uint32_t>(std::min<uint64_t>(lengthBytes, maxBlockBytes));
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        const int result = read(device, queue, buffer, bytes,
                                static_cast<uint32_t>(std::max<std::int64_t>(left.count(), 0)));
        if (result != queueNotReady) return result;
        usleep(500);
    }
}

} // namespace

/// Tests for the words of a frame first and without a call, so that the compiler saves no registers for them.
int OHalRegisterWrite(void* device, uint32_t address, uint64_t value) {
    Board* const board = openBoardOf(device);
    if (board && board->appendToFrame(address, value)) [[likely]]
        return 0;
    return writeAnyRegister(device, address, value);
}

int OHalRegisterRead(void* device, uint32_t address, uint64_t* value) {
    if (!openBoardOf(device))
        if (Remote* const server = remote())
            return server->call(EntryId::OHalRegisterRead, OrvoSimHalBoardGone,
                                &own::OHalRegisterRead)(device, address, value);
    return own::OHalRegisterRead(device, address, value);
}

int OHalDataQueueReadBufferLong(void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                                uint32_t timeoutMs) {
    if (!openBoardOf(device))
        if (Remote* const server = remote())
            return readRemoteQueue(*server, device, queue, buffer, lengthBytes, timeoutMs);
    return own::OHalDataQueueReadBufferLong(device, queue, buffer, lengthBytes, timeoutMs);
}

int OHalDataQueueReadBuffer(void* device, uint32_t queue, void* buffer, uint32_t lengthBytes,
                            uint32_t timeoutMs) {
    return OHalDataQueueReadBufferLong(device, queue, buffer, lengthBytes, timeoutMs);
}
