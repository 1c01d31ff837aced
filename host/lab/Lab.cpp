// SPDX-License-Identifier: MIT
// Makes the ends, and starts and ends everything in them in order.
#include "lab/Lab.h"

#include "base/ChildProcess.h"
#include "base/Failure.h"
#include "base/Output.h"
#include "device/BoardLibraries.h"
#include "device/Installation.h"
#include "device/SimulatorControl.h"
#include "traffic/BridgeRun.h"

#include <sched.h>
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
constexpr auto endLimit = 3s;    // includes the plug-in's last empty read and its statistics

timespec timeUntil(Clock::time_point limit) {
    const auto left = std::max(limit - Clock::now(), Clock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
}

std::string endingOf(int exitCode) {
    return exitCode > EndedBySignal ? "was ended by signal " + std::to_string(exitCode - EndedBySignal)
                                    : "ended with exit code " + std::to_string(exitCode);
}

void requireSimulatedPort(const LabOptions& options) {
    const Installation installation(options.root);
    const auto simulator = SimulatorControl::find(*BoardLibraries(installation).hal());
    if (!simulator)
        throw Failure("lab needs a simulated board, and the one of " + quoted(installation.root().string()) +
                      " is real; name another installation with --root");
    if (!simulator->state(options.port))
        throw Failure("there is no port " + options.port.text() +
                      "; 'orvo-gige boards' lists boards and ports");
}

// A real board never waits for a processor, and the simulated one's queue holds 4 ms of traffic at most.
// Where this process may not use real-time scheduling, it runs like any other.
void takePrecedence() {
    const sched_param lowest{1};
    sched_setscheduler(0, SCHED_RR, &lowest);
}

BridgeRequest bridgeRequest(const LabOptions& lab) {
    BridgeRequest bridge;
    bridge.tap = Lab::hostInterface;
    bridge.port.address = lab.port;
    bridge.boards.root = lab.root;
    bridge.boards.wires = {{lab.port.text(), std::string("packet:") + boardInterface}};
    return bridge;
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
    addAddress(cameraInterface, options_.cameraAddress);
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

ChildProcess Lab::startBridge() {
    return startChild([this] {
        leaveTerminal();
        unblockAwaitedSignals();
        host_.enter();
        return bridge();
    });
}

// In the host end, where it makes the port's interface; the port's wire ends in the board's namespace.
int Lab::bridge() const {
    setenv("ORVO_BOARD", "own", 1); // a server's wires cannot end in the lab's networks
    requireSimulatedPort(options_);
    takePrecedence();
    dup2(STDERR_FILENO, STDOUT_FILENO); // standard output belongs to the command
    const auto setUp = [this] {
        addAddress(hostInterface, options_.hostAddress);
        setLinkUp(hostInterface);
        kill(getppid(), SIGUSR1);
    };
    const auto report = runBridge(bridgeRequest(options_), {.wires = &board_, .ready = setUp});
    printReport(options_.report ? options_.report(report) : bridgeText(report));
    return Done;
}

ChildProcess Lab::startCamera() {
    return startChild([this] {
        leaveTerminal();
        return becomeProgram({"/bin/sh", "-c", options_.camera}, camera_);
    });
}

ChildProcess Lab::startCommand() {
    return startChild([this] {
        if (options_.interactive) becomeForegroundGroup();
        return becomeProgram(options_.command, host_);
    });
}

bool Lab::awaitBridge() {
    const auto limit = Clock::now() + readyLimit;
    while (!bridgeReady_ && bridge_.isRunning() && endSignal_ == 0)
        if (!take(awaitSignal(timeUntil(limit))))
            throw Failure("the bridge was not ready in time; try it by itself with 'orvo-gige bridge'");
    if (!bridgeReady_) return false; // its error is on standard error already
    notice("port " + options_.port.text() + " is " + hostInterface + ", " + options_.hostAddress.text +
           "; behind it, the camera end is " + cameraInterface + ", " + options_.cameraAddress.text);
    return true;
}

int Lab::awaitCommand() {
    while (command_.isRunning() && bridge_.isRunning() && endSignal_ == 0) take(awaitSignal());
    if (command_.exitCode) return *command_.exitCode;
    if (endSignal_ != 0) return EndedBySignal + endSignal_;
    notice("the bridge " + endingOf(*bridge_.exitCode) + ", so the lab ends");
    return Failed;
}

// The kernel kills what is left when this process ends.
void Lab::endEverything() {
    ending_ = true;
    kill(-1, endSignal_ == SIGINT ? SIGINT : SIGTERM); // everything in this process namespace
    if (options_.interactive && command_.isRunning()) kill(command_.id, SIGHUP); // shells ignore the others
    const auto limit = Clock::now() + endLimit;
    while (bridge_.isRunning() || cameraProgram_.isRunning() || command_.isRunning())
        if (!take(awaitSignal(timeUntil(limit)))) return;
}

/// Returns false when there was none.
bool Lab::take(const std::optional<Signal>& signal) {
    if (!signal) return false;
    if (signal->number == SIGCHLD)
        collectEnded();
    else if (signal->number == SIGUSR1)
        bridgeReady_ = bridgeReady_ || signal->sender == bridge_.id;
    else if (command_.id == 0 || !signal->isFromTerminal()) // the terminal sent it to the command, too
        endSignal_ = signal->number;
    return true;
}

void Lab::collectEnded() {
    int status = 0;
    for (pid_t id = 0; (id = waitpid(-1, &status, WNOHANG | WUNTRACED)) > 0;)
        if (!WIFSTOPPED(status))
            note(id, exitCodeOf(status));
        else if (options_.interactive) // it has the terminal, so no shell could continue it
            kill(-id, SIGCONT);
}

void Lab::note(pid_t process, int exitCode) {
    for (auto* child : {&bridge_, &cameraProgram_, &command_})
        if (child->id == process) child->exitCode = exitCode;
    if (process == cameraProgram_.id && !ending_)
        notice("the camera's program " + endingOf(exitCode) + " before the host's command");
}

} // namespace orvo::host
