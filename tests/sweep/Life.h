// SPDX-License-Identifier: MIT
// The whole life of an interface, from the loading of the plug-in to its unloading, with a fault on its way.
#pragma once

#include "sweep/Allocations.h"
#include "sweep/BoardShim.h"

#include <string>
#include <vector>

namespace orvo::test {

struct LifeFaults {
    CallFault call;
    MemoryFault memory;
};

/// What one life was.
struct LifeRecord {
    std::vector<std::string> findings;  ///< what was not as it should be; each names its step
    std::vector<std::size_t> hostCalls; ///< of the board libraries, by entry
    std::uint64_t otherCalls = 0;
    std::uint64_t hostAllocations = 0;
    std::uint64_t otherAllocations = 0;
};

/// Lives it once: load, init, create, inject, setup, start, 20 frames each way, an action command, dump,
/// reset, both phases of reinitialisation, stop, wait, destruction, deinit, unload. Then, with the fault
/// over, a second, short life, which must go as if nothing had been. A step that fails as it may leaves out
/// what needs it, and what was begun is ended.
///
/// The rules: a call of the board that goes wrong shows in results and nothing else: nothing throws. Out of
/// memory, loading, init, create, injection, setup, sending, receiving, reset and dump may pass
/// std::bad_alloc, and nothing but that; start, stop, wait, both phases of reinitialisation, destruction and
/// deinit do their work all the same. Whatever happened, every handle is held while it is in use and is
/// released once, and the leecher begins at most one more reading after `stop`. A fault that strikes once
/// during traffic loses what it struck: later frames and action commands come.
LifeRecord liveOnce(const std::string& pluginPath, const LifeFaults& faults);

} // namespace orvo::test
