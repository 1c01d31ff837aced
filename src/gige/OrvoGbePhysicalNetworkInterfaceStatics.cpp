// SPDX-License-Identifier: MIT
#include "gige/OrvoGbePhysicalNetworkInterfaceStatics.h"

namespace orvo::core::zume {

std::mutex& OrvoGbePhysicalNetworkInterfaceStatics::boardSequence(unsigned int board) {
    const std::lock_guard guard(lock_);
    return boardSequences_[board];
}

bool OrvoGbePhysicalNetworkInterfaceStatics::isReset(unsigned int board) {
    const std::lock_guard guard(lock_);
    return resetBoards_.contains(board);
}

void OrvoGbePhysicalNetworkInterfaceStatics::markReset(unsigned int board) {
    const std::lock_guard guard(lock_);
    resetBoards_.insert(board);
}

void OrvoGbePhysicalNetworkInterfaceStatics::forgetResets() {
    const std::lock_guard guard(lock_);
    resetBoards_.clear();
}

} // namespace orvo::core::zume
