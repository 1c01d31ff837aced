// SPDX-License-Identifier: MIT
// Loading and ending of fault scripts.
#include "process/Simulation.h"

#include "board/Cabling.h"

namespace orvo::sim {

namespace {

/// A seed for each entry; neighbouring seeds and entries get unrelated random numbers.
std::uint64_t mixed(std::uint64_t seed, std::uint64_t number) noexcept {
    std::uint64_t value = seed + (number + 1) * 0x9E37'79B9'7F4A'7C15;
    value = (value ^ value >> 30) * 0xBF58'476D'1CE4'E5B9;
    value = (value ^ value >> 27) * 0x94D0'49BB'1331'11EB;
    return value ^ value >> 31;
}

std::uint32_t requiredAddress(const Board& board, const std::string& name, unsigned line,
                              const std::filesystem::path& file) {
    const std::uint32_t address = board.firmware().addressOf(name);
    if (address == 0)
        throw ConfigurationError(
            file, line,
            "the firmware of board " + std::to_string(board.configuration().index) + " has no register '" +
                name + "'; a port's register has the port's number at its end, as in GigeRecvErrCnt0");
    return address;
}

/// The ledger reports a failing read at the entry's port, so the register must be that port's.
void refuseOtherPort(const Board& board, const FaultSpec& spec, const std::filesystem::path& file) {
    const auto address = requiredAddress(board, spec.registerName, spec.registerLine, file);
    if ((address & portScope) != 0 && portOf(address) != spec.place.port)
        throw ConfigurationError(file, spec.registerLine,
                                 "'" + spec.registerName + "' is a register of port " +
                                     std::to_string(portOf(address)) + ", but the fault is at port " +
                                     toText(spec.place) + "; give both the same number");
}

} // namespace

/// The address of the register that arms the entry, 0 for none. Refuses an entry that names something that
/// does not exist.
std::uint32_t Simulation::armingAddress(const FaultSpec& spec, const std::filesystem::path& file) {
    if (!port(spec.place))
        throw ConfigurationError(file, spec.line,
                                 "there is no port " + toText(spec.place) + "; correct 'board' or 'port'");
    const Board& owner = *board(spec.place.board);
    if (!spec.registerName.empty()) refuseOtherPort(owner, spec, file);
    return spec.when.armedBy.empty() ? 0 : requiredAddress(owner, spec.when.armedBy, spec.armingLine, file);
}

std::unique_ptr<Simulation::LoadedScript> Simulation::prepare(const FaultScript& script, std::uint64_t seed) {
    auto loaded = std::make_unique<LoadedScript>();
    const SimTime now = simClock.now();
    for (const auto& spec : script.faults)
        loaded->faults.push_back(std::make_unique<ScriptedFault>(spec, mixed(seed, loaded->faults.size()),
                                                                 now, armingAddress(spec, script.file)));
    for (const auto& board : boards_) {
        std::vector<ScriptedFault*> own;
        for (const auto& fault : loaded->faults)
            if (fault->spec().place.board == board->configuration().index) own.push_back(fault.get());
        loaded->boards.push_back(std::make_unique<BoardFaults>(*board, own));
    }
    return loaded;
}

template <class Visit> void Simulation::forEachPort(LoadedScript& script, Visit visit) {
    for (std::size_t i = 0; i < boards_.size(); ++i)
        for (Port& port : boards_[i]->ports()) visit(port, *script.boards[i], port.place().port);
}

/// Unplugs the wires with faults, old or new, and plugs them in again behind the new faults. Under the bench
/// mutex.
void Simulation::install(LoadedScript& script) {
    const FindPort find = [this](PortPlace at) { return port(at); };
    std::vector<std::pair<PortPlace, WireSpec>> unplugged;
    forEachPort(script, [&](Port& port, BoardFaults& faults, unsigned number) {
        const WireSpec spec = port.cabling().spec;
        if (!port.changesWire(faults.sent(number), faults.received(number)) ||
            spec.kind == WireSpec::Kind::None)
            return;
        orvo::sim::plug(port.place(), {WireSpec::Kind::None}, find, simClock.now());
        unplugged.emplace_back(port.place(), spec);
    });
    forEachPort(script, [](Port& port, BoardFaults& faults, unsigned number) {
        port.setFaults(faults.sent(number), faults.received(number), faults.phy(number));
    });
    for (std::size_t i = 0; i < boards_.size(); ++i) boards_[i]->setScript(*script.boards[i]);
    for (const auto& [place, spec] : unplugged) orvo::sim::plug(place, spec, find, simClock.now());
}

void Simulation::loadFaults(const FaultScript& script, std::uint64_t seed) {
    const std::lock_guard turn(loading_);
    for (const auto& spec : script.faults) armingAddress(spec, script.file); // before anything changes
    for (const auto& board : boards_)
        if (BoardFaults* const before = board->script()) before->end();
    const std::lock_guard lock(benchMutex);
    scripts_.push_back(prepare(script, seed));
    install(*scripts_.back());
}

void Simulation::endFaults() {
    for (const auto& board : boards_) {
        if (BoardFaults* const script = board->script()) script->end();
        board->passScript();
    }
}

const ScriptedFault* Simulation::fault(std::size_t number) noexcept {
    const std::lock_guard turn(loading_);
    if (scripts_.empty() || number >= scripts_.back()->faults.size()) return nullptr;
    return scripts_.back()->faults[number].get();
}

} // namespace orvo::sim
