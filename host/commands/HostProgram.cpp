// SPDX-License-Identifier: MIT
// The list of subcommands.
#include "commands/HostProgram.h"

#include "commands/BoardsCommand.h"
#include "commands/BridgeCommand.h"
#include "commands/CaptureCommand.h"
#include "commands/CompletionCommand.h"
#include "commands/ConfigCommand.h"
#include "commands/DiagnoseCommand.h"
#include "commands/DoctorCommand.h"
#include "commands/ExtcapCommand.h"
#include "commands/LabCommand.h"
#include "commands/ReplayCommand.h"
#include "commands/ResetCommand.h"
#include "commands/SimCommand.h"
#include "commands/SimulateCommand.h"
#include "commands/WatchCommand.h"

#include <algorithm>

namespace orvo::host {
namespace {

template <class... Each> void declare(HostProgram& program) {
    (program.commands.push_back(std::make_unique<Each>(program.line)), ...);
}

} // namespace

HostProgram::HostProgram()
    : line("orvo-gige", "Moves Ethernet frames through the GigE ports of a frame-grabber board.") {
    line.haveSubcommands("orvo-gige " ORVO_VERSION);
    declare<BoardsCommand, ReplayCommand, CaptureCommand, BridgeCommand, ExtcapCommand, LabCommand,
            DiagnoseCommand, ResetCommand, WatchCommand, SimulateCommand, SimCommand, DoctorCommand,
            ConfigCommand, CompletionCommand>(*this);
}

Command& HostProgram::chosen() const {
    return **std::ranges::find_if(commands, [](const auto& command) { return command->chosen(); });
}

} // namespace orvo::host
