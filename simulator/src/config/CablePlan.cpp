// SPDX-License-Identifier: MIT
// Which wires the ports get when the simulation starts.
#include "config/Configuration.h"

#include <algorithm>
#include <map>

namespace orvo::sim {

namespace {

/// The wire of each port so far; a cable stands at both its ends.
using TakenPorts = std::map<PortPlace, const WireConfiguration*>;

bool isThere(const std::vector<BoardConfiguration>& boards, PortPlace place) {
    return std::any_of(boards.begin(), boards.end(), [place](const BoardConfiguration& board) {
        return board.index == place.board && place.port < board.ports;
    });
}

bool isCable(const WireConfiguration& wire) {
    return wire.wire.kind == WireSpec::Kind::Port;
}

/// Both name one cable, each at its own end.
bool areEnds(const WireConfiguration& one, const WireConfiguration& other) {
    return isCable(one) && isCable(other) && one.wire.far == other.place && other.wire.far == one.place;
}

void take(TakenPorts& taken, PortPlace place, const WireConfiguration& wire,
          const std::filesystem::path& file) {
    const auto [before, isNew] = taken.emplace(place, &wire);
    if (!isNew)
        throw ConfigurationError(file, wire.line,
                                 "port " + toText(place) + " is cabled twice, here and in line " +
                                     std::to_string(before->second->line) + "; remove one of the two");
}

} // namespace

std::vector<WireConfiguration> planCables(const std::vector<BoardConfiguration>& boards,
                                          std::vector<WireConfiguration> wanted,
                                          const std::filesystem::path& file) {
    std::stable_sort(wanted.begin(), wanted.end(),
                     [](const auto& a, const auto& b) { return a.line < b.line; });
    std::vector<WireConfiguration> plan;
    TakenPorts taken;
    for (const auto& wire : wanted) {
        const PortPlace far = wire.wire.far;
        if (isCable(wire) && !isThere(boards, far))
            throw ConfigurationError(file, wire.line,
                                     "there is no port " + toText(far) +
                                         " to cable to; name a port of a [[board]] in this file");
        if (isCable(wire) && far == wire.place)
            throw ConfigurationError(file, wire.line,
                                     "port " + toText(far) + " cannot be cabled to itself; use loopback");
        const auto before = taken.find(wire.place);
        if (before != taken.end() && areEnds(*before->second, wire)) continue;
        take(taken, wire.place, wire, file);
        if (isCable(wire)) take(taken, far, wire, file);
        plan.push_back(wire);
    }
    for (const auto& board : boards)
        for (unsigned port = 0; port < board.ports; ++port)
            if (!taken.contains({board.index, port})) plan.push_back({{board.index, port}, {}, 1});
    return plan;
}

} // namespace orvo::sim
