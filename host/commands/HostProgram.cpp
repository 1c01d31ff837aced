// SPDX-License-Identifier: MIT
// The list of subcommands.
#include "commands/HostProgram.h"

#include <algorithm>

namespace orvo::host {

HostProgram::HostProgram()
    : line("orvo-gige", "Moves Ethernet frames through the GigE ports of a frame-grabber board.") {
    line.haveSubcommands("orvo-gige " ORVO_VERSION);
    line.shareFlag("--json", "Print JSON; the same as behind the subcommand");
    line.shareOption("--root", "DIR", "Installation to use; the same as behind the subcommand");
    for (auto* const make :
         {makeBoardsCommand,   makeReplayCommand,       makeCaptureCommand, makeBridgeCommand,
          makeExtcapCommand,   makeLabCommand,          makeDemoCommand,    makeDiagnoseCommand,
          makeResetCommand,    makeReinitializeCommand, makeEventsCommand,  makeStreamsCommand,
          makeCamerasCommand,  makeWatchCommand,        makeCallsCommand,   makeSelftestCommand,
          makeExerciseCommand, makeSimulateCommand,     makeSimCommand,     makeDoctorCommand,
          makeConfigCommand,   makeCompletionCommand})
        commands.push_back(make(line));
}

Command& HostProgram::chosen() const {
    return **std::ranges::find_if(commands, [](const auto& command) { return command->chosen(); });
}

} // namespace orvo::host
