// SPDX-License-Identifier: MIT
// The boards of an installation, and the port that the command line names.
#include "base/Failure.h"
#include "base/Numbers.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/IsolatedCheck.h"
#include "checkup/doctor/Repair.h"
#include "device/Board.h"
#include "device/BoardServer.h"
#include "device/SimulatorControl.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* boardKind = "kind of board";
constexpr const char* boardsTitle = "boards";
constexpr const char* portTitle = "port";
constexpr const char* firmwareTitle = "firmware";

/// The simulated board's configuration file; an empty value where it has none.
const Setting& configurationOf(const Settings& settings) {
    return *std::ranges::find(settings.others, "ORVO_SIMULATOR_CONFIG", &Setting::name);
}

/// The simulated board's message begins with "FILE:LINE: ", or with "FILE: " where it could not read the
/// file.
unsigned lineIn(const std::string& reason, const std::string& file) {
    if (!reason.starts_with(file + ":")) return 0;
    const auto at = file.size() + 1;
    return static_cast<unsigned>(wholeNumber(reason.substr(at, reason.find(':', at) - at)).value_or(0));
}

Check badConfiguration(const std::string& reason, const Setting& configuration) {
    std::error_code why;
    const bool isFile = fs::is_regular_file(configuration.value, why) || why == std::errc::permission_denied;
    const bool isNamed = configuration.origin.kind == Origin::Kind::Environment;
    return {boardKind, Verdict::Bad, reason,
            isNamed && !isFile ? "unset " + configuration.name
                               : commandToCorrect(configuration.value, lineIn(reason, configuration.value))};
}

Check simulationCheck(const std::optional<SimulatorControl>& simulator, const Installation& installation,
                      const Setting& configuration) {
    if (!simulator) return {boardKind, Verdict::Good, "real"};
    if (const auto server = simulator->server(); !server.empty())
        return {boardKind, Verdict::Good, "simulated, held by " + serverText(server)};
    if (!configuration.value.empty())
        return {boardKind, Verdict::Good,
                fmt::format("simulated, own, as {} says ({})", configuration.value,
                            originText(configuration.origin))};
    return {boardKind, Verdict::Good,
            fmt::format("simulated, own, by default (no real board); {} can describe another",
                        usualSimulatorFile(installation).string())};
}

std::string boardText(const Board& board) {
    const auto ports = board.gigePorts();
    return fmt::format("{} {} (firmware {}, {})", board.index(), board.name(), board.firmware(),
                       ports == 0 ? "no GigE port" : fmt::format("GigE ports 0 to {}", ports - 1));
}

std::vector<Board> allBoards(const BoardLibraries& libraries) {
    std::vector<Board> boards;
    for (unsigned index = 0; index < Board::indexLimit; ++index)
        if (auto board = Board::at(libraries, index)) boards.push_back(std::move(*board));
    return boards;
}

Check boardsCheck(const std::vector<Board>& boards) {
    if (boards.empty())
        return {boardsTitle, Verdict::Bad, "there are none, or other programs hold them",
                "power the board on, end other programs that use it, and see " + ownProgram() + " boards"};
    std::vector<std::string> found;
    std::ranges::transform(boards, std::back_inserter(found), boardText);
    return {boardsTitle, Verdict::Good, fmt::format("{}", fmt::join(found, ", "))};
}

/// Where no board has ports, the simulated board's configuration can give it some.
std::string mendForPort(const std::vector<Board>& boards, const Setting& configuration, bool isSimulated) {
    if (std::ranges::any_of(boards, [](const Board& board) { return board.gigePorts() != 0; }))
        return "choose a port that 'orvo-gige boards' lists";
    return isSimulated ? commandToCorrect(configuration.value)
                       : "put a board that has GigE ports into this machine";
}

Check portCheck(const std::vector<Board>& boards, PortAddress port, const std::string& mend) {
    const auto board = std::ranges::find(boards, port.board, &Board::index);
    if (board == boards.end())
        return {portTitle, Verdict::Bad, fmt::format("there is no board {}", port.board), mend};
    if (port.port >= board->gigePorts())
        return {portTitle, Verdict::Bad,
                fmt::format("there is no port {} on board {}", port.port, boardText(*board)), mend};
    return {portTitle, Verdict::Good, port.text() + " is there"};
}

Check registersCheck(const BoardLibraries& libraries, PortAddress port) {
    auto verdict = Verdict::Bad;
    try {
        requireFrameRegisters(libraries, port);
        verdict = Verdict::Warning; // frames need no PHY registers
        requirePhyRegisters(libraries, port);
    } catch (const Failure& failure) {
        return {firmwareTitle, verdict, withoutAdvice(failure.what()), adviceIn(failure.what())};
    }
    return {firmwareTitle, Verdict::Good, "has the registers for frames and for the PHY"};
}

/// Stops at the first bad check: those after it depend on it.
Checks checksOf(const Installation& installation, const Setting& configuration, PortAddress port) {
    const BoardLibraries libraries(installation);
    std::optional<SimulatorControl> simulator;
    try {
        simulator = SimulatorControl::find(*libraries.hal());
    } catch (const Failure& failure) {
        const auto reason = withoutAdvice(failure.what());
        return {isServerChosen() ? Check{boardKind, Verdict::Bad, reason, adviceIn(failure.what())}
                                 : badConfiguration(reason, configuration),
                {boardsTitle, Verdict::Skipped, "no board appears before that"}};
    }
    const auto boards = allBoards(libraries);
    Checks checks = {simulationCheck(simulator, installation, configuration), boardsCheck(boards)};
    if (isBad(checks.back())) return checks;
    checks.push_back(portCheck(boards, port, mendForPort(boards, configuration, simulator.has_value())));
    if (!isBad(checks.back())) checks.push_back(registersCheck(libraries, port));
    return checks;
}

} // namespace

Checks boardChecks(const Installation& installation, const Settings& settings, PortAddress port) {
    const Check blamed{boardsTitle, Verdict::Bad, "",
                       commandToRestore(installation, installation.library("orvo_hal"))};
    return runIsolated(blamed, [&] { return checksOf(installation, configurationOf(settings), port); });
}

} // namespace orvo::host
