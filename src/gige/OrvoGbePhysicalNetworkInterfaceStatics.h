// SPDX-License-Identifier: MIT
// What all interfaces of the process share.
#pragma once

#include "platform/GuardedSingleton.h"

#include <map>
#include <mutex>
#include <set>

namespace orvo::core::zume {

/// Which boards have been reset, and the turns that a board's interfaces take at what is board-wide.
/// Threads: any. Lock order: a board's sequence, then the lock of this object's own fields.
class OrvoGbePhysicalNetworkInterfaceStatics
    : public GuardedSingleton<OrvoGbePhysicalNetworkInterfaceStatics> {
public:
    /// The lock of one board, held over a reset, an MDIO transaction or a dump; a holder keeps it for
    /// seconds. Boards do not wait for each other. Valid as long as this object.
    std::mutex& boardSequence(unsigned int board);

    bool isReset(unsigned int board);
    void markReset(unsigned int board);

    /// Lets the next setup of any board reset it again.
    void forgetResets();

private:
    std::mutex lock_; // of the two below
    std::set<unsigned int> resetBoards_;
    std::map<unsigned int, std::mutex> boardSequences_;
};

} // namespace orvo::core::zume
