// SPDX-License-Identifier: MIT
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/ExerciseRun.h"

namespace orvo::host {
namespace {

class ExerciseCommand : public Command {
public:
    explicit ExerciseCommand(Program& program)
        : Command(program, "exercise", "Make calls of the plug-in one by one, and show what each does") {
        line().rest("step", "STEP...", request_.steps, "Steps in their order, such as setup send=60 receive");
        addAddressOptions(line(), request_.port.address);
        line().flag("--no-reset", request_.port.noReset,
                    "Do not reset the board's GigE hardware first (it must be running)");
        addInstallationOptions(line(), request_.boards);
        addTimeOption(line(), request_.boards);
        addRecordOption(line(), request_.boards);
        addBoardRecordingOptions(line(), request_.boards);
    }

    int run() override {
        runExercise(request_);
        return Done;
    }

private:
    ExerciseRequest request_;
};

} // namespace

std::unique_ptr<Command> makeExerciseCommand(Program& program) {
    return std::make_unique<ExerciseCommand>(program);
}

} // namespace orvo::host
