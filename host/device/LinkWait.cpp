// SPDX-License-Identifier: MIT
// Asking for the link again and again.
#include "device/LinkWait.h"

#include "base/Failure.h"
#include "base/Signals.h"
#include "device/Board.h"
#include "device/Phy.h"

#include <unistd.h>

#include <chrono>
#include <functional>

namespace orvo::host {
namespace {

constexpr std::chrono::seconds limit{10};
constexpr useconds_t simulatorPauseUs = 10'000; // a real PHY's reads bring pauses of their own

bool comesUp(const BoardAccess& session, const std::function<bool()>& linkUp) {
    const auto end = session.seconds() + static_cast<double>(limit.count());
    while (!linkUp()) {
        if (session.seconds() >= end) return false;
        throwIfEndRequested();
    }
    return true;
}

bool comesUpOnSimulator(const BoardAccess& session, PortAddress port) {
    const auto& simulator = *session.simulator;
    if (simulator.wire(port) == "none") return simulator.linkUp(port).value_or(true); // it would never come
    return comesUp(session, [&] {
        if (simulator.linkUp(port).value_or(true)) return true;
        usleep(simulatorPauseUs);
        return false;
    });
}

bool comesUpOnBoard(const BoardAccess& session, PortAddress port) {
    const auto board = Board::at(session.libraries, port.board);
    auto mdio = board ? MdioMaster::of(*board) : std::nullopt;
    return !mdio || comesUp(session, [&] { return readLink(*mdio, port.port) == Link::Up; });
}

} // namespace

bool tryWaitForLink(const BoardAccess& session, PortAddress port) {
    return session.simulator ? comesUpOnSimulator(session, port) : comesUpOnBoard(session, port);
}

void waitForLink(const BoardAccess& session, PortAddress port) {
    if (tryWaitForLink(session, port)) return;
    if (session.simulator && session.simulator->wire(port) == "none")
        throw Failure("port " + port.text() + " has no link: nothing is plugged in; cable it with --wire");
    throw Failure("port " + port.text() + " has no link after " + std::to_string(limit.count()) +
                  " s; check the cable and the far end; a board that was not started yet needs the reset "
                  "that --no-reset spares");
}

} // namespace orvo::host
