// SPDX-License-Identifier: MIT
// The memory of this process: counted, and refused on demand.
#pragma once

#include <cstdint>

namespace orvo::test {

/// Which allocations are refused: of one kind of thread, the nth from 1 (0: none), and all after it if
/// `fromThenOn`.
struct MemoryFault {
    bool ofHost = true;
    std::uint64_t nth = 0;
    bool fromThenOn = false;
};

/// Only what the product asks for counts: on the host's thread inside a ProductScope, on other threads
/// everything; on none inside a BoardScope, since the board's memory is not the plug-in's.
class ProductScope {
public:
    ProductScope();
    ~ProductScope();
    ProductScope(const ProductScope&) = delete;
    ProductScope& operator=(const ProductScope&) = delete;
};

class BoardScope {
public:
    BoardScope();
    ~BoardScope();
    BoardScope(const BoardScope&) = delete;
    BoardScope& operator=(const BoardScope&) = delete;
};

/// Begins to count anew; ends the fault that was armed before.
void armMemoryFault(const MemoryFault& fault);

/// Allocations since then.
std::uint64_t allocationsOfHost();
std::uint64_t allocationsOfOthers();

/// Blocks that the process holds.
std::int64_t liveBlocks();

} // namespace orvo::test
