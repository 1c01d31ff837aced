// SPDX-License-Identifier: MIT
// Between the plug-in and the board libraries: every call of every entry is counted, can be answered badly,
// and is checked for the handles that it uses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::test {

/// Puts itself into the entry tables of the loaded plug-in file, once and for good.
void installBoardShim(const std::string& pluginPath);

/// Which calls of the board libraries go wrong, and how.
struct CallFault {
    enum class Extent { Once, ThatEntryFromThenOn, EverythingFromThenOn };

    bool ofHost = true;    ///< of the host's thread, or of others
    std::uint64_t nth = 0; ///< from 1; 0: none
    Extent extent = Extent::Once;
    std::size_t badResult = 0; ///< which of the entry's
};

/// The names of the bad results of an entry, of which it has at least one.
std::vector<std::string> badResultsOf(std::size_t entry);
const char* nameOfEntry(std::size_t entry);

/// Begins to count anew; ends the fault that was armed before.
void armCallFault(const CallFault& fault);

/// The entries that the host's thread has called since then, in order, and how many calls others made.
std::vector<std::size_t> callsOfHost();
std::uint64_t callsOfOthers();
/// Reads of data queues by other threads since then.
std::uint64_t queueReadsOfOthers();

/// Handles that the plug-in holds.
struct OpenHandles {
    std::size_t devices = 0;  ///< from OHalInitDevice
    std::size_t visitors = 0; ///< from OHalGetDevice
    std::size_t applets = 0;
};
OpenHandles openHandles();

/// What was wrong with the handles of calls, since the last call of this.
std::vector<std::string> takeMisuses();

} // namespace orvo::test
