// SPDX-License-Identifier: MIT
// Host program of the GigE plug-in: command line, exit codes, and the error line.
#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"
#include "commands/ExtcapCall.h"
#include "commands/HostProgram.h"
#include "device/BoardAccess.h"

#include <fcntl.h>
#include <unistd.h>

#include <new>

namespace {

using namespace orvo::host;

struct End {
    int exitCode;
    std::string error = {};
};

template <class Work> End endOf(const Work& work) {
    try {
        return {work()};
    } catch (const Interruption&) {
        return {EndedBySignal + endRequested()};
    } catch (const OutputClosed&) {
        return {Done};
    } catch (const UsageFailure& error) {
        return {WrongUsage, error.what()};
    } catch (const std::bad_alloc&) {
        return {Failed, "out of memory; free some and try again"};
    } catch (const std::exception& error) {
        return {Failed, error.what()};
    }
}

std::string joined(const std::string& error, const std::string& further) {
    return error.empty() ? further : error + "; " + further;
}

template <class Work> int runGuarded(const Work& work) {
    auto end = endOf(work);
    if (ServerWatch::hasLostServer()) end = {Failed, ServerWatch::lossText()};
    if (end.exitCode != WrongUsage && !Playback::leftOut().empty())
        end = {DifferencesFound, joined(end.error, Playback::leftOut())};
    if (end.exitCode == Done && BoardAccess::hasIncompleteRecording()) end.exitCode = DifferencesFound;
    if (!end.error.empty()) notice(end.error);
    return end.exitCode;
}

/// Opens /dev/null, for reading only, in place of standard streams that are closed. The next file that is
/// opened would otherwise become standard output.
void holdClosedStreams() {
    int descriptor = 0;
    do descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) close(descriptor);
}

} // namespace

int main(int argc, char** argv) {
    holdClosedStreams();
    installSignalHandlers();
    if (isExtcapCall(argc, argv)) return runGuarded([&] { return answerExtcapCall(argc, argv); });
    HostProgram program;
    return runGuarded([&]() -> int {
        if (!program.line.parse(argc, argv)) return Done;
        return program.chosen().run();
    });
}
