// Opening an installation as the command line says.
#include "board/Session.h"

#include "app/Failure.h"

namespace orvo::host {

Session::Session(const InstallationOptions& options, unsigned defaultBoard)
    : installation(options.root), libraries(installation),
      simulator(SimulatorControl::find(libraries.hal())) {
    if (!options.wires.empty() && !simulator)
        throw Failure("--wire needs a simulated board, and the one of " +
                      quoted(installation.root().string()) +
                      " is real; cable it by hand and leave the option out");
    for (const auto& option : options.wires) simulator->setWire(option.address(defaultBoard), option.wire);
}

} // namespace orvo::host
