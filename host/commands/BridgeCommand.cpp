// SPDX-License-Identifier: MIT
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
        line().text("--tap", "NAME", request_.tap, "TAP to use; made if it does not exist").required();
        line().flag("--up", request_.setUp, "Set the TAP's link up");
        line().value(
            "--address", "A/N",
            [this](const std::string& text) {
                request_.address = parsed(NetworkAddress::parse(text), text,
                                          "ADDRESS/PREFIX, such as 192.168.7.1/24 or fd00::1/64");
            },
            "Give the TAP an IP address, and set its link up");
        line().flag("--no-offload", request_.noOffload,
                    "Leave it to Linux, not the bridge, to cut and to join segments and to compute checksums");
        line()
            .text("-w,--write", "FILE", request_.recording,
                  "Record both directions as pcapng; - is standard output, for a pipe")
            .notEmpty();
        line()
            .text("--prometheus", "FILE", request_.metricsFile, "Rewrite FILE with metrics once a second")
            .notEmpty();
        addTrafficOptions(line(), request_, json_);
    }

    int run() override {
        const auto report = runBridge(request_);
        const bool isAccounted = printLedger(report.account.ledger);
        printReport(json_ ? jsonText(bridgeJson(report)) : bridgeText(report),
                    request_.recording == CaptureOutput::standardOutput);
        return isAccounted ? Done : DifferencesFound;
    }

private:
    BridgeRequest request_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeBridgeCommand(Program& program) {
    return std::make_unique<BridgeCommand>(program);
}

} // namespace orvo::host
