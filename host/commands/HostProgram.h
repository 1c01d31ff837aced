// SPDX-License-Identifier: MIT
// The whole command line of the program, for its entry and for its manual.
#pragma once

#include "cli/Command.h"

#include <memory>
#include <vector>

namespace orvo::host {

struct HostProgram {
    HostProgram();

    /// The subcommand that the parsed line asks for. There is one: the parser demands it.
    Command& chosen() const;

    Program line;
    std::vector<std::unique_ptr<Command>> commands; ///< in the order of the help
};

// Each subcommand is in the file of its name, such as BoardsCommand.cpp. The program must outlive it.
std::unique_ptr<Command> makeBoardsCommand(Program& program);
std::unique_ptr<Command> makeBridgeCommand(Program& program);
std::unique_ptr<Command> makeCallsCommand(Program& program);
std::unique_ptr<Command> makeCamerasCommand(Program& program);
std::unique_ptr<Command> makeCaptureCommand(Program& program);
std::unique_ptr<Command> makeCompletionCommand(Program& program);
std::unique_ptr<Command> makeConfigCommand(Program& program);
std::unique_ptr<Command> makeDemoCommand(Program& program);
std::unique_ptr<Command> makeDiagnoseCommand(Program& program);
std::unique_ptr<Command> makeDoctorCommand(Program& program);
std::unique_ptr<Command> makeEventsCommand(Program& program);
std::unique_ptr<Command> makeExerciseCommand(Program& program);
std::unique_ptr<Command> makeExtcapCommand(Program& program);
std::unique_ptr<Command> makeLabCommand(Program& program);
std::unique_ptr<Command> makeReinitializeCommand(Program& program);
std::unique_ptr<Command> makeReplayCommand(Program& program);
std::unique_ptr<Command> makeResetCommand(Program& program);
std::unique_ptr<Command> makeSelftestCommand(Program& program);
std::unique_ptr<Command> makeSimCommand(Program& program);
std::unique_ptr<Command> makeSimulateCommand(Program& program);
std::unique_ptr<Command> makeStreamsCommand(Program& program);
std::unique_ptr<Command> makeWatchCommand(Program& program);

} // namespace orvo::host
