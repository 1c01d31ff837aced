// SPDX-License-Identifier: MIT
// Opening an installation as the command line says.
#include "device/BoardAccess.h"

#include "base/Failure.h"

#include <chrono>

namespace orvo::host {

BoardAccess::BoardAccess(const InstallationOptions& options, unsigned defaultBoard)
    : installation(options.root), libraries(installation), simulator(SimulatorControl::find(libraries.hal())),
      virtualTime(options.virtualTime), hasFaults(!options.faults.empty()) {
    if (!options.wires.empty() && !simulator)
        throw Failure("--wire needs a simulated board, and the one of " +
                      quoted(installation.root().string()) +
                      " is real; cable it by hand and leave the option out");
    if (virtualTime && !simulator)
        throw Failure("--time virtual needs a simulated board, and the one of " +
                      quoted(installation.root().string()) + " is real; leave the option out");
    if (hasFaults && !simulator)
        throw Failure("--faults needs a simulated board, and the one of " +
                      quoted(installation.root().string()) + " is real; leave the option out");
    if (simulator && !virtualTime) simulator->letTimePass();
    if (virtualTime) hasFaults ? simulator->letPausesDriveTime() : simulator->letPausesAdvanceTime();
    if (hasFaults) simulator->loadFaults(options.faults, options.seed); // before the wires, which pass them
    for (const auto& option : options.wires) simulator->setWire(option.address(defaultBoard), option.wire);
}

double BoardAccess::seconds() const {
    if (virtualTime) return simulator->seconds();
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace orvo::host
