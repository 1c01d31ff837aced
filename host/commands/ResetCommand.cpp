// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/ResetRun.h"

#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

class ResetCommand : public Command {
public:
    explicit ResetCommand(Program& program)
        : Command(program, "reset", "Reset the PHY of a port, and wait for its link") {
        addAddressOptions(line(), port_);
        addInstallationOptions(line(), boards_);
        addTimeOption(line(), boards_);
        addFaultOptions(line(), boards_);
        addRecordOption(line(), boards_);
        addBoardRecordingOptions(line(), boards_);
        line().flag("--json", json_, "Print JSON instead of text");
    }

    int run() override {
        const auto report = resetPort(boards_, port_);
        const bool isAccounted = printLedger(report.account.ledger);
        json_ ? printReport(resetJson(report)) : printReport(resetText(report));
        if (!isAccounted) return DifferencesFound;
        if (report.lostLink())
            throw Failure("port " + port_.text() +
                          " lost its link by the reset; check the cable and the far end, and reset again");
        return Done;
    }

private:
    BoardOptions boards_;
    PortAddress port_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeResetCommand(Program& program) {
    return std::make_unique<ResetCommand>(program);
}

} // namespace orvo::host
