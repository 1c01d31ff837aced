// SPDX-License-Identifier: MIT
// Host program of the GigE plug-in: command line, exit codes, and the one line that tells of a failure.
#include "base/Failure.h"
#include "base/Notice.h"
#include "base/Signals.h"
#include "commands/ExtcapCommand.h"
#include "commands/HostProgram.h"

#include <fcntl.h>
#include <unistd.h>

#include <new>

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

} // namespace

int main(int argc, char** argv) {
    holdClosedStreams();
    if (isExtcapCall(argc, argv)) {
        installSignalHandlers();
        return runGuarded([&] { return answerExtcapCall(argc, argv); });
    }
    HostProgram program;
    return runGuarded([&]() -> int {
        if (!program.line.parse(argc, argv)) return Done;
        installSignalHandlers();
        return program.chosen().run();
    });
}
