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

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <unistd.h>

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

// Help and version are no errors, although the parser reports them like some.
int explain(const CLI::App& program, const CLI::ParseError& outcome) {
    if (outcome.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return program.exit(outcome);
    const auto chosen = program.get_subcommands();
    const auto unknown = program.remaining();
    notice((chosen.empty() && !unknown.empty() ? "there is no subcommand " + quoted(unknown[0])
                                               : std::string(outcome.what())) +
           "; see 'orvo-gige " + (chosen.empty() ? "" : chosen[0]->get_name() + " ") + "--help'");
    return WrongUsage;
}

/// A stream that is closed gets a place that takes no writing, lest the next file that is opened be taken for
/// it.
void holdClosedStreams() {
    int descriptor = 0;
    do descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) close(descriptor);
}

} // namespace

int main(int argc, char** argv) {
    holdClosedStreams();
    if (isExtcapCall(argc, argv)) {
        installSignalHandlers();
        return runGuarded([&] { return answerExtcapCall(argc, argv); });
    }
    CLI::App program("Moves Ethernet frames through the GigE ports of a frame-grabber board.", "orvo-gige");
    program.set_version_flag("--version", "orvo-gige " ORVO_VERSION);
    program.require_subcommand(1);
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<BoardsCommand>(program));
    commands.push_back(std::make_unique<ReplayCommand>(program));
    commands.push_back(std::make_unique<CaptureCommand>(program));
    commands.push_back(std::make_unique<BridgeCommand>(program));
    commands.push_back(std::make_unique<ExtcapCommand>(program));
    commands.push_back(std::make_unique<LabCommand>(program));
    commands.push_back(std::make_unique<DiagnoseCommand>(program));
    commands.push_back(std::make_unique<ResetCommand>(program));
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& outcome) {
        return explain(program, outcome);
    }
    installSignalHandlers();
    for (const auto& command : commands)
        if (command->chosen()) return runGuarded([&] { return command->run(); });
    return WrongUsage;
}
