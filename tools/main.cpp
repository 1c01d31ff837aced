// SPDX-License-Identifier: MIT
// Host program of the GigE plug-in: command line, exit codes, and the one line that tells of a failure.
#include "app/Failure.h"
#include "app/Notice.h"
#include "app/Signals.h"
#include "commands/BoardsCommand.h"
#include "commands/BridgeCommand.h"
#include "commands/CaptureCommand.h"
#include "commands/DiagnoseCommand.h"
#include "commands/ExtcapCommand.h"
#include "commands/LabCommand.h"
#include "commands/ReplayCommand.h"
#include "commands/ResetCommand.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

namespace {

using namespace orvo::host;

template <class Work> int runGuarded(const Work& work) {
    try {
        return work();
    } catch (const Interruption&) {
        return EndedBySignal + endRequested();
    } catch (const UsageFailure& error) {
        notice(error.what());
        return WrongUsage;
    } catch (const std::bad_alloc&) {
        notice("out of memory; free some and try again");
        return Failed;
    } catch (const std::exception& error) {
        notice(error.what());
        return Failed;
    }
}

/// A stream that is closed gets a place that takes no writing, lest the next file that is opened be taken for
/// it.
void holdClosedStreams() {
    int descriptor = 0;
    do descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) close(descriptor);
}

using Commands = std::vector<std::unique_ptr<Command>>;

template <class... Each> Commands declare(Program& program) {
    Commands commands;
    (commands.push_back(std::make_unique<Each>(program)), ...);
    return commands;
}

Commands declareCommands(Program& program) {
    return declare<BoardsCommand, ReplayCommand, CaptureCommand, BridgeCommand, ExtcapCommand, LabCommand,
                   DiagnoseCommand, ResetCommand>(program);
}

} // namespace

int main(int argc, char** argv) {
    holdClosedStreams();
    if (isExtcapCall(argc, argv)) {
        installSignalHandlers();
        return runGuarded([&] { return answerExtcapCall(argc, argv); });
    }
    Program program("orvo-gige", "Moves Ethernet frames through the GigE ports of a frame-grabber board.");
    program.haveSubcommands("orvo-gige " ORVO_VERSION);
    const auto commands = declareCommands(program);
    return runGuarded([&]() -> int {
        if (!program.parse(argc, argv)) return Done;
        installSignalHandlers();
        const auto chosen =
            std::ranges::find_if(commands, [](const auto& command) { return command->chosen(); });
        return (*chosen)->run();
    });
}
