// SPDX-License-Identifier: MIT
// The lab's board is `bridge` with its wire in another namespace.
#include "lab/LabBridge.h"

#include "base/Failure.h"
#include "device/BoardLibraries.h"
#include "device/Installation.h"
#include "device/SimulatorControl.h"
#include "lab/Lab.h"
#include "traffic/BridgeRun.h"

#include <sched.h>
#include <unistd.h>

namespace orvo::host {
namespace {

void requireSimulatedPort(const LabOptions& options) {
    const Installation installation(options.root);
    const auto simulator = SimulatorControl::find(BoardLibraries(installation).hal());
    if (!simulator)
        throw Failure("lab needs a simulated board, and the one of " + quoted(installation.root().string()) +
                      " is real; name another installation with --root");
    if (!simulator->state(options.port))
        throw Failure("there is no port " + options.port.text() +
                      "; 'orvo-gige boards' lists boards and ports");
}

// A board does not wait for a processor when the machine is busy, and its queue holds 4 ms of traffic at
// most. Where the simulated one may not go first, it takes its turn like any program.
void takePrecedence() {
    const sched_param lowest{1};
    sched_setscheduler(0, SCHED_RR, &lowest);
}

} // namespace

int runLabBridge(const LabOptions& options, const char* boardInterface, const NetworkNamespace& board,
                 const std::function<void()>& ready) {
    requireSimulatedPort(options);
    takePrecedence();
    dup2(STDERR_FILENO, STDOUT_FILENO); // standard output is the command's
    BridgeOptions bridge;
    bridge.tap = Lab::hostInterface;
    bridge.port.address = options.port;
    bridge.installation.root = options.root;
    bridge.installation.wires = {{options.port.text(), std::string("packet:") + boardInterface}};
    const auto setUp = [&] {
        addAddress(bridge.tap, options.hostAddress.value, options.hostAddress.text);
        setLinkUp(bridge.tap);
        ready();
    };
    return runBridge(bridge, {.wires = &board, .ready = setUp});
}

} // namespace orvo::host
