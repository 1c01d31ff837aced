// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardLibraries.h"
#include "device/PortAddress.h"

#include <memory>

namespace orvo::host {

/// Looks whether frames wait in a port's receive queue, by a device handle of its own. One thread.
class WaitingFrames {
public:
    /// `libraries` must outlive it.
    WaitingFrames(const BoardLibraries& libraries, PortAddress port);

    /// Never waits. False also where the board does not answer.
    bool any() noexcept;
    /// Gives the handle back until the next question.
    void letGo() noexcept { device_.reset(); }

private:
    const BoardLibraries& libraries_;
    const PortAddress port_;
    decltype(&::OHalDataQueueGetNrOfWords) const words_; // null where a recording answers
    std::unique_ptr<void, int (*)(void*)> device_;
};

} // namespace orvo::host
