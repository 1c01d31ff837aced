// SPDX-License-Identifier: MIT
#include "device/BoardAccess.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "device/Board.h"

#include <chrono>

namespace orvo::host {

PortAddress WireOption::address(unsigned defaultBoard) const {
    const auto full = PortAddress::parse(port);
    return full ? *full : PortAddress::parse(std::to_string(defaultBoard) + "/" + port).value();
}

BoardAccess::BoardAccess(const InstallationOptions& options, unsigned defaultBoard)
    : installation(options.root), libraries(installation), simulator(SimulatorControl::find(libraries.hal())),
      virtualTime(options.virtualTime), server(simulator && !options.isServer ? simulator->server() : ""),
      hasFaults(!options.faults.empty()) {
    if (!server.empty()) {
        notice("using the simulated boards of " + serverText(server));
        watch_.emplace(*simulator);
    }
    if (!options.wires.empty()) requireSimulator("--wire");
    if (virtualTime) requireSimulator("--time virtual");
    if (hasFaults) requireSimulator("--faults");
    if (!simulator) return;
    simulator->useClock(!virtualTime ? OrvoSimRealTime : hasFaults ? OrvoSimDrivenTime : OrvoSimVirtualTime);
    if (hasFaults) simulator->loadFaults(options.faults, options.seed); // before the wires, which pass them
    for (const auto& option : options.wires) simulator->setWire(option.address(defaultBoard), option.wire);
}

void BoardAccess::requireSimulator(const std::string& option) const {
    if (!simulator)
        throw Failure(option + " needs a simulated board, and the one of " +
                      quoted(installation.root().string()) + " is real; leave the option out");
}

void BoardAccess::requirePort(PortAddress port) const {
    const auto board = Board::at(libraries, port.board);
    const auto name = "board " + std::to_string(port.board);
    const auto advice = "; 'orvo-gige boards' lists boards and ports";
    if (!board) throw Failure("there is no " + name + ", or another program holds it" + advice);
    const auto ports = board->gigePorts();
    if (ports == 0) throw Failure(name + " has no GigE ports, it is for another kind of camera" + advice);
    if (port.port >= ports)
        throw Failure("there is no port " + std::to_string(port.port) + " on " + name +
                      ", whose ports are 0 to " + std::to_string(ports - 1) + advice);
}

double BoardAccess::seconds() const {
    if (virtualTime) return simulator->seconds();
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace orvo::host
