// SPDX-License-Identifier: MIT
#include "device/BoardAccess.h"

#include "base/Failure.h"

#include <chrono>

namespace orvo::host {

PortAddress WireOption::address(unsigned defaultBoard) const {
    const auto full = PortAddress::parse(port);
    return full ? *full : PortAddress::parse(std::to_string(defaultBoard) + "/" + port).value();
}

void InstallationOptions::requireRealTime() const {
    if (virtualTime)
        throw UsageFailure("live traffic runs in real time; leave --time virtual out (--no-reset skips the "
                           "board's reset)");
}

BoardAccess::BoardAccess(const InstallationOptions& options, unsigned defaultBoard)
    : installation(options.root), libraries(installation), simulator(SimulatorControl::find(libraries.hal())),
      virtualTime(options.virtualTime), hasFaults(!options.faults.empty()) {
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

double BoardAccess::seconds() const {
    if (virtualTime) return simulator->seconds();
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace orvo::host
