// SPDX-License-Identifier: MIT
#pragma once

#include "platform/GuardedSingleton.h"

#include <map>
#include <mutex>
#include <set>

namespace orvo::core::zume {

/// What all interfaces of the process share: which boards have been reset, and for each board the lock by
/// which its interfaces take turns at MDIO bus and reset lines.
/// Threads: any. Lock order: a board's sequence, then the lock of this object's own fields.
class OrvoGbePhysicalNetworkInterfaceStatics
    : public GuardedSingleton<OrvoGbePhysicalNetworkInterfaceStatics> {
public:
    /// The lock of one board, held over a whole reset or report, which takes seconds. Valid as long as this
    /// object.
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
