// SPDX-License-Identifier: MIT
#include "base/DynamicLibrary.h"
#include "base/Failure.h"
#include "base/Signals.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/Board.h"
#include "device/BoardAccess.h"

#include <fmt/format.h>

#include <array>
#include <cstdlib>

namespace orvo::host {
namespace {

/// Serves while it lives.
class Service {
public:
    Service(const DynamicLibrary& hal, const std::string& name)
        : stop_(hal.require<decltype(::orvoSimStopServing)>("orvoSimStopServing")) {
        std::array<char, 1024> reason = {};
        const auto serve = hal.require<decltype(::orvoSimServe)>("orvoSimServe");
        if (serve(name.c_str(), reason.data(), reason.size()) != 0) throw Failure(reason.data());
    }
    ~Service() { stop_(); }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

private:
    decltype(&::orvoSimStopServing) stop_;
};

DynamicLibrary simulatedBoards(const Installation& installation) {
    DynamicLibrary hal(installation.library("orvo_hal"));
    if (!hal.find<decltype(::orvoSimServe)>("orvoSimServe"))
        throw Failure("the board of " + quoted(installation.root().string()) +
                      " is real, so that every program can open it already; simulate needs a simulated one");
    return hal;
}

void setLineRate(const DynamicLibrary& hal, bool negotiated) {
    const auto set = hal.require<decltype(::orvoSimSetLineRate)>("orvoSimSetLineRate");
    for (unsigned board = 0; board < Board::indexLimit; ++board)
        set(board, negotiated ? 1 : 0); // fails where there is no board
}

/// Holds simulated boards that other programs use, until a signal ends it.
class SimulateCommand : public Command {
public:
    explicit SimulateCommand(Program& program)
        : Command(program, "simulate", "Hold simulated boards that other programs use") {
        line()
            .text("--name", "NAME", name_,
                  "Name that ORVO_BOARD chooses these boards by, or the path of a socket (default: default)")
            .notEmpty();
        line()
            .text("--config", "FILE", config_,
                  "Configuration of the boards (default: simulator.toml of the installation)")
            .notEmpty();
        line().choice(
            "--line-rate", {"negotiated", "none"}, [this](const std::string& text) { lineRate_ = text; },
            "Time that frames take on the wire: that of the negotiated speed, or none (default: as "
            "configured)");
        addInstallationOptions(line(), boards_);
        addFaultOptions(line(), boards_, "Inject the faults of this script on these boards");
    }

    int run() override {
        if (!config_.empty()) setenv("ORVO_SIMULATOR_CONFIG", config_.c_str(), 1);
        const auto hal = simulatedBoards(Installation(boards_.root));
        const Service service(hal, name_);
        boards_.isServer = true;
        const BoardAccess boards(boards_, 0); // the same library
        if (!lineRate_.empty()) setLineRate(hal, lineRate_ == "negotiated");
        fmt::print(stderr, "orvo-gige: simulated boards are ready at {}; Ctrl-C ends them\n",
                   boards.simulator->server());
        awaitEndRequest(std::chrono::steady_clock::time_point::max());
        return Done;
    }

private:
    BoardOptions boards_;
    std::string name_ = "default";
    std::string config_;
    std::string lineRate_; // empty: as configured
};

} // namespace

std::unique_ptr<Command> makeSimulateCommand(Program& program) {
    return std::make_unique<SimulateCommand>(program);
}

} // namespace orvo::host
