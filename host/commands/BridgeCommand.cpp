// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/BridgeRun.h"

namespace orvo::host {
namespace {

class BridgeCommand : public Command {
public:
    explicit BridgeCommand(Program& program)
        : Command(program, "bridge", "Make a port a network interface, until interrupted") {
        line()
            .text("--tap", "NAME", request_.tap, "TAP to make, or to take when there is one of this name")
            .required();
        line().flag("--up", request_.setUp, "Set the TAP's link up");
        line().value(
            "--address", "A/N", [this](const std::string& text) { takeAddress(text); },
            "Give the TAP an IP address, and set its link up");
        addTrafficOptions(line(), request_, json_);
    }

    int run() override {
        const auto report = runBridge(request_);
        const bool isAccounted = tellLedger(report.account.ledger);
        json_ ? print(jsonOfBridge(report)) : print(textOfBridge(report));
        return isAccounted ? Done : DifferencesFound;
    }

private:
    void takeAddress(const std::string& text) {
        request_.addressText = text;
        request_.address = NetworkAddress::parse(text);
        if (!request_.address)
            throw WrongValue(quoted(text) +
                             " is not of the form ADDRESS/PREFIX, such as 192.168.7.1/24 or fd00::1/64");
    }

    BridgeRequest request_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeBridgeCommand(Program& program) {
    return std::make_unique<BridgeCommand>(program);
}

} // namespace orvo::host
