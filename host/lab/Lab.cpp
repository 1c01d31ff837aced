// SPDX-License-Identifier: MIT
// Making of the ends, and the order in which everything in them starts and ends.
#include "lab/Lab.h"

#include "base/Failure.h"
#include "base/Notice.h"
#include "base/Terminal.h"
#include "frames/VirtualCable.h"
#include "lab/LabBridge.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto boardInterface = "board0";
constexpr auto readyLimit = 30s; // a board's reset takes 5 s, a link that does not come 10 s
constexpr auto endLimit = 3s;    // the plug-in's last empty read and its statistics among it

timespec timeUntil(Clock::time_point limit) {
    const auto left = std::max(limit - Clock::now(), Clock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
}

std::string endingOf(int exitCode) {
    return exitCode > EndedBySignal ? "was ended by signal " + std::to_string(exitCode - EndedBySignal)
                                    : "ended with exit code " + std::to_string(exitCode);
}

} // namespace

Lab::Lab(const LabOptions& options)
    : options_(options), board_(NetworkNamespace::make()), camera_(NetworkNamespace::make()),
      host_(NetworkNamespace::make()) {
    {
        const NamespaceVisit here(board_);
        makeVirtualCable(boardInterface, cameraInterface, camera_);
        setLinkUp(boardInterface);
    }
    const NamespaceVisit here(camera_);
    sendFinishedFrames(cameraInterface);
    addAddress(cameraInterface, options_.cameraAddress.value, options_.cameraAddress.text);
    setLinkUp(cameraInterface);
    setenv("ORVO_LAB_CAMERA_ADDRESS", options_.cameraAddress.withoutPrefix().c_str(), 1);
    setenv("ORVO_LAB_HOST_ADDRESS", options_.hostAddress.withoutPrefix().c_str(), 1);
}

int Lab::run() {
    bridge_ = startBridge();
    if (!options_.camera.empty()) cameraProgram_ = startCamera();
    if (!awaitBridge()) return endSignal_ != 0 ? EndedBySignal + endSignal_ : static_cast<int>(Failed);
    command_ = startCommand();
    const int code = awaitCommand();
    endEverything();
    return code;
}

Child Lab::startBridge() {
    return startChild([this] {
        leaveTerminal();
        unblockAwaitedSignals();
        host_.enter();
        return runLabBridge(options_, boardInterface, board_, [] { kill(getppid(), SIGUSR1); });
    });
}

Child Lab::startCamera() {
    return startChild([this] {
        leaveTerminal();
        return becomeProgram({"/bin/sh", "-c", options_.camera}, camera_);
    });
}

Child Lab::startCommand() {
    return startChild([this] {
        if (options_.interactive) takeTerminal();
        return becomeProgram(options_.command, host_);
    });
}

bool Lab::awaitBridge() {
    const auto limit = Clock::now() + readyLimit;
    while (!bridgeReady_ && bridge_.isRunning() && endSignal_ == 0)
        if (!take(awaitSignal(timeUntil(limit))))
            throw Failure("the bridge was not ready in time; try it by itself with 'orvo-gige bridge'");
    if (!bridgeReady_) return false; // whoever ended it has said why
    notice("port " + options_.port.text() + " is " + hostInterface + ", " + options_.hostAddress.text +
           "; behind it, the camera end is " + cameraInterface + ", " + options_.cameraAddress.text);
    return true;
}

int Lab::awaitCommand() {
    while (command_.isRunning() && bridge_.isRunning() && endSignal_ == 0) take(awaitSignal());
    if (command_.exitCode) return *command_.exitCode;
    if (endSignal_ != 0) return EndedBySignal + endSignal_;
    notice("the bridge " + endingOf(*bridge_.exitCode) + ", and the lab ends with it");
    return Failed;
}

// What is left after this, the kernel ends together with this process.
void Lab::endEverything() {
    ending_ = true;
    kill(-1, endSignal_ == SIGINT ? SIGINT : SIGTERM); // all that live in this process namespace
    if (options_.interactive && command_.isRunning()) kill(command_.id, SIGHUP); // shells end by no other
    const auto limit = Clock::now() + endLimit;
    while (bridge_.isRunning() || cameraProgram_.isRunning() || command_.isRunning())
        if (!take(awaitSignal(timeUntil(limit)))) return;
}

/// False when there was none.
bool Lab::take(const std::optional<Signal>& signal) {
    if (!signal) return false;
    if (signal->number == SIGCHLD)
        collectEnded();
    else if (signal->number == SIGUSR1)
        bridgeReady_ = bridgeReady_ || signal->sender == bridge_.id;
    else if (command_.id == 0 || !signal->isFromTerminal()) // the command has had the key, too
        endSignal_ = signal->number;
    return true;
}

void Lab::collectEnded() {
    int status = 0;
    for (pid_t id = 0; (id = waitpid(-1, &status, WNOHANG | WUNTRACED)) > 0;)
        if (!WIFSTOPPED(status))
            note(id, exitCodeOf(status));
        else if (options_.interactive) // with the terminal, and so no shell could have it go on
            kill(-id, SIGCONT);
}

void Lab::note(pid_t process, int exitCode) {
    for (auto* child : {&bridge_, &cameraProgram_, &command_})
        if (child->id == process) child->exitCode = exitCode;
    if (process == cameraProgram_.id && !ending_)
        notice("the camera's program " + endingOf(exitCode) + " before the host's command");
}

} // namespace orvo::host
