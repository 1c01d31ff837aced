// SPDX-License-Identifier: MIT
// The boards of an installation, and the port that is asked for.
#include "base/Failure.h"
#include "base/Numbers.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/Mending.h"
#include "checkup/doctor/Trial.h"
#include "device/Board.h"
#include "device/SimulatorControl.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <regex>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* simulation = "kind of board";
constexpr const char* realBoard = "real";
constexpr const char* boardsThere = "boards";
constexpr const char* portThere = "port";
constexpr const char* registers = "firmware";

/// Where the simulated board is configured; an empty value where nowhere.
const Setting& configurationOf(const Settings& settings) {
    return *std::ranges::find(settings.others, "ORVO_SIMULATOR_CONFIG", &Setting::name);
}

/// The simulated board's own words begin with "FILE:LINE: ", or with "FILE: " where it could not read any.
unsigned lineIn(const std::string& reason, const std::string& file) {
    if (!reason.starts_with(file + ":")) return 0;
    const auto at = file.size() + 1;
    return static_cast<unsigned>(wholeNumber(reason.substr(at, reason.find(':', at) - at)).value_or(0));
}

Check badConfiguration(const std::string& reason, const Setting& configuration) {
    const fs::path file(configuration.value);
    std::error_code why;
    const bool isFile = fs::is_regular_file(file, why) || why == std::errc::permission_denied;
    const bool isNamed = configuration.origin.kind == Origin::Kind::Environment;
    return {simulation, Verdict::Bad, reason,
            isNamed && !isFile ? "unset " + configuration.name
                               : commandToCorrect(file, lineIn(reason, configuration.value))};
}

Check simulationCheck(const BoardLibraries& libraries, const Installation& installation,
                      const Setting& configuration) {
    try {
        if (!SimulatorControl::find(libraries.hal())) return {simulation, Verdict::Good, realBoard};
    } catch (const Failure& failure) {
        return badConfiguration(withoutAdvice(failure.what()), configuration);
    }
    if (!configuration.value.empty())
        return {simulation, Verdict::Good,
                fmt::format("simulated, as {} says ({})", configuration.value, textOf(configuration.origin))};
    return {simulation, Verdict::Good,
            fmt::format("simulated, by default (nothing of it is real); {} can describe another",
                        usualSimulatorFile(installation).string())};
}

std::string textOf(const Board& board) {
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
    std::string found;
    for (const auto& board : boards) found += (found.empty() ? "" : ", ") + textOf(board);
    if (!boards.empty()) return {boardsThere, Verdict::Good, found};
    return {boardsThere, Verdict::Bad, "there are none, or other programs hold them",
            "power the board on, end other programs that use it, and see " +
                shellWord(ownProgram().string()) + " boards"};
}

/// The first line of a configuration that leaves its board without ports; 0: it is none of these.
unsigned lineWithoutPorts(const std::string& configuration) {
    static const std::regex takesPorts(R"(\s*(ports\s*=\s*0|camera_interface\s*=).*)");
    std::ifstream file(configuration);
    unsigned number = 0;
    for (std::string line; std::getline(file, line);)
        if (++number; std::regex_match(line, takesPorts)) return number;
    return 0;
}

/// Without any board that has ports, a simulated one, which by default has four, was made so.
std::string commandForPorts(const Setting& configuration, bool isReal) {
    return isReal ? "put a board that has GigE ports into this machine"
                  : commandToEdit(configuration.value, lineWithoutPorts(configuration.value));
}

Check portCheck(const std::vector<Board>& boards, PortAddress port, const std::string& mendForNone) {
    const auto board = std::ranges::find(boards, port.board, &Board::index);
    if (board != boards.end() && port.port < board->gigePorts())
        return {portThere, Verdict::Good, port.text() + " is there"};
    const auto usable =
        board != boards.end() && board->gigePorts() != 0
            ? board
            : std::ranges::find_if(boards, [](const Board& other) { return other.gigePorts() != 0; });
    const auto program = shellWord(ownProgram().string());
    return {portThere, Verdict::Bad,
            board == boards.end() ? fmt::format("there is no board {}", port.board)
                                  : fmt::format("there is no port {} on board {}", port.port, textOf(*board)),
            usable == boards.end() ? mendForNone
                                   : fmt::format("{} doctor --board {} --port 0", program, usable->index())};
}

Check registersCheck(const BoardLibraries& libraries, PortAddress port) {
    auto verdict = Verdict::Bad;
    try {
        requireFrameRegisters(libraries, port);
        verdict = Verdict::Warning; // frames need no PHY registers
        requirePhyRegisters(libraries, port);
    } catch (const Failure& failure) {
        return {registers, verdict, withoutAdvice(failure.what()), adviceIn(failure.what())};
    }
    return {registers, Verdict::Good, "has the registers for frames and for the PHY"};
}

/// What comes behind a bad check tells nothing.
Checks lookAt(const Installation& installation, const Setting& configuration, PortAddress port) {
    const BoardLibraries libraries(installation);
    Checks checks = {simulationCheck(libraries, installation, configuration)};
    if (isBad(checks.back())) {
        checks.push_back({boardsThere, Verdict::Skipped, "no board appears before that"});
        return checks;
    }
    const auto boards = allBoards(libraries);
    checks.push_back(boardsCheck(boards));
    if (isBad(checks.back())) return checks;
    checks.push_back(
        portCheck(boards, port, commandForPorts(configuration, checks.front().found == realBoard)));
    if (!isBad(checks.back())) checks.push_back(registersCheck(libraries, port));
    return checks;
}

} // namespace

Checks boardChecks(const Installation& installation, const Settings& settings, PortAddress port) {
    const Check blamed{boardsThere, Verdict::Bad, "",
                       commandToRestore(installation, installation.library("orvo_hal"))};
    return tried(blamed, [&] { return lookAt(installation, configurationOf(settings), port); });
}

} // namespace orvo::host
