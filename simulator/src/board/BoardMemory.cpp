// SPDX-License-Identifier: MIT
#include "board/BoardMemory.h"

#include "mac/DataQueue.h"

#include <new>

namespace orvo::sim {

namespace {

std::size_t sharedBytes(const BoardConfiguration& board) noexcept {
    const auto perPort =
        DataQueue::windowBytes(board.receiveQueueWords) + DataQueue::windowBytes(board.actionQueueWords);
    return sizeof(BoardPage) + board.ports * perPort;
}

void layOut(BoardPage& page, const BoardConfiguration& board) noexcept {
    page.ports = board.ports;
    page.bytes = sizeof page;
    for (unsigned port = 0; port < board.ports; ++port) {
        page.port[port].registers = board.profile->portRegisters(port);
        for (unsigned kind = 0; kind < queuesPerPort; ++kind) {
            page.port[port].windows[kind] = page.bytes;
            page.bytes +=
                DataQueue::windowBytes(kind == 0 ? board.receiveQueueWords : board.actionQueueWords);
        }
    }
}

} // namespace

BoardMemory::BoardMemory(const BoardConfiguration& board, bool isShared) {
    if (isShared) {
        shared_.emplace(
            MappedMemory::shareable("orvo-board", sharedBytes(board), MappedMemory::Access::ReadOnly));
        page_ = new (shared_->data()) BoardPage;
    } else {
        own_ = std::make_unique<BoardPage>();
        page_ = own_.get();
    }
    layOut(*page_, board);
}

} // namespace orvo::sim
