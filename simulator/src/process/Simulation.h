// SPDX-License-Identifier: MIT
// All boards, their cables and the fault script at work.
#pragma once

#include "board/Board.h"
#include "board/BoardFaults.h"

#include <memory>
#include <vector>

namespace orvo::sim {

class Simulation {
public:
    /// Builds and cables the boards. Throws ConfigurationError when a wire cannot be made.
    /// `isShared`: their memory can be mapped by other processes; std::system_error where there is none.
    explicit Simulation(Configuration configuration, bool isShared = false);

    Board* board(unsigned index) noexcept; ///< null where there is none
    Port* port(PortPlace place) noexcept;  ///< null where there is none
    const std::vector<std::unique_ptr<Board>>& boards() const noexcept { return boards_; }
    const FirmwareProfile* firmware(unsigned number) const noexcept; ///< null beyond the last

    /// Plugs in a wire. On WireError the old wire stays. Any thread.
    void plug(PortPlace place, const WireSpec& spec, SimTime now);

    /// Replaces the fault script and sets the accounts to 0. Call it while no frame is being sent or
    /// received. Throws ConfigurationError, with everything as it was, when the script names a place that
    /// does not exist; WireError when a port could not be cabled again, which then has no wire.
    void loadFaults(const FaultScript& script, std::uint64_t seed);
    /// No fault happens any more.
    void endFaults();
    /// The entries of the script that was loaded last; null beyond the last one.
    const ScriptedFault* fault(std::size_t number) noexcept;

private:
    /// Never destroyed, since a thread of the host may still use it when the next script is loaded.
    struct LoadedScript {
        std::vector<std::unique_ptr<ScriptedFault>> faults; // in the order of the file
        std::vector<std::unique_ptr<BoardFaults>> boards;   // as in boards_
    };
    std::unique_ptr<LoadedScript> prepare(const FaultScript& script, std::uint64_t seed);
    std::uint32_t armingAddress(const FaultSpec& spec, const std::filesystem::path& file);
    template <class Visit> void forEachPort(LoadedScript& script, Visit visit);
    void install(LoadedScript& script);
    void refuseShared(PortPlace place, const WireSpec& spec);

    std::vector<std::unique_ptr<FirmwareProfile>> firmwares_;
    std::vector<std::unique_ptr<Board>> boards_;
    std::mutex loading_; // one script at a time; guards what follows, taken before the bench mutex
    std::vector<std::unique_ptr<LoadedScript>> scripts_; // the last one is the present one
};

} // namespace orvo::sim
