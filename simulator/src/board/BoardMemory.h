// SPDX-License-Identifier: MIT
// Where a board keeps what it publishes: in memory of its own, or in memory that other processes map.
#pragma once

#include "base/MappedMemory.h"
#include "board/BoardPage.h"

#include <memory>
#include <optional>

namespace orvo::sim {

class BoardMemory {
public:
    /// Throws std::system_error when there is no memory to share.
    BoardMemory(const BoardConfiguration& board, bool isShared);

    BoardPage& page() noexcept { return *page_; }
    /// The place of a queue; null: in memory of its own.
    QueueWindow* window(unsigned port, unsigned kind) noexcept {
        return shared_ ? page_->window(port, kind) : nullptr;
    }
    /// Negative: not shared.
    int descriptor() const noexcept { return shared_ ? shared_->descriptor() : -1; }

private:
    std::unique_ptr<BoardPage> own_;
    std::optional<MappedMemory> shared_;
    BoardPage* page_;
};

} // namespace orvo::sim
