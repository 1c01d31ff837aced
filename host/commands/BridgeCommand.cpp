// SPDX-License-Identifier: MIT
#include "commands/BridgeCommand.h"

#include "base/Failure.h"
#include "commands/SharedOptions.h"

namespace orvo::host {
namespace {

void takeAddress(BridgeOptions& options, const std::string& text) {
    options.addressText = text;
    options.address = NetworkAddress::parse(text);
    if (!options.address)
        throw WrongValue(quoted(text) +
                         " is not of the form ADDRESS/PREFIX, such as 192.168.7.1/24 or fd00::1/64");
}

} // namespace

BridgeCommand::BridgeCommand(Program& program)
    : Command(program, "bridge", "Make a port a network interface, until interrupted") {
    line()
        .text("--tap", "NAME", options_.tap, "TAP to make, or to take when there is one of this name")
        .required();
    line().flag("--up", options_.setUp, "Set the TAP's link up");
    line().value(
        "--address", "A/N", [this](const std::string& text) { takeAddress(options_, text); },
        "Give the TAP an IP address, and set its link up");
    addTo(line(), options_.port);
    addTo(line(), options_.installation);
    addFaultsTo(line(), options_.installation);
    line().flag("--json", options_.json, "Print the report as JSON");
}

int BridgeCommand::run() {
    return runBridge(options_);
}

} // namespace orvo::host
