// SPDX-License-Identifier: MIT
#include "device/BoardServer.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <string_view>

namespace orvo::host {
namespace {

constexpr std::chrono::milliseconds lookInterval{250};
constexpr int looksUntilCut = 9;

std::atomic<bool> isLost{false};

std::string_view chosenBoards() {
    const char* const value = std::getenv("ORVO_BOARD");
    return value ? value : "";
}

} // namespace

bool isServerChosen() {
    return !chosenBoards().empty() && chosenBoards() != "own";
}

std::string serverText(const std::string& socket) {
    const std::string name(isServerChosen() ? chosenBoards() : "default");
    return name.find('/') == std::string::npos ? "server '" + name + "' (" + socket + ")"
                                               : "the server at " + socket;
}

ServerWatch::ServerWatch(const SimulatorControl& simulator)
    : simulator_(simulator), looking_(lookInterval, [this] { watch(); }) {}

void ServerWatch::watch() {
    if (!simulator_.isServerGone()) return;
    if (!isLost.exchange(true) && endRequested() == 0) kill(getpid(), SIGTERM);
    if (++looksSinceLoss_ < looksUntilCut) return;
    notice(lossText());
    _exit(Failed);
}

/// An error that a missing server causes may come before the next look.
ServerWatch::~ServerWatch() {
    if (std::uncaught_exceptions() > 0 && simulator_.isServerGone()) isLost = true;
}

bool ServerWatch::hasLostServer() noexcept {
    return isLost;
}

std::string ServerWatch::lossText() {
    const std::string name(isServerChosen() ? " --name " + std::string(chosenBoards()) : "");
    return "the server of the simulated boards has ended or does not answer; start it again: orvo-gige "
           "simulate" +
           name;
}

} // namespace orvo::host
