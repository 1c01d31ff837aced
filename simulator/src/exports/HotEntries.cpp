// SPDX-License-Identifier: MIT
// The C entries of every frame. Own boards come first, and pay nothing for the others.
#include "board/Board.h"
#include "entries/OwnEntries.h"
#include "exports/Choice.h"
#include "exports/RemoteReads.h"

using namespace orvo::sim;

namespace {

/// Read from a bus on which nothing answers. A host takes a busy flag that it cannot read for a busy one, and
/// would wait for it.
constexpr std::uint64_t pulledCard = 0xFFFF'FFFF;

/// The server's board of an open handle; null for every other handle.
RemoteBoard* remoteBoardOf(void* device) {
    const auto handle = reinterpret_cast<HandleBits>(device);
    const HandleBits noted = placeOf(handle).noted.load(std::memory_order_acquire);
    if (noted != ~handle || noted == 0) return nullptr; // 0: the place has had no handle
    RemoteBoard* const known = Remote::knownBoard(device);
    return known ? known : remote()->board(device);
}

int requestWrite(Remote& server, void* device, uint32_t address, uint64_t value) {
    return server.call(EntryId::OHalRegisterWrite, OrvoSimHalBoardGone,
                       &own::OHalRegisterWrite)(device, address, value);
}

[[gnu::noinline]] int writeRemoteRegister(void* device, uint32_t address, uint64_t value) {
    RemoteBoard* const board = remoteBoardOf(device);
    if (board && board->append(address, value)) [[likely]]
        return 0;
    Remote* const server = remote();
    if (!server) return own::OHalRegisterWrite(device, address, value);
    if (board && board->write(address, value)) {
        const bool isGone = isRegister(address, Register::GigeWriteComplete)
                                ? server->noticesGone() // once a frame
                                : server->isGone();
        return isGone ? OrvoSimHalBoardGone : 0;
    }
    return requestWrite(*server, device, address, value);
}

/// All writes but those of a frame's words to an own board.
[[gnu::noinline]] int writeAnyRegister(void* device, uint32_t address, uint64_t value) {
    if (Board* const board = openBoardOf(device)) return board->writeRegister(address, value);
    return writeRemoteRegister(device, address, value);
}

[[gnu::noinline]] int readRemoteRegister(void* device, uint32_t address, uint64_t* value) {
    Remote* const server = remote();
    if (!server) return own::OHalRegisterRead(device, address, value);
    const RemoteBoard* const board = value ? remoteBoardOf(device) : nullptr;
    if (board && !server->isGone()) {
        if (isRegister(address, Register::GigeRecvErrCnt)) server->drain();
        std::uint64_t found = 0;
        if (board->read(address, found) && (found == 0 || !server->noticesGone())) return *value = found, 0;
    }
    const int result = server->call(EntryId::OHalRegisterRead, OrvoSimHalBoardGone,
                                    &own::OHalRegisterRead)(device, address, value);
    const bool isLostFlag = board && server->isGone() && isRegister(address, Register::GigeTxTransferActive);
    return isLostFlag ? *value = pulledCard, 0 : result;
}

[[gnu::noinline]] int readRemoteQueue(void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                                      uint32_t timeoutMs) {
    if (!remote()) return own::OHalDataQueueReadBufferLong(device, queue, buffer, lengthBytes, timeoutMs);
    if (RemoteBoard* const board = remoteBoardOf(device))
        return RemoteRead(*remote(), *board, device, queue).read(buffer, lengthBytes, timeoutMs);
    const auto ask = remote()->call(EntryId::OHalDataQueueGetNrOfWords, OrvoSimHalBoardGone,
                                    &own::OHalDataQueueGetNrOfWords);
    const int result = ask(device, queue);                              // says what is wrong with the handle
    return result < 0 ? result : static_cast<int>(OrvoSimHalBoardGone); // no memory to share
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
    if (Board* const board = openBoardOf(device); board && value) [[likely]]
        return board->readRegister(address, *value);
    return readRemoteRegister(device, address, value);
}

int OHalDataQueueReadBufferLong(void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                                uint32_t timeoutMs) {
    if (Board* const board = openBoardOf(device); board && buffer) [[likely]]
        return board->readQueue(queue, static_cast<uint32_t*>(buffer), lengthBytes / sizeof(uint32_t),
                                timeoutMs);
    return readRemoteQueue(device, queue, buffer, lengthBytes, timeoutMs);
}

int OHalDataQueueReadBuffer(void* device, uint32_t queue, void* buffer, uint32_t lengthBytes,
                            uint32_t timeoutMs) {
    return OHalDataQueueReadBufferLong(device, queue, buffer, lengthBytes, timeoutMs);
}
