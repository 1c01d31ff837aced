// SPDX-License-Identifier: MIT
// Which wires the ports get when the simulation starts.
#include "config/Configuration.h"

#include <algorithm>
#include <map>
#include <optional>

namespace orvo::sim {

namespace {

/// What a port was given, and where.
struct Taken {
    std::optional<PortPlace> far;
    unsigned line = 1;
};
using TakenPorts = std::map<PortPlace, Taken>;

bool isThere(const std::vector<BoardConfiguration>& boards, PortPlace place) {
    return std::any_of(boards.begin(), boards.end(), [place](const BoardConfiguration& board) {
        return board.index == place.board && place.port < board.ports;
    });
}

void take(TakenPorts& taken, PortPlace place, const Taken& by, const std::filesystem::path& file) {
    const auto [before, isNew] = taken.emplace(place, by);
    if (!isNew)
        throw ConfigurationError(file, by.line,
                                 "port " + toText(place) + " is cabled twice, here and in line " +
                                     std::to_string(before->second.line));
}

/// False for a cable that its other end named before.
bool takeEnds(TakenPorts& taken, const WireConfiguration& wire, const std::filesystem::path& file) {
    if (wire.wire.kind != WireSpec::Kind::Port) {
        take(taken, wire.place, {std::nullopt, wire.line}, file);
        return true;
    }
    const auto before = taken.find(wire.place);
    if (before != taken.end() && before->second.far == wire.wire.far) return false;
    take(taken, wire.place, {wire.wire.far, wire.line}, file);
    take(taken, wire.wire.far, {wire.place, wire.line}, file);
    return true;
}

} // namespace

std::vector<WireConfiguration> planCables(const std::vector<BoardConfiguration>& boards,
                                          std::vector<WireConfiguration> wanted,
                                          const std::filesystem::path& file) {
    std::stable_sort(wanted.begin(), wanted.end(),
                     [](const auto& a, const auto& b) { return a.line < b.line; });
    std::vector<WireConfiguration> plan;
    TakenPorts taken;
    for (auto& wire : wanted) {
        const PortPlace far = wire.wire.far;
        if (wire.wire.kind == WireSpec::Kind::Port && !isThere(boards, far))
            throw ConfigurationError(file, wire.line, "there is no port " + toText(far) + " to cable to");
        if (wire.wire.kind == WireSpec::Kind::Port && far == wire.place)
            throw ConfigurationError(file, wire.line,
                                     "port " + toText(far) + " cannot be cabled to itself; use loopback");
        if (takeEnds(taken, wire, file)) plan.push_back(std::move(wire));
    }
    for (const auto& board : boards)
        for (unsigned port = 0; port < board.ports; ++port)
            if (!taken.contains({board.index, port})) plan.push_back({{board.index, port}, {}, 1});
    return plan;
}

} // namespace orvo::sim
