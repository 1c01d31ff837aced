// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/ReinitializationRun.h"

#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

class ReinitializeCommand : public Command {
public:
    explicit ReinitializeCommand(Program& program)
        : Command(program, "reinitialize",
                  "Release a port's device, run a command meanwhile, and open it again") {
        line().rest("command", "COMMAND...", command_, "What to run while the device is free, after --");
        addAddressOptions(line(), port_);
        addInstallationOptions(line(), boards_);
        addFaultOptions(line(), boards_);
        addRecordOption(line(), boards_);
        const auto recording = addBoardRecordingOptions(line(), boards_);
        addRecordingTimeOption(line(), boards_, recording);
        line().flag("--json", json_, "Print JSON instead of text");
    }

    int run() override {
        const auto report = reinitializePort(boards_, port_, command_);
        const bool isAccounted = printLedger(report.account.ledger);
        json_ ? print(reinitializationJson(report)) : print(reinitializationText(report));
        if (report.exitCode != 0)
            throw Failure(host::quoted(command_[0]) + " ended with exit code " +
                          std::to_string(report.exitCode) +
                          "; the device is open again, look at what the command printed");
        return isAccounted ? Done : DifferencesFound;
    }

private:
    BoardOptions boards_;
    PortAddress port_;
    std::vector<std::string> command_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeReinitializeCommand(Program& program) {
    return std::make_unique<ReinitializeCommand>(program);
}

} // namespace orvo::host
