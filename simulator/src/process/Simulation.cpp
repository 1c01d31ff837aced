// SPDX-License-Identifier: MIT
// All boards, and the wires between them.
#include "process/Simulation.h"

#include "board/Cabling.h"

namespace orvo::sim {

Simulation::Simulation(Configuration configuration, bool isShared)
    : firmwares_(std::move(configuration.firmwares)) {
    for (const auto& board : configuration.boards)
        boards_.push_back(std::make_unique<Board>(board, isShared));
    for (const auto& wire : configuration.wires) {
        try {
            plug(wire.place, wire.wire, always);
        } catch (const WireError& error) {
            throw ConfigurationError(configuration.file, wire.line, error.what());
        }
    }
}

Board* Simulation::board(unsigned index) noexcept {
    for (const auto& board : boards_)
        if (board->configuration().index == index) return board.get();
    return nullptr;
}

Port* Simulation::port(PortPlace place) noexcept {
    Board* const owner = board(place.board);
    return owner && place.port < owner->ports().size() ? &owner->ports()[place.port] : nullptr;
}

const FirmwareProfile* Simulation::firmware(unsigned number) const noexcept {
    return number < firmwares_.size() ? firmwares_[number].get() : nullptr;
}

/// Two ports that record into one file would destroy each other's captures; two ports at one interface would
/// be two ends at one end of a cable.
void Simulation::refuseShared(PortPlace place, const WireSpec& spec) {
    std::error_code absent; // a file that does not exist is not shared
    for (const auto& board : boards_)
        for (Port& other : board->ports()) {
            if (other.place() == place) continue;
            const WireSpec& taken = other.cabling().spec;
            const std::string by = " by port " + toText(other.place()) + " already";
            if (std::filesystem::equivalent(taken.output, spec.output, absent))
                throw WireError("capture file '" + spec.output.string() + "' is written" + by +
                                "; name another file");
            if (!spec.interface.empty() && taken.interface == spec.interface)
                throw WireError("interface '" + spec.interface + "' is used" + by +
                                "; name another interface");
        }
}

void Simulation::plug(PortPlace place, const WireSpec& spec, SimTime now) {
    const std::lock_guard lock(benchMutex);
    refuseShared(place, spec);
    orvo::sim::plug(
        place, spec, [this](PortPlace at) { return port(at); }, now);
}

} // namespace orvo::sim
